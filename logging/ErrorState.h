#pragma once

// Keeps the calling thread's error state across a logging call: saved on
// construction, put back on destruction. Windows: the last-error value
// (GetLastError), errno and _doserrno; Linux: errno.
//
// Every facade call holds one, so a caller may log between a failing system
// call and its own reading of the error code.
class CallerErrorState {
public:
    CallerErrorState();
    ~CallerErrorState();

    CallerErrorState(const CallerErrorState&) = delete;
    CallerErrorState& operator=(const CallerErrorState&) = delete;

private:
    unsigned long m_ulLastError; // Windows only
    unsigned long m_ulDosErrno;  // Windows only
    int m_iErrno;
};
