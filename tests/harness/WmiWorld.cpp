#include "WmiWorld.h"

namespace testkit
{
std::string CWmiWorld::WriteMof(const std::string& strName, const std::string& strText) const
{
    const std::string strPath = m_dir.File(strName);
    // Folders below the scratch folder, one level after the other.
    for (size_t nSlash = m_dir.Path().size() + 1; (nSlash = strPath.find('\\', nSlash)) != std::string::npos;
         ++nSlash)
    {
        CreateDirectoryA(strPath.substr(0, nSlash).c_str(), nullptr);
    }
    WriteBytes(strPath, strText);
    return strPath;
}

std::string CWmiWorld::DumpOf(const std::string& strMof, const std::string& strMore) const
{
    Reset();
    for (const std::string* pText : {&strMof, &strMore})
        if (!pText->empty())
            Seed(*pText);
    return Dump("root");
}

std::string FailedDump()
{
    static LONG s_nFailed = 0;
    return "<dump failed #" + std::to_string(InterlockedIncrement(&s_nFailed)) + ">";
}

std::string Pragma(const std::string& strNs)
{
    std::string strText = "#pragma namespace(\"\\\\\\\\.";
    for (char c : "\\" + strNs)
        strText += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return strText + "\")\n";
}

std::string Ns(const std::string& strPath)
{
    const size_t nSlash = strPath.rfind('\\');
    return Pragma(strPath.substr(0, nSlash)) + "instance of __Namespace { Name = \"" +
           strPath.substr(nSlash + 1) + "\"; };\n" + Pragma(strPath);
}
} // namespace testkit
