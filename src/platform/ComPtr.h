// CCComPtr: holds one reference of a COM interface and releases it on every path.
#pragma once

#include <unknwn.h>

template <class T> class CCComPtr
{
public:
    CCComPtr() : m_p(nullptr) {}
    ~CCComPtr() { Release(); }
    CCComPtr(const CCComPtr&) = delete;
    CCComPtr& operator=(const CCComPtr&) = delete;

    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    // The address to receive a new reference; the old one is released first.
    T** Put()
    {
        Release();
        return &m_p;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }
    void Release()
    {
        if (m_p != nullptr)
        {
            m_p->Release();
            m_p = nullptr;
        }
    }
    // Hands the reference to the caller.
    T* Detach()
    {
        T* p = m_p;
        m_p = nullptr;
        return p;
    }

private:
    T* m_p;
};
