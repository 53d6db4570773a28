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
} // namespace testkit
