#pragma once

#include <windows.h>

namespace OrvprintFolders {

// Owns one handle of a file or folder and closes it when it goes. Moved,
// never copied: one owner per handle.
class CScopedHandle {
public:
    CScopedHandle() : m_hHandle(INVALID_HANDLE_VALUE) {}
    explicit CScopedHandle(HANDLE hHandle) : m_hHandle(hHandle) {}
    ~CScopedHandle() { Close(); }

    CScopedHandle(const CScopedHandle&) = delete;
    CScopedHandle& operator=(const CScopedHandle&) = delete;

    CScopedHandle(CScopedHandle&& other) noexcept : m_hHandle(other.m_hHandle)
    {
        other.m_hHandle = INVALID_HANDLE_VALUE;
    }
    CScopedHandle& operator=(CScopedHandle&& other) noexcept
    {
        if (this != &other) {
            Close();
            m_hHandle = other.m_hHandle;
            other.m_hHandle = INVALID_HANDLE_VALUE;
        }
        return *this;
    }

    bool IsValid() const { return m_hHandle != INVALID_HANDLE_VALUE && m_hHandle != nullptr; }
    HANDLE Get() const { return m_hHandle; }

    void Close()
    {
        if (IsValid()) {
            CloseHandle(m_hHandle);
        }
        m_hHandle = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE m_hHandle;
};

} // namespace OrvprintFolders
