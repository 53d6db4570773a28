// EmuEnum.cpp - IEnumWbemClassObject over a result taken when the enumerator was made. A "Next"
// fault switch with a delay makes the results late: a time-out shorter than the delay then ends
// the call with WBEM_S_TIMEDOUT and no objects, as a slow provider would.
#include "EmuCom.h"

#include "EmuFaults.h"

namespace wmiemu
{

HRESULT CEmuEnum::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IEnumWbemClassObject)
        *ppv = static_cast<IEnumWbemClassObject*>(this);
    else if (riid == IID_IClientSecurity)
        *ppv = static_cast<IClientSecurity*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

HRESULT CEmuEnum::Reset()
{
    Fault f = FindFault(L"Reset", m_ns, m_cls);
    if (f.dwDelayMs)
        Sleep(f.dwDelayMs);
    if (FAILED(f.hr))
        return f.hr;
    if (m_bForwardOnly)
        return WBEM_E_INVALID_OPERATION; // a forward-only enumerator cannot go back
    m_nPos = 0;
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuEnum::Next(LONG lTimeout, ULONG uCount, IWbemClassObject** apObjects, ULONG* puReturned)
{
    if (!apObjects || !puReturned || (lTimeout < 0 && lTimeout != (LONG)WBEM_INFINITE))
        return WBEM_E_INVALID_PARAMETER;
    *puReturned = 0;
    if (uCount == 0)
        return WBEM_S_FALSE;
    Fault f = FindFault(L"Next", m_ns, m_cls);
    if (f.dwDelayMs)
    {
        if (lTimeout != (LONG)WBEM_INFINITE && (DWORD)lTimeout < f.dwDelayMs)
        {
            Sleep((DWORD)lTimeout);
            return WBEM_S_TIMEDOUT;
        }
        Sleep(f.dwDelayMs);
    }
    if (FAILED(f.hr))
        return f.hr;
    ULONG n = 0;
    for (; n < uCount && m_nPos < m_objs.size(); ++n)
        CEmuClassObject::Create(m_objs[m_nPos++], &apObjects[n]);
    *puReturned = n;
    return n == uCount ? WBEM_S_NO_ERROR : WBEM_S_FALSE;
}

HRESULT CEmuEnum::Clone(IEnumWbemClassObject** ppEnum)
{
    if (!ppEnum)
        return WBEM_E_INVALID_PARAMETER;
    *ppEnum = nullptr;
    if (m_bForwardOnly)
        return WBEM_E_INVALID_OPERATION;
    CEmuEnum* p = new CEmuEnum(m_objs, m_ns, m_cls, m_bForwardOnly);
    p->m_nPos = m_nPos;
    *ppEnum = p;
    return WBEM_S_NO_ERROR;
}

HRESULT CEmuEnum::Skip(LONG lTimeout, ULONG nCount)
{
    if (lTimeout < 0 && lTimeout != (LONG)WBEM_INFINITE)
        return WBEM_E_INVALID_PARAMETER;
    size_t nLeft = m_objs.size() - m_nPos;
    m_nPos += nCount < nLeft ? nCount : nLeft;
    return nCount <= nLeft ? WBEM_S_NO_ERROR : WBEM_S_FALSE;
}

} // namespace wmiemu
