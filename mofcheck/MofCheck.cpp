// mofcheck.exe: how Tarvos reads a MOF file, from Tarvos's own scanner (CMofParse) and object
// path code (CWmiWork), against the WMI repository the file was compiled into. Run under Wine
// by scripts/run-main-job.sh --check and --undo-check:
//   mofcheck <file.mof> [<namespace> <class>]...
// One tab-separated line per finding on stdout (lines are those of the file):
//   pragma    <line> <namespace Tarvos reads> <namespace the compiler reads> <note>
//   class     <line> <namespace /DD /MOF= uses> <class> <found|missing|skipped> <note>
//   instance  <line> <namespace> <class> <path Tarvos builds> <__RELPATH found there, or empty> <note>
//   version   <namespace> <class> <version>      (the class /CF compares; "-" when none)
//   compiled  <namespace> <__RELPATH>             (each instance of the given classes)
//   stop      <note>                              (the scanner stopped: /DD /MOF= ends with 19)
//   mofcheck --text <0x8004xxxx>...                 Tarvos's text of each code, "<code>\t<text>"
// Exit code 0, or 2 for a bad command line or a file the scanner cannot open.
#include "Bstr.h"
#include "ComPtr.h"
#include "MofDelete.h"
#include "MofParse.h"
#include "StringConversion.h"
#include "WmiErrorText.h"
#include "WmiWork.h"

#include <objbase.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{
// The file's line of each character the scanner keeps: the same removal of "//" comments.
std::vector<int> ContentLines(const char* szFile)
{
    std::ifstream in(szFile, std::ios::binary);
    std::string raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    size_t nStart = raw.size() >= 1 && static_cast<unsigned char>(raw[0]) == 0xFF ? 1 : 0;
    std::vector<int> lines;
    int nLine = 1, nState = 0;
    for (size_t n = nStart; n < raw.size(); ++n)
    {
        const char ch = raw[n];
        if (nState == 0)
        {
            nState = ch == '/' ? 1 : 0;
            if (ch != '/')
                lines.push_back(nLine);
        }
        else if (nState == 1)
        {
            nState = ch == '/' ? 2 : 0;
            if (ch != '/')
            {
                lines.push_back(nLine);
                lines.push_back(nLine);
            }
        }
        else if (ch == '\n')
        {
            nState = 0;
        }
        if (ch == '\n')
            ++nLine;
    }
    return lines;
}

// The raw text of the file's line nLine.
std::string FileLine(const char* szFile, int nLine)
{
    std::ifstream in(szFile, std::ios::binary);
    std::string line;
    for (int n = 0; n < nLine && std::getline(in, line); ++n)
    {
    }
    return line;
}

// A text for one tab-separated field: line ends and tabs written as \n, \r and \t.
std::string Field(const std::string& s)
{
    std::string strField;
    for (char ch : s)
        strField += ch == '\n'   ? std::string("\\n")
                    : ch == '\r' ? std::string("\\r")
                    : ch == '\t' ? std::string("\\t")
                                 : std::string(1, ch);
    return strField;
}

std::string Lower(std::string s)
{
    for (char& ch : s)
        ch = static_cast<char>(tolower(static_cast<unsigned char>(ch)));
    return s;
}

// The namespace a MOF compiler reads from a pragma line: the quoted text with its escapes
// undone, forward slashes as backslashes, without the machine part.
std::string CompilerNamespace(const std::string& strLine)
{
    const size_t nKeyword = Lower(strLine).find("namespace");
    const size_t nOpen = strLine.find('"', nKeyword == std::string::npos ? 0 : nKeyword);
    const size_t nClose = nOpen == std::string::npos ? nOpen : strLine.find('"', nOpen + 1);
    if (nClose == std::string::npos)
        return std::string();
    std::string strText;
    for (size_t n = nOpen + 1; n < nClose; ++n)
    {
        if (strLine[n] == '\\' && n + 1 < nClose && strLine[n + 1] == '\\')
            ++n;
        strText += strLine[n] == '/' ? '\\' : strLine[n];
    }
    return NamespaceWithoutMachine(strText);
}

// Why the keyword szWord at nPos is no declaration to the compiler: inside a string of its
// line or inside a block comment; empty when neither.
std::string WordInTextNote(const std::string& strContent, int nPos, const char* szWord)
{
    const size_t nOpen = strContent.rfind("/*", nPos);
    if (nOpen != std::string::npos)
    {
        const size_t nClose = strContent.find("*/", nOpen);
        if (nClose == std::string::npos || nClose > static_cast<size_t>(nPos))
            return std::string("the word ") + szWord + " inside a comment";
    }
    const size_t nLineStart = strContent.find_last_of("\n", nPos);
    int nQuotes = 0;
    for (size_t n = nLineStart == std::string::npos ? 0 : nLineStart + 1; n < static_cast<size_t>(nPos); ++n)
        nQuotes += strContent[n] == '"';
    return nQuotes % 2 == 1 ? std::string("the word ") + szWord + " inside a string" : std::string();
}

// The text of a string property of an object, empty when it has none.
std::string StringProperty(IWbemClassObject* pObject, const wchar_t* wszName)
{
    std::string strText;
    VARIANT v;
    VariantInit(&v);
    if (SUCCEEDED(pObject->Get(wszName, 0, &v, nullptr, nullptr)) && v.vt == VT_BSTR && v.bstrVal != nullptr)
    {
        CCStringConversion text(v.bstrVal);
        const char* szText = text.Convert2A();
        strText = szText != nullptr ? szText : "";
    }
    VariantClear(&v);
    return strText;
}

// Whether the class or instance path names an object in the namespace; its __RELPATH if asked.
bool Exists(const std::string& strNamespace, const std::string& strPath, std::string* pstrRelPath)
{
    CCComPtr<IWbemServices> spServices;
    CCComPtr<IWbemClassObject> spObject;
    if (FAILED(CWmiWork::ConnectToNamespace(strNamespace.c_str(), spServices.Put())))
        return false;
    CCWmiBstr bstrPath(strPath.c_str());
    const bool bFound = SUCCEEDED(spServices->GetObject(bstrPath, 0, nullptr, spObject.Put(), nullptr));
    if (bFound && pstrRelPath != nullptr)
        *pstrRelPath = StringProperty(spObject.Get(), L"__RELPATH");
    return bFound;
}

// One "compiled" line for each instance of the class in the namespace (not of its subclasses).
void ListInstances(const std::string& strNamespace, const std::string& strClass)
{
    CCComPtr<IWbemServices> spServices;
    CCComPtr<IEnumWbemClassObject> spEnum;
    CCWmiBstr bstrClass(strClass.c_str());
    if (FAILED(CWmiWork::ConnectToNamespace(("\\\\.\\" + strNamespace).c_str(), spServices.Put())) ||
        FAILED(spServices->CreateInstanceEnum(bstrClass, WBEM_FLAG_SHALLOW, nullptr, spEnum.Put())))
        return;
    for (;;)
    {
        CCComPtr<IWbemClassObject> spObject;
        ULONG nGot = 0;
        if (spEnum->Next(static_cast<long>(WBEM_INFINITE), 1, spObject.Put(), &nGot) != S_OK || nGot != 1)
            break;
        printf("compiled\t%s\t%s\n", strNamespace.c_str(),
               Field(StringProperty(spObject.Get(), L"__RELPATH")).c_str());
    }
}

void Report(CMofParse& mp, const char* szFile)
{
    const std::vector<int> lines = ContentLines(szFile);
    auto lineOf = [&](int nPos) {
        return nPos >= 0 && nPos < static_cast<int>(lines.size()) ? lines[nPos] : 0;
    };
    const int nFirstPragma = mp.Namespaces().empty() ? -1 : mp.Namespaces()[0].Pos;
    // Where the namespace comes from, for an object at nPos.
    auto placeNote = [&](int nPos) -> std::string {
        if (nFirstPragma < 0)
            return "no namespace pragma: /DD /MOF= passes it over (the compiler uses root\\default)";
        return nPos < nFirstPragma ? "before the first namespace pragma: Tarvos takes that pragma's namespace"
                                   : "";
    };
    for (int n = 0; n < static_cast<int>(mp.Namespaces().size()); ++n)
    {
        std::string strTarvos;
        mp.NamespaceByIndex(n, strTarvos);
        strTarvos = NamespaceWithoutMachine(strTarvos);
        const int nLine = lineOf(mp.Namespaces()[n].Pos);
        const std::string strLine = FileLine(szFile, nLine);
        const std::string strCompiler = CompilerNamespace(strLine);
        std::string strNote;
        if (Lower(strTarvos) != Lower(strCompiler))
            strNote = strLine.find("//") != std::string::npos
                          ? "a pragma Tarvos misreads: its // starts a line comment for Tarvos's scanner"
                          : "a pragma Tarvos misreads";
        printf("pragma\t%d\t%s\t%s\t%s\n", nLine, Field(strTarvos).c_str(), strCompiler.c_str(),
               strNote.c_str());
    }
    for (const MofEntry& mofClass : mp.Classes())
    {
        std::string strNamespace, strNote = WordInTextNote(mp.Content(), mofClass.Pos, "class"),
                                  strState = "missing";
        mp.NamespaceForPosition(mofClass.Pos, strNamespace);
        strNamespace = NamespaceWithoutMachine(strNamespace);
        if (std::string("__").compare(mofClass.Name) <= 0)
            strState = "skipped";
        else if (!strNamespace.empty() && Exists(strNamespace, mofClass.Name, nullptr))
            strState = "found";
        if (strNote.empty())
            strNote = placeNote(mofClass.Pos);
        printf("class\t%d\t%s\t%s\t%s\t%s\n", lineOf(mofClass.Pos), Field(strNamespace).c_str(),
               mofClass.Name.c_str(), strState.c_str(), strNote.c_str());
    }
    WmiAliasMap aliasMap;
    for (const MofInstance& instance : mp.Instances())
    {
        std::string strNamespace, strPath, strRelPath,
            strNote = WordInTextNote(mp.Content(), instance.Pos, "instance");
        if (strNote.empty())
            strNote = placeNote(instance.Pos);
        mp.NamespaceForPosition(instance.Pos, strNamespace);
        strNamespace = NamespaceWithoutMachine(strNamespace);
        WmiPropList props;
        HRESULT hr = S_OK;
        if (Lower(instance.ClassName) == "__namespace")
            strNote = "a namespace, which /DD /MOF= never deletes";
        else if (strNamespace.empty() || strNote.find("the word") == 0)
            ;
        else if (FAILED(hr = CWmiWork::PropNamesAndTypesGet(("\\\\.\\" + strNamespace).c_str(),
                                                            instance.ClassName.c_str(), props)))
            strNote =
                hr == static_cast<HRESULT>(WBEM_E_NOT_FOUND)
                    ? (strNote.empty() ? "no such class in \"" + strNamespace + "\": /DD /MOF= passes it over"
                                       : strNote)
                    : "Tarvos cannot read the class in \"" + strNamespace + "\": /DD /MOF= ends with 19";
        else if (!CWmiWork::InstancePathCreate(instance, props, aliasMap, strPath))
            strNote = "a key with neither a value nor a default: /DD /MOF= ends with 19";
        else if (strPath.empty())
            strNote = "an instance without keys: never deleted";
        else
        {
            if (!Exists("\\\\.\\" + strNamespace, strPath, &strRelPath) && strNote.empty())
                strNote = "no instance at this path";
            if (!instance.Alias.empty())
                aliasMap[instance.Alias] = AliasPathEscaped("\\\\.\\" + strNamespace, strPath);
        }
        printf("instance\t%d\t%s\t%s\t%s\t%s\t%s\n", lineOf(instance.Pos), Field(strNamespace).c_str(),
               instance.ClassName.c_str(), Field(strPath).c_str(), Field(strRelPath).c_str(),
               Field(strNote).c_str());
    }
    std::string strNamespace, strClass, strVersion;
    if (mp.ClassVersionFind(strNamespace, strClass, strVersion) || !strClass.empty())
        printf("version\t%s\t%s\t%s\n", Field(NamespaceWithoutMachine(strNamespace)).c_str(),
               strClass.c_str(), Field(strVersion).c_str());
    else
        printf("version\t-\t-\t-\n");
}
} // namespace

int main(int argc, char** argv)
{
    if (argc >= 2 && std::string(argv[1]) == "--text")
    {
        for (int n = 2; n < argc; ++n)
            printf("%s\t%s\n", argv[n], WmiErrorText(static_cast<uint32_t>(strtoul(argv[n], nullptr, 16))));
        return 0;
    }
    if (argc < 2 || argc % 2 != 0)
    {
        fprintf(stderr, "usage: mofcheck <file.mof> [<namespace> <class>]...\n");
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    int nRet = 0;
    CMofParse mp;
    try
    {
        if (!mp.Parse(argv[1]))
        {
            fprintf(stderr, "mofcheck: Tarvos's scanner cannot read %s (missing, or UTF-16)\n", argv[1]);
            nRet = 2;
        }
        else
            Report(mp, argv[1]);
    }
    catch (HRESULT)
    {
        printf("stop\tTarvos's scanner stops on this file (a #pragma without a later namespace, or a "
               "\"class X :\" without a later {): /DD /MOF= ends with 19\n");
    }
    for (int n = 2; n + 1 < argc; n += 2)
        ListInstances(argv[n], argv[n + 1]);
    fflush(stdout);
    CoUninitialize();
    return nRet;
}
