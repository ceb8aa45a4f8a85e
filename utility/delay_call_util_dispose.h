#pragma once

#include <boost/bind/bind.hpp>
#include <boost/shared_ptr.hpp>
#include "logging/LogMacros.h"

namespace OrvUtility {

// Scope-exit helper: performs one stored call when it leaves scope, by normal
// exit or while an exception passes. Helpers declared later run first:
//
//   delay_call_util_dispose closeMutex(boost::bind(CloseNamedObject, hMutex));
//   delay_call_util_dispose releaseMutex(boost::bind(ReleaseNamedMutex, hMutex));
//   // on leaving: ReleaseNamedMutex(hMutex), then CloseNamedObject(hMutex)
//
// The stored call is typically a function of one pointer argument returning
// int (CloseHandle, ReleaseMutex) bound to a handle; its result is dropped.
class delay_call_util_dispose {
public:
    class base_caller {
    public:
        virtual ~base_caller() {}
        virtual void Call() = 0;
    };

    template <class F>
    class caller : public base_caller {
    public:
        explicit caller(F f) : m_f(f) {}
        void Call() override
        {
            ORV_TRACE_SCOPE("OrvUtility::delay_call_util_dispose::caller::Call");
            m_f();
        }

    private:
        F m_f;
    };

    // f: a nullary callable, such as boost::bind(CloseHandle, h).
    template <class F>
    explicit delay_call_util_dispose(F f) : m_pCaller(new caller<F>(f)) {}

    // Binds pfn to its one argument: delay_call_util_dispose(CloseHandle, h).
    template <class R, class P, class A>
    delay_call_util_dispose(R (*pfn)(P), A arg) : delay_call_util_dispose(boost::bind(pfn, P(arg))) {}

    ~delay_call_util_dispose()
    {
        try {
            m_pCaller->Call();
        } catch (...) {
            // A clean-up call has no one to report to.
        }
    }

    delay_call_util_dispose(const delay_call_util_dispose&) = delete;
    delay_call_util_dispose& operator=(const delay_call_util_dispose&) = delete;

private:
    boost::shared_ptr<base_caller> m_pCaller;
};

} // namespace OrvUtility
