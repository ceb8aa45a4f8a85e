#pragma once

#include "logging/FunctionTraceScope.h"
#include "logging/LogMacros.h"

namespace orvbench {

// The trace scopes that are open on the popup thread while a dialog is
// filled, so that work measured inside runs at its real trace depth.
class CPopupThreadScopes {
public:
    CPopupThreadScopes()
        : m_run(ORV_LOG_MODULE, nullptr, "CPopupThread::Run")
        , m_loop(ORV_LOG_MODULE, nullptr, "OrvUtility::CMsgQueueEx::RecvMsgLoop")
        , m_recv(ORV_LOG_MODULE, nullptr, "OrvUtility::CMsgQueueEx::RecvMsg")
        , m_handler(ORV_LOG_MODULE, nullptr, "CPopupThread::MsgHandler")
    {
    }

private:
    FunctionTraceScope m_run;
    FunctionTraceScope m_loop;
    FunctionTraceScope m_recv;
    FunctionTraceScope m_handler;
};

// The scopes open on the launcher thread around its periodic job.
class CLauncherThreadScopes {
public:
    CLauncherThreadScopes()
        : m_proc(ORV_LOG_MODULE, nullptr, "OrvUtility::CThread::ThreadProc")
        , m_run(ORV_LOG_MODULE, nullptr, "CSimpleCycleThread::Run")
        , m_cycle(ORV_LOG_MODULE, nullptr, "CSimpleCycleThread::DoCrycle")
    {
    }

private:
    FunctionTraceScope m_proc;
    FunctionTraceScope m_run;
    FunctionTraceScope m_cycle;
};

} // namespace orvbench
