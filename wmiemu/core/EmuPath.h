// EmuPath.h - WMI object paths ("\\server\root\x:Class.Key="v",K2=5", "Class=@", "Class") and
// namespace names ("root\x", "\\.\root\x", "//./root/x", any case).
#pragma once

#include "EmuTypes.h"

namespace wmiemu
{

struct ObjectPath
{
    std::wstring server, ns, className;
    bool singleton = false;                           // "Class=@"
    std::vector<std::pair<std::wstring, Value>> keys; // name "" for "Class="v""
    bool IsClass() const { return !singleton && keys.empty(); }
};

// false when the text is no valid object path.
bool ParseObjectPath(const std::wstring& text, ObjectPath& out);

// A namespace in its plain form "root\x\y" (server prefix removed, '/' made '\', trailing '\'
// removed, case kept); false when it is empty or has an empty segment.
bool NormalizeNamespace(const std::wstring& text, std::wstring& out);

// A key value as an object path writes it: strings and references quoted with '\' and '"' escaped,
// numbers as they are, booleans TRUE/FALSE.
std::wstring FormatKeyValue(const Value& v);

// The text of a key value used to compare keys: case-folded strings, decimal numbers.
std::wstring KeyCompareText(const Value& v);

// "Class.A=1,B="x"" from the key properties (sorted by name), "Class=@" when there are none.
std::wstring FormatRelPath(const std::wstring& className, std::vector<std::pair<std::wstring, Value>> keys);

} // namespace wmiemu
