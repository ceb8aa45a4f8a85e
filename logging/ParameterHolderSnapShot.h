#pragma once

#include <boost/make_shared.hpp>
#include "logging/IParameterHolder.h"

namespace paramtrace {

// A parameter frozen with the value text it had when the snapshot was taken.
class ParameterHolderSnapShot : public IParameterHolder {
public:
    ParameterHolderSnapShot(const std::string& strName, const std::string& strValueText)
        : IParameterHolder(strName), m_strValueText(strValueText) {}

    std::string GetValueText() const override { return m_strValueText; }
    boost::shared_ptr<IParameterHolder> SnapShot() const override
    {
        return boost::make_shared<ParameterHolderSnapShot>(GetName(), m_strValueText);
    }

private:
    std::string m_strValueText;
};

} // namespace paramtrace
