#pragma once

#include <boost/bind/bind.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/make_shared.hpp>

namespace Language {

// Runs one bound clean-up call when the guard leaves scope, by normal exit or
// while an exception passes. Copies share the one call, which runs once, when
// the last copy goes.
class scope_guard {
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
        ~caller() override { Call(); }
        void Call() override
        {
            if (!m_bCalled) {
                m_bCalled = true;
                m_f();
            }
        }

    private:
        F m_f;
        bool m_bCalled = false;
    };

    // f: a nullary callable, typically boost::bind(CloseHandle, h) or
    // boost::bind(RegCloseKey, hKey) or boost::bind(free, argv).
    template <class F>
    explicit scope_guard(F f) : m_pCaller(boost::make_shared<caller<F>>(f)) {}

    // Runs the call now instead of at scope end.
    void dismiss_and_call() { m_pCaller->Call(); }

private:
    boost::shared_ptr<base_caller> m_pCaller;
};

} // namespace Language
