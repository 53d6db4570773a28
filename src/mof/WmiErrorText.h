// WmiErrorText: a readable text for a WMI, system or network error code.
//
// The text comes from the system's message tables when they have one, otherwise from the
// program's own table of WMI error codes, and is "unknown" as the last resort.
#pragma once

#include <cstdint>

// One row of a WMI error table; a table ends with a row whose code is 0.
struct WMIERRORROW
{
    uint32_t dwCode;
    const char* szText;
};

// The program's table of WMI error codes and their descriptions, in ascending code order.
extern const WMIERRORROW gg_aWmiErrorTable[];
// Number of rows of gg_aWmiErrorTable, the closing row not counted.
extern const unsigned gg_nWmiErrorRows;
// The tables searched for a code, in order, ended by a null pointer.
extern const WMIERRORROW* const gg_apWmiErrorTables[];

// Size of the result buffer of WmiErrorText, terminator included.
enum : unsigned
{
    WMIERRORTEXT_BUFSIZE = 4096
};

// The text of hr in a static buffer that the next call overwrites: use it at once (inside
// one trace call), never keep the pointer.
const char* WmiErrorText(uint32_t hr);
