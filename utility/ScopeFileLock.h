#pragma once

#include "utility/FileLocker.h"

namespace OrvUtility {

// Holds the file lock of one file from construction to the end of the scope:
//
//   OrvUtility::CScopeFileLock lock(strConfigPath.c_str());
//
// The lock is taken with an unbounded wait and its result is ignored: an
// abandoned or unavailable lock does not stop the caller. A null or empty
// name throws std::runtime_error("CFileLocker").
class CScopeFileLock {
public:
    explicit CScopeFileLock(const wchar_t* szFilename);
    ~CScopeFileLock();

    CScopeFileLock(const CScopeFileLock&) = delete;
    CScopeFileLock& operator=(const CScopeFileLock&) = delete;

private:
    CFileLocker m_locker;
};

} // namespace OrvUtility
