#pragma once

#include <boost/make_shared.hpp>
#include "logging/IParameterHolder.h"
#include "logging/ParameterHolderSnapShot.h"
#include "logging/ValueText.h"

namespace paramtrace {

// A parameter captured by address: its value text is made when it is
// printed, so it shows the value at that time.
template <class T>
class ParameterHolder : public IParameterHolder {
public:
    ParameterHolder(const std::string& strName, T* pValue) : IParameterHolder(strName), m_pValue(pValue) {}

    std::string GetValueText() const override { return ValueText<T>::Text(*m_pValue); }
    boost::shared_ptr<IParameterHolder> SnapShot() const override
    {
        return boost::make_shared<ParameterHolderSnapShot>(GetName(), GetValueText());
    }

private:
    T* m_pValue;
};

} // namespace paramtrace
