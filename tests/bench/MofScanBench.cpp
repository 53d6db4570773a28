// Scanner benchmark: scans a generated MOF file of about 10 MB (thousands of classes
// and instances) and prints its speed next to the time of merely reading the file.
// Run by hand: wine mof_scan_bench.exe [megabytes]
#include "MofParse.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
double Seconds(const LARGE_INTEGER& liFrom, const LARGE_INTEGER& liTo)
{
    LARGE_INTEGER liFreq;
    QueryPerformanceFrequency(&liFreq);
    return static_cast<double>(liTo.QuadPart - liFrom.QuadPart) / static_cast<double>(liFreq.QuadPart);
}

// One group: a versioned class with qualified properties, a subclass, two instances.
void GroupAppend(std::string& strText, int n)
{
    char sz[2048];
    snprintf(sz, sizeof(sz),
             "// Group %d\n"
             "[Abstract, Version(\"1.%d.0\"), Description(\"Base class number %d of the benchmark.\")]\n"
             "class Bench_Base%d\n{\n"
             "  [key, Description(\"The name.\")] string Name;\n"
             "  [Description(\"A counter.\"), Units(\"Items\")] uint32 Count = %d;\n"
             "  [Values{\"Off\", \"On\"}, ValueMap{\"0\", \"1\"}] uint16 State;\n"
             "  string Text = \"/* not a comment */\";\n"
             "};\n\n"
             "[Version(\"2.%d.1\")]\n"
             "class Bench_Child%d : Bench_Base%d\n{\n"
             "  [Description(\"Child data.\")] sint64 Data[];\n"
             "};\n\n"
             "instance of Bench_Child%d as $Child%d\n{\n"
             "    Name = \"child %d\";\n"
             "    Count = %d;\n"
             "    State = 1;\n"
             "    Data = {1, -2, 3};\n"
             "};\n\n"
             "instance of Bench_Assoc\n{\n"
             "    Left = $Child%d;\n"
             "    Right = \"Bench_Base%d.Name=\\\"x\\\"\";\n"
             "    Weight = -%d;\n"
             "};\n\n",
             n, n, n, n, n, n, n, n, n, n, n, n, n, n, n);
    strText += sz;
}

bool FileWrite(const char* szPath, const std::string& strText)
{
    FILE* pFile = nullptr;
    if (fopen_s(&pFile, szPath, "wb") != 0 || pFile == nullptr)
        return false;
    const bool bOk = fwrite(strText.data(), 1, strText.size(), pFile) == strText.size();
    fclose(pFile);
    return bOk;
}

size_t FileRead(const char* szPath)
{
    FILE* pFile = nullptr;
    if (fopen_s(&pFile, szPath, "rb") != 0 || pFile == nullptr)
        return 0;
    std::string strData;
    char achBuffer[65536];
    size_t nRead;
    while ((nRead = fread(achBuffer, 1, sizeof(achBuffer), pFile)) > 0)
        strData.append(achBuffer, nRead);
    fclose(pFile);
    return strData.size();
}
} // namespace

int main(int argc, char** argv)
{
    const double dMegabytes = argc > 1 ? atof(argv[1]) : 10.0;
    char szTemp[MAX_PATH];
    GetTempPathA(MAX_PATH, szTemp);
    const std::string strPath = std::string(szTemp) + "tarvos_mof_scan_bench.mof";

    std::string strText = "#pragma namespace(\"\\\\\\\\.\\\\root\\\\Bench\")\n"
                          "#pragma autorecover\n";
    int nGroups = 0;
    while (static_cast<double>(strText.size()) < dMegabytes * 1024.0 * 1024.0)
    {
        GroupAppend(strText, nGroups++);
        if (nGroups % 1000 == 0)
        {
            char sz[128];
            snprintf(sz, sizeof(sz), "#pragma namespace(\"root\\\\Bench%d\")\n", nGroups / 1000);
            strText += sz;
        }
    }
    if (!FileWrite(strPath.c_str(), strText))
    {
        fprintf(stderr, "cannot write %s\n", strPath.c_str());
        return 1;
    }
    const double dMB = static_cast<double>(strText.size()) / (1024.0 * 1024.0);
    printf("File: %s, %.2f MB, %d groups (%d classes, %d instances declared)\n", strPath.c_str(), dMB,
           nGroups, 2 * nGroups, 2 * nGroups);

    const int nRounds = 5;
    double dReadBest = 1e9, dScanBest = 1e9;
    size_t nClasses = 0, nInstances = 0, nVersions = 0, nNamespaces = 0, nProperties = 0;
    for (int i = 0; i < nRounds; ++i)
    {
        LARGE_INTEGER liStart, liRead, liScan;
        QueryPerformanceCounter(&liStart);
        const size_t nBytes = FileRead(strPath.c_str());
        QueryPerformanceCounter(&liRead);
        CMofParse mp;
        const bool bParsed = mp.Parse(strPath.c_str());
        QueryPerformanceCounter(&liScan);
        if (nBytes != strText.size() || !bParsed)
        {
            fprintf(stderr, "read %zu of %zu bytes, parse %s\n", nBytes, strText.size(),
                    bParsed ? "ok" : "failed");
            return 1;
        }
        dReadBest = Seconds(liStart, liRead) < dReadBest ? Seconds(liStart, liRead) : dReadBest;
        dScanBest = Seconds(liRead, liScan) < dScanBest ? Seconds(liRead, liScan) : dScanBest;
        nClasses = mp.Classes().size();
        nInstances = mp.Instances().size();
        nVersions = mp.Versions().size();
        nNamespaces = mp.Namespaces().size();
        nProperties = 0;
        for (const MofInstance& instance : mp.Instances())
            nProperties += instance.Properties.size();
    }
    printf("Found: %zu namespaces, %zu classes, %zu versions, %zu instances, %zu properties\n", nNamespaces,
           nClasses, nVersions, nInstances, nProperties);
    printf("Read only:      %8.1f ms  %8.1f MB/s\n", dReadBest * 1000.0, dMB / dReadBest);
    printf("Read and scan:  %8.1f ms  %8.1f MB/s   (best of %d)\n", dScanBest * 1000.0, dMB / dScanBest,
           nRounds);
    DeleteFileA(strPath.c_str());
    return 0;
}
