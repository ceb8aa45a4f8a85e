#pragma once

#include <list>
#include <string>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include "logging/ParameterHolder.h"

// The parameters of one traced function, by name and address, in
// registration order. Text: "Name([a] = 1, [b] = 2, )".
class FunctionParameters {
public:
    explicit FunctionParameters(const char* szFunction) : m_strFunction(szFunction ? szFunction : "") {}

    template <class T>
    void Add(const char* szName, T* pValue)
    {
        m_listParams.push_back(boost::shared_ptr<paramtrace::IParameterHolder>(
            boost::make_shared<paramtrace::ParameterHolder<T>>(szName, pValue)));
    }

    std::string Text() const
    {
        std::string strText = m_strFunction + "(";
        for (const auto& p : m_listParams) {
            strText += "[" + p->GetName() + "] = " + p->GetValueText() + ", ";
        }
        return strText + ")";
    }

private:
    std::string m_strFunction;
    std::list<boost::shared_ptr<paramtrace::IParameterHolder>> m_listParams;
};
