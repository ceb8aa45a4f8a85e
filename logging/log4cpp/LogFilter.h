#pragma once

#include <string>
#include <log4cpp/Filter.hh>
#include <log4cpp/LoggingEvent.hh>

// One filter group of LogConfig.conf: switches the records of a module, a
// class of a module, or one function on or off. "*" stands for any.
//
// Decides on the trace entry carried as the event's context text (module "."
// class "." function):
//   module, *, *                -> matches on the module;
//   module, class, *            -> matches on module and class;
//   module, class, function     -> matches on all three;
//   any other pattern (module "*", or class "*" with a function) never decides.
// A match accepts when the permission is true and denies when it is false;
// otherwise the next filter of the chain is asked, so the first group in the
// file that decides wins.
class LogFilter : public log4cpp::Filter {
public:
    // strPermission: exactly "no" denies, exactly "yes" accepts, anything else
    // accepts as well.
    LogFilter(const std::string& strModule, const std::string& strClass, const std::string& strFunction,
              const std::string& strPermission);

    const std::string& GetModule() const { return m_strModule; }
    const std::string& GetClass() const { return m_strClass; }
    const std::string& GetFunction() const { return m_strFunction; }
    bool GetPermission() const { return m_bPermission; }

protected:
    Decision _decide(const log4cpp::LoggingEvent& event) override;

private:
    std::string m_strModule;
    std::string m_strClass;
    std::string m_strFunction;
    bool m_bPermission;
};
