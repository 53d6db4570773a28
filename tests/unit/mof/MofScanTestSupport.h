// Shared set-up of the scanner tests: MOF texts written to a scratch folder and scanned.
#pragma once

#include "MofParse.h"
#include "TestKit.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

class MofScanTest : public ::testing::Test
{
protected:
    testkit::CScratchDir m_dir;
    std::unique_ptr<CMofParse> m_pScan;
    int m_nFiles = 0;

    // Writes the bytes to a new file and scans it with a fresh scanner.
    bool Scan(const std::string& strBytes)
    {
        const std::string strPath = m_dir.File("t" + std::to_string(++m_nFiles) + ".mof");
        EXPECT_TRUE(testkit::WriteBytes(strPath, strBytes));
        m_pScan = std::make_unique<CMofParse>();
        return m_pScan->Parse(strPath.c_str());
    }
    // Scans and reports what left the scan: 0 for none, else the HRESULT thrown.
    HRESULT ScanThrown(const std::string& strBytes)
    {
        try
        {
            Scan(strBytes);
        }
        catch (HRESULT hr)
        {
            return hr;
        }
        return S_OK;
    }
    CMofParse& Mp() { return *m_pScan; }
    // The names of a list, joined by "|".
    static std::string Names(const std::vector<MofEntry>& entries)
    {
        std::string str;
        for (size_t i = 0; i < entries.size(); ++i)
            str += (i == 0 ? "" : "|") + entries[i].Name;
        return str;
    }
    // The instances as "Class$alias{name=value;...}", joined by " ".
    std::string Instances() const
    {
        std::string str;
        for (const MofInstance& instance : m_pScan->Instances())
        {
            str += (str.empty() ? "" : " ") + instance.ClassName + instance.Alias + "{";
            for (const MofProperty& prop : instance.Properties)
                str += prop.Name + "=" + prop.Value + ";";
            str += "}";
        }
        return str;
    }
};
