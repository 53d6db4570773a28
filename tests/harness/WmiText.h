// A WMI repository's text through documented calls only (IWbemLocator, IWbemServices,
// IWbemClassObject, IWbemQualifierSet), in the sorted form of the emulator's repository file, so
// that the same text compares repositories on any machine and loads into the emulator:
//   wmiemu-repository 1
//   namespace root\TarvosTest
//   class root\TarvosTest Child : Base
//     qualifier Version flavor=0x2 = "1.0"
//     property string Name
//       qualifier key flavor=0x0 = true
//   instance root\TarvosTest Child
//     value Name = "x"
// A class lists what it declares and overrides, an instance every property that is not null.
// Methods and the instances of dynamic (provider-made) classes are left out.
#pragma once

#include <windows.h>
#include <wbemcli.h>

#include <string>
#include <vector>

namespace wmitext
{
struct DumpScope
{
    std::vector<std::wstring> roots; // each dumped with the namespaces below it
    // Not empty: each root itself is left out, and of its children only those named here (and
    // everything below them) are dumped; a name ending in '*' stands for all that start with it.
    std::vector<std::wstring> childNames;
    bool bSystem = false; // system classes (__...) and their instances too
};

// The text of the scope, or false with the failing call and its code in strError.
bool Dump(IWbemLocator* pLocator, const DumpScope& scope, std::wstring& strText, std::wstring& strError);
// Whether a name is one of the names (see DumpScope::childNames), ignoring case.
bool NameMatches(const std::wstring& strName, const std::vector<std::wstring>& names);
// The names of the namespaces directly below a namespace, sorted.
bool ChildNamespaces(IWbemServices* pServices, std::vector<std::wstring>& names, std::wstring& strError);
// Connects with the calling process's identity, impersonation allowed.
HRESULT Connect(IWbemLocator* pLocator, const std::wstring& strNamespace, IWbemServices** ppServices);
std::string Utf8(const std::wstring& str);
std::wstring Hex(HRESULT hr);
} // namespace wmitext
