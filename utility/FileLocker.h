#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include "utility/BaseMutex.h"

namespace OrvUtility {

// A lock on a file shared by every process and thread that touches it: a
// mutex named after the file's full path.
class CFileLocker {
public:
    // Derives the lock name and creates the mutex. Throws
    // std::runtime_error("CFileLocker") for a null name or an empty lock name.
    explicit CFileLocker(const wchar_t* szFilename);
    virtual ~CFileLocker();

    CFileLocker(const CFileLocker&) = delete;
    CFileLocker& operator=(const CFileLocker&) = delete;

    // The mutex's Lock / Unlock; FALSE without a mutex.
    int Lock(uint32_t uiTimeout);
    int Unlock();

    // The lock name of a file: its full path (at most 259 characters, else
    // empty), upper-cased, with every "\" (and on Linux every "/") replaced
    // by "|". "C:\Program Files\Client\Temp\Config.ini" gives
    // "C:|PROGRAM FILES|CLIENT|TEMP|CONFIG.INI". No namespace prefix.
    static std::wstring MakeLockName(const wchar_t* szFilename);

private:
    int32_t m_bError;
    std::unique_ptr<CBaseMutex> m_pMutex;
};

} // namespace OrvUtility
