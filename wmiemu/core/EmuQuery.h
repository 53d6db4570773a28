// EmuQuery.h - the WQL the emulator answers: "SELECT * | props FROM <class> | meta_class [WHERE <cond>]"
// where <cond> combines comparisons (= <> != < > <= >= LIKE) of properties (system properties too)
// with string, number, boolean and NULL literals, IS [NOT] NULL, ISA, AND, OR, NOT and parentheses.
// Objects come back whole whatever the select list names.
#pragma once

#include "EmuRepository.h"

namespace wmiemu
{

// WBEM_E_INVALID_QUERY for text it cannot read, WBEM_E_INVALID_CLASS for an unknown class,
// WBEM_E_NOT_SUPPORTED for other query kinds (ASSOCIATORS OF, REFERENCES OF).
HRESULT RunQuery(const Repository& repo, const std::wstring& ns, const std::wstring& text,
                 std::vector<Object>& out, std::wstring* pClassName = nullptr);

// '%' any run, '_' any one character, "[abc]"/"[a-z]"/"[^a]" sets, case-insensitive.
bool LikeMatch(const std::wstring& text, const std::wstring& pattern);

} // namespace wmiemu
