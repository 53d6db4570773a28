// MofText.h - reading MOF files: bytes to text, and the path helpers the include handling needs.
#pragma once

#include <string>

namespace mofc
{

// Largest MOF file read; anything bigger is refused as an invalid file rather than loaded.
constexpr size_t kMaxMofFileBytes = 64u * 1024u * 1024u;

// Turns file bytes into text: UTF-16 LE/BE with BOM, UTF-16 LE without BOM (second byte 0),
// UTF-8 with or without BOM, and any other byte sequence as Latin-1.
std::wstring DecodeMofBytes(const std::string& strBytes);

// Reads a whole file; false when it cannot be opened or is larger than kMaxMofFileBytes.
bool ReadFileBytes(const std::wstring& wszPath, std::string& strBytes);

std::wstring FullPathOf(const std::wstring& wszPath);
std::wstring FolderOf(const std::wstring& wszPath);
std::wstring JoinPath(const std::wstring& wszFolder, const std::wstring& wszRelative);
bool IsAbsolutePath(const std::wstring& wszPath);
bool IsExistingFile(const std::wstring& wszPath);

} // namespace mofc
