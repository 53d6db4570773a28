// CCScHandle: holds one service control manager handle (manager or service) and closes it on
// every path. Close() closes it earlier, at the point where the caller's order needs it.
#pragma once

#include <windows.h>

class CCScHandle
{
public:
    explicit CCScHandle(SC_HANDLE h = nullptr) : m_h(h) {}
    ~CCScHandle() { Close(); }
    CCScHandle(const CCScHandle&) = delete;
    CCScHandle& operator=(const CCScHandle&) = delete;

    SC_HANDLE Get() const { return m_h; }
    explicit operator bool() const { return m_h != nullptr; }
    // Takes a new handle; the old one is closed first.
    void Reset(SC_HANDLE h)
    {
        Close();
        m_h = h;
    }
    // Closes the handle; true when there was none or it closed.
    bool Close()
    {
        const bool bClosed = m_h == nullptr || CloseServiceHandle(m_h) != FALSE;
        m_h = nullptr;
        return bClosed;
    }
    // Hands the handle to the caller.
    SC_HANDLE Detach()
    {
        SC_HANDLE h = m_h;
        m_h = nullptr;
        return h;
    }

private:
    SC_HANDLE m_h;
};
