#pragma once

#include <string>
#include <boost/shared_ptr.hpp>

namespace paramtrace {

// One named parameter of a traced function. No virtual destructor: holders
// are always owned by boost::shared_ptr made from the concrete type.
class IParameterHolder {
public:
    explicit IParameterHolder(const std::string& strName) : m_strName(strName) {}
    const std::string& GetName() const { return m_strName; }

    virtual std::string GetValueText() const = 0;
    virtual boost::shared_ptr<IParameterHolder> SnapShot() const = 0;

protected:
    ~IParameterHolder() = default;

private:
    std::string m_strName;
};

} // namespace paramtrace
