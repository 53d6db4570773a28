// CMofParse: reading the MOF file, and the answers given from the scan result.
#include "MofParse.h"

#include "ArcaTrace.h"

#include <cstdio>
#include <memory>

namespace
{
struct FileCloser
{
    void operator()(FILE* pFile) const { fclose(pFile); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

// Removes "//" line comments, the line feed that ends them included, byte by byte.
// Block comments stay; a lone "/" at the very end of the file is lost.
class CLineCommentFilter
{
public:
    explicit CLineCommentFilter(std::string& szOut) : m_szOut(szOut) {}

    void Put(const char* pData, size_t nBytes)
    {
        for (size_t i = 0; i < nBytes; ++i)
        {
            const char ch = pData[i];
            switch (m_nState)
            {
            case 0:
                if (ch == '/')
                    m_nState = 1;
                else
                    m_szOut.push_back(ch);
                break;
            case 1:
                if (ch == '/')
                    m_nState = 2;
                else
                {
                    m_szOut.push_back('/');
                    m_szOut.push_back(ch);
                    m_nState = 0;
                }
                break;
            default:
                if (ch == '\n')
                    m_nState = 0;
                break;
            }
        }
    }

private:
    std::string& m_szOut;
    int m_nState = 0;
};
} // namespace

CMofParse::CMofParse() = default;

bool CMofParse::Parse(const char* szFile)
{
    gg_ptrc->Trace(TRC_INFO, "CMofParse::Parse", "Enter", "", "szFile='%s'", szFile);
    FILE* pRaw = nullptr;
    const errno_t nErr = fopen_s(&pRaw, szFile, "rb");
    if (nErr != 0 || pRaw == nullptr)
    {
        gg_ptrc->Trace(TRC_ERROR, "CMofParse::Parse", "Internal", "Could not open file", "err=%d", nErr);
        gg_ptrc->Trace(TRC_INFO, "CMofParse::Parse", "Leave", "", "ret=%s", "false");
        return false;
    }
    FilePtr pFile(pRaw);

    m_Content.clear();
    CLineCommentFilter filter(m_Content);
    const int nFirst = fgetc(pFile.get());
    if (nFirst == 0xFF)
    {
        const int nSecond = fgetc(pFile.get());
        if (nSecond == 0xFE)
        {
            gg_ptrc->Trace(TRC_ERROR, "CMofParse::Parse", "Internal", "File has unicode signature",
                           "name='%s'", szFile);
            // Deliberately left open until the process ends: that is how a UTF-16
            // file is refused, and it keeps the file locked against deletion meanwhile.
            (void)pFile.release();
            gg_ptrc->Trace(TRC_INFO, "CMofParse::Parse", "Leave", "", "ret=%s", "false");
            return false;
        }
        // A lone 0xFF is dropped; the scan begins with the second byte.
        if (nSecond != EOF)
        {
            const char ch = static_cast<char>(nSecond);
            filter.Put(&ch, 1);
        }
    }
    else if (nFirst != EOF)
    {
        const char ch = static_cast<char>(nFirst);
        filter.Put(&ch, 1);
    }

    char achBuffer[65536];
    size_t nRead;
    while ((nRead = fread(achBuffer, 1, sizeof(achBuffer), pFile.get())) > 0)
        filter.Put(achBuffer, nRead);
    pFile.reset();

    TextScan();
    gg_ptrc->Trace(TRC_INFO, "CMofParse::Parse", "Leave", "", "ret=%s", "true");
    return true;
}

bool CMofParse::TextScan()
{
    NamespacesFind();
    ClassesFind();
    InstancesFind();
    VersionInfoFind();
    return true;
}

bool CMofParse::ClassVersionFind(std::string& szNamespace, std::string& szClass, std::string& szVersion)
{
    gg_ptrc->Trace(TRC_INFO, "CMofParse::ClassVersionFind", "Enter", "", "");
    bool bRet = false;
    bool bPaired = false;
    for (size_t i = 0; i < m_Versions.size() && !bPaired; ++i)
    {
        for (size_t j = 0; j < m_Classes.size(); ++j)
        {
            if (m_Versions[i].Pos < m_Classes[j].Pos)
            {
                szClass = m_Classes[j].Name;
                szVersion = m_Versions[i].Name;
                bRet = NamespaceForPosition(m_Classes[j].Pos, szNamespace);
                bPaired = true;
                break;
            }
        }
    }
    gg_ptrc->Trace(TRC_INFO, "CMofParse::ClassVersionFind", "Leave", "",
                   "\nret=%s\nNamespace='%s', Class='%s', Version='%s'", bRet ? "true" : "false",
                   szNamespace.c_str(), szClass.c_str(), szVersion.c_str());
    return bRet;
}

bool CMofParse::NamespaceForPosition(int nPos, std::string& szNamespace)
{
    gg_ptrc->Trace(TRC_VERBOSE, "CMofParse::NamespaceForPosition", "Enter", "", "nPos=%d", nPos);
    int nCount = 0;
    while (nCount < static_cast<int>(m_Namespaces.size()) &&
           m_Namespaces[static_cast<size_t>(nCount)].Pos <= nPos)
        ++nCount;
    NamespaceByIndex(nCount > 0 ? nCount - 1 : 0, szNamespace);
    const bool bRet = !szNamespace.empty();
    gg_ptrc->Trace(TRC_VERBOSE, "CMofParse::NamespaceForPosition", "Leave", "", "ret=%s, szNamespace='%s'",
                   bRet ? "true" : "false", szNamespace.c_str());
    return bRet;
}

void CMofParse::NamespaceByIndex(int nIndex, std::string& szNamespace)
{
    gg_ptrc->Trace(TRC_VERBOSE, "CMofParse::NamespaceByIndex", "Enter", "", "nIndex=%d", nIndex);
    szNamespace.clear();
    if (nIndex >= 0 && nIndex < static_cast<int>(m_Namespaces.size()))
    {
        const std::string& szRaw = m_Namespaces[static_cast<size_t>(nIndex)].Name;
        for (size_t i = 0; i < szRaw.size(); ++i)
        {
            szNamespace.push_back(szRaw[i]);
            if (szRaw[i] == '\\' && i + 1 < szRaw.size() && szRaw[i + 1] == '\\')
                ++i;
        }
        szNamespace.erase(0, szNamespace.find_first_not_of('\\'));
    }
    gg_ptrc->Trace(TRC_VERBOSE, "CMofParse::NamespaceByIndex", "Leave", "", "szNamespace='%s'",
                   szNamespace.c_str());
}
