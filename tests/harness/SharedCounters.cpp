#include "SharedCounters.h"

#include <cstring>

namespace testkit
{
CSharedCounters::CSharedCounters(const std::string& strExe)
{
    m_hImage = LoadLibraryExA(strExe.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    if (m_hImage == nullptr)
    {
        return;
    }
    BYTE* pBase = reinterpret_cast<BYTE*>(m_hImage);
    const auto* pDos = reinterpret_cast<const IMAGE_DOS_HEADER*>(pBase);
    const auto* pNt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(pBase + pDos->e_lfanew);
    const IMAGE_SECTION_HEADER* pSection = IMAGE_FIRST_SECTION(pNt);
    for (WORD i = 0; i < pNt->FileHeader.NumberOfSections; ++i, ++pSection)
    {
        if (memcmp(pSection->Name, ".tvshare", 8) == 0)
        {
            m_bShared = (pSection->Characteristics & IMAGE_SCN_MEM_SHARED) != 0;
            m_pnCounters = reinterpret_cast<volatile int*>(pBase + pSection->VirtualAddress);
        }
    }
}

CSharedCounters::~CSharedCounters()
{
    if (m_hImage != nullptr)
    {
        FreeLibrary(m_hImage);
    }
}
} // namespace testkit
