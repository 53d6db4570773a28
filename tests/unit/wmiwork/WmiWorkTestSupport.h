// The trace records of CWmiWork as the wmiwork tests compare them.
#pragma once

#include "WmiAccessTestSupport.h"

#include <algorithm>

// "text message" of each CWmiWork record of the level (a level word such as "Error"), from the
// nFrom-th such record on.
inline std::vector<std::string> WorkTexts(const std::vector<TraceRecord>& records,
                                          const std::string& strLevel, size_t nFrom = 0)
{
    std::vector<std::string> texts;
    for (const TraceRecord& record : records)
        if (record.strClass == "CWmiWork" && record.strLevel == strLevel)
            texts.push_back(record.strText + (record.strMessage.empty() ? "" : " " + record.strMessage));
    texts.erase(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(std::min(nFrom, texts.size())));
    return texts;
}
