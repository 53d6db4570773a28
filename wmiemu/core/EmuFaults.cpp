// EmuFaults.cpp - reading and applying the fault switches.
#include "EmuFaults.h"

#include "EmuPath.h"
#include "EmuStore.h"

#include <sstream>

namespace wmiemu
{

std::wstring FaultsFilePath()
{
    std::wstring path = ConfigValue(L"WMIEMU_FAULTS", L"Faults");
    if (!path.empty())
        return path;
    std::wstring repo = RepositoryFilePath();
    size_t pos = repo.find_last_of(L"\\/");
    return (pos == std::wstring::npos ? std::wstring() : repo.substr(0, pos + 1)) + L"faults.txt";
}

Fault FindFault(const wchar_t* wszMethod, const std::wstring& ns, const std::wstring& cls)
{
    Fault f;
    std::wstring text;
    if (!ReadTextFile(FaultsFilePath(), text))
        return f;
    std::wstring nsNorm;
    NormalizeNamespace(ns, nsNorm);
    std::wistringstream lines(text);
    std::wstring line;
    while (std::getline(lines, line))
    {
        std::wistringstream words(line);
        std::wstring method, word;
        if (!(words >> method) || method[0] == L'#')
            continue;
        if (method != L"*" && !NameEq(method, wszMethod))
            continue;
        Fault cand;
        cand.bMatched = true;
        bool bMatch = true;
        while (words >> word)
        {
            if (word.compare(0, 3, L"ns=") == 0)
            {
                std::wstring want;
                bMatch = bMatch && NormalizeNamespace(word.substr(3), want) && NameEq(want, nsNorm);
            }
            else if (word.compare(0, 6, L"class=") == 0)
                bMatch = bMatch && NameEq(word.substr(6), cls);
            else if (word.compare(0, 6, L"delay=") == 0)
                cand.dwDelayMs = wcstoul(word.c_str() + 6, nullptr, 0);
            else
                cand.hr = (HRESULT)wcstoul(word.c_str(), nullptr, 0);
        }
        if (bMatch)
            return cand;
    }
    return f;
}

HRESULT ApplyFault(const wchar_t* wszMethod, const std::wstring& ns, const std::wstring& cls)
{
    Fault f = FindFault(wszMethod, ns, cls);
    if (f.dwDelayMs)
        Sleep(f.dwDelayMs);
    return f.hr;
}

} // namespace wmiemu
