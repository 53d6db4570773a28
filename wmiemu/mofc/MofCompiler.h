// MofCompiler.h - entry points of the MOF front end.
//
// ParseFile reads a file (8-bit text taken as UTF-8 with a Latin-1 fallback for bytes that are not
// UTF-8, or UTF-16 LE/BE with BOM, or UTF-16 LE without BOM when the second byte is 0) and parses it
// with its #pragma include files.
// #pragma include("x") and #include ("x") are resolved alike: an absolute path as it is, else against
// the current directory of the process, then against the folder of the including file.
//
// On success: ok = true, hr = 0, decls in file order (included files' declarations where
// the include stands), autorecoverFiles = full paths of the files carrying #pragma autorecover (each
// once, in order of appearance).
// On error (a parsing error, also an include file that cannot be opened or read) the whole compile
// stops: ok = false, decls is left empty, and
//   hr            one of the MOFC_E_* codes below (the codes of Microsoft's MOF compiler)
//   objectNumber  1-based ordinal of the declaration being parsed when the error was found, counted
//                 across included files (class, instance, qualifier declarations and
//                 #pragma deleteclass/deleteinstance all count); 0 when the error is outside any declaration
//                 (e.g. a bad #pragma before the first one)
//   firstLine, lastLine  first line of that declaration (or of the error when objectNumber is 0) and
//                 the line where the error was found
//   errorFile     full path of the file where the error was found
//   message       a readable English text with file and line
#pragma once

#include "MofModel.h"

namespace mofc
{

// Error codes reported in CompileResult::hr: the WBEMMOF_E_* values of Microsoft's MOF compiler
// (wbemcli.h), repeated here so that this library needs no Windows header.
enum : long
{
    MOFC_E_EXPECTED_QUALIFIER_NAME = (long)0x80044001,
    MOFC_E_EXPECTED_SEMI = (long)0x80044002,
    MOFC_E_EXPECTED_OPEN_BRACE = (long)0x80044003,
    MOFC_E_EXPECTED_CLOSE_BRACE = (long)0x80044004,
    MOFC_E_EXPECTED_CLOSE_BRACKET = (long)0x80044005,
    MOFC_E_EXPECTED_CLOSE_PAREN = (long)0x80044006,
    MOFC_E_ILLEGAL_CONSTANT_VALUE = (long)0x80044007, // also: bad number, bad escape, unterminated literal
    MOFC_E_EXPECTED_TYPE_IDENTIFIER = (long)0x80044008,
    MOFC_E_EXPECTED_OPEN_PAREN = (long)0x80044009,
    MOFC_E_UNRECOGNIZED_TOKEN = (long)0x8004400a, // a token that starts no construct (also: bad character)
    MOFC_E_UNRECOGNIZED_TYPE = (long)0x8004400b,
    MOFC_E_EXPECTED_PROPERTY_NAME = (long)0x8004400c,
    MOFC_E_UNEXPECTED_ALIAS = (long)0x8004400e, // $alias used but defined nowhere in the compile
    MOFC_E_UNEXPECTED_ARRAY_INIT = (long)0x8004400f,
    MOFC_E_INVALID_PRAGMA = (long)0x80044012,
    MOFC_E_INVALID_NAMESPACE_SYNTAX = (long)0x80044013,
    MOFC_E_EXPECTED_CLASS_NAME = (long)0x80044014,
    MOFC_E_EXPECTED_ALIAS_NAME = (long)0x80044016,
    MOFC_E_INVALID_CLASS_DECLARATION = (long)0x80044017,
    MOFC_E_INVALID_INSTANCE_DECLARATION = (long)0x80044018,
    MOFC_E_EXPECTED_DOLLAR = (long)0x80044019,
    MOFC_E_DUPLICATE_PROPERTY = (long)0x8004401b,
    MOFC_E_OUT_OF_RANGE = (long)0x8004401d,
    MOFC_E_INVALID_FILE = (long)0x8004401e, // unreadable input (also: nesting too deep)
    MOFC_E_ALIASES_IN_EMBEDDED = (long)0x8004401f,
    MOFC_E_NULL_ARRAY_ELEM = (long)0x80044020,
    MOFC_E_DUPLICATE_QUALIFIER = (long)0x80044021,
    MOFC_E_EXPECTED_FLAVOR_TYPE = (long)0x80044022,
    MOFC_E_MULTIPLE_ALIASES = (long)0x80044024, // the same $alias defined twice
    MOFC_E_INVALID_FLAGS_SYNTAX = (long)0x80044028,
    MOFC_E_INVALID_DELETEINSTANCE_SYNTAX = (long)0x8004402c,
    MOFC_E_INVALID_QUALIFIER_SYNTAX = (long)0x8004402d,
    MOFC_E_ERROR_INVALID_INCLUDE_FILE = (long)0x80044030,
    MOFC_E_INVALID_DELETECLASS_SYNTAX = (long)0x80044031,
};

struct CompileResult
{
    bool ok = false;
    long hr = 0;
    int objectNumber = 0;
    int firstLine = 0, lastLine = 0;
    std::wstring errorFile;
    std::wstring message;
    std::vector<Declaration> decls;
    std::vector<std::wstring> autorecoverFiles; // full paths of files that carry #pragma autorecover
};

// defaultNamespace: the namespace in effect before the first "#pragma namespace" (absolute
// "root\..." form); CompileFile's ServerAndNamespace argument, "root\default" when absent.
CompileResult ParseFile(const std::wstring& path, const std::wstring& defaultNamespace = L"root\\default");
// The default namespace a compile's namespace argument names ("IMofCompiler::CompileFile",
// ServerAndNamespace): null or empty gives "root\default"; "\\server\root\x", "//./root/x" and
// "root\x" give "root\x" (the server part is dropped, the emulator serves this machine only).
// False for a path that does not start at root or is malformed.
bool DefaultNamespaceOf(const wchar_t* wszArg, std::wstring& wszNamespace);
// pseudoPath stands for the text's file: it names it in messages and Declaration::file, anchors
// relative includes, and is what #pragma autorecover registers.
CompileResult ParseText(const std::wstring& text, const std::wstring& pseudoPath);

} // namespace mofc
