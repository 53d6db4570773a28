// The real MOF corpus, compiled and stored through IMofCompiler: the whole CIM schema through its
// include tree, and every Windows sample on its own (each into a fresh repository).
#include "EmuTestUtil.h"

#include <functional>

namespace
{
std::wstring CorpusDir()
{
#ifdef WMIEMU_CORPUS_DIR
    std::wstring dir = WMIEMU_CORPUS_DIR;
    if (GetFileAttributesW(dir.c_str()) != INVALID_FILE_ATTRIBUTES)
        return dir;
#endif
    return L"";
}

void FindMofs(const std::wstring& dir, std::vector<std::wstring>& out)
{
    WIN32_FIND_DATAW fd;
    HANDLE h = FindFirstFileW((dir + L"\\*").c_str(), &fd);
    if (h == INVALID_HANDLE_VALUE)
        return;
    do
    {
        std::wstring name = fd.cFileName;
        if (name == L"." || name == L"..")
            continue;
        if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            FindMofs(dir + L"\\" + name, out);
        else if (name.size() > 4 && _wcsicmp(name.c_str() + name.size() - 4, L".mof") == 0)
            out.push_back(dir + L"\\" + name);
    } while (FindNextFileW(h, &fd));
    FindClose(h);
}

std::string Narrow(const std::wstring& s)
{
    return std::string(s.begin(), s.end());
}

// An include the file names that does not exist beside it: WMI's compiler stops there too.
bool HasMissingInclude(const std::wstring& file)
{
    FILE* f = _wfopen(file.c_str(), L"rb");
    if (!f)
        return false;
    std::string text;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof(buf), f)) > 0)
        text.append(buf, n);
    fclose(f);
    std::wstring dir = file.substr(0, file.find_last_of(L'\\') + 1);
    for (size_t pos = 0; (pos = text.find("#pragma include", pos)) != std::string::npos; ++pos)
    {
        size_t open = text.find('"', pos), close = text.find('"', open + 1);
        if (open == std::string::npos || close == std::string::npos)
            continue;
        std::string inc = text.substr(open + 1, close - open - 1);
        if (GetFileAttributesW((dir + std::wstring(inc.begin(), inc.end())).c_str()) ==
            INVALID_FILE_ATTRIBUTES)
            return true;
    }
    return false;
}

class EmuCorpusTest : public EmuTest
{
protected:
    WBEM_COMPILE_STATUS_INFO CompileCorpusFile(const std::wstring& file)
    {
        CComPtrT<IMofCompiler> comp;
        EXPECT_EQ(S_OK, CoCreateInstance(CLSID_MofCompiler, nullptr, CLSCTX_INPROC_SERVER, IID_IMofCompiler,
                                         (void**)&comp));
        WBEM_COMPILE_STATUS_INFO info = {};
        std::wstring path = file;
        // The corpus stays out of the prefix's autorecover list.
        HRESULT hr = comp->CompileFile(&path[0], nullptr, nullptr, nullptr, nullptr,
                                       WBEM_FLAG_DONT_ADD_TO_LIST, 0, 0, &info);
        EXPECT_EQ(hr == WBEM_S_NO_ERROR, info.lPhaseError == 0) << Narrow(file);
        return info;
    }
};
} // namespace

TEST_F(EmuCorpusTest, WholeCimSchemaIsStored)
{
    std::wstring corpus = CorpusDir();
    if (corpus.empty())
        GTEST_SKIP() << "corpus folder absent";
    WBEM_COMPILE_STATUS_INFO info =
        CompileCorpusFile(corpus + L"\\omi\\Unix\\share\\omischema\\CIM_Schema.mof");
    ASSERT_EQ(0, info.lPhaseError) << "hr 0x" << std::hex << info.hRes << std::dec << " object "
                                   << info.ObjectNum << " lines " << info.FirstLine << "-" << info.LastLine;
    auto& svc = Ns();
    CComPtrT<IWbemClassObject> cls;
    ASSERT_EQ(WBEM_S_NO_ERROR, GetObj(svc.Get(), L"CIM_ComputerSystem", cls));
    EXPECT_EQ(L"CIM_ManagedElement", GetStr(cls.Get(), L"__DYNASTY"));
    CComPtrT<IWbemQualifierSet> qs;
    ASSERT_EQ(WBEM_S_NO_ERROR, cls->GetQualifierSet(&qs));
    CVar ver;
    EXPECT_EQ(WBEM_S_NO_ERROR, qs->Get(L"Version", 0, &ver, nullptr));
    CComPtrT<IEnumWbemClassObject> en;
    CBstr lang(L"WQL"), q(L"SELECT * FROM meta_class WHERE __CLASS LIKE 'CIM[_]%'");
    ASSERT_EQ(WBEM_S_NO_ERROR, svc->ExecQuery(lang, q, 0, nullptr, &en));
    EXPECT_GT(EnumNames(en.Get(), L"__CLASS").size(), 1000u);
}

TEST_F(EmuCorpusTest, WindowsSamplesCompileWithoutParseErrors)
{
    std::wstring corpus = CorpusDir();
    if (corpus.empty())
        GTEST_SKIP() << "corpus folder absent";
    std::vector<std::wstring> files;
    FindMofs(corpus + L"\\windows-samples", files);
    ASSERT_GT(files.size(), 10u);
    size_t nStored = 0, nChecked = 0;
    for (size_t n = 0; n < files.size(); ++n)
    {
        if (HasMissingInclude(files[n]))
            continue;
        std::wstring repo = m_dir + L"sample" + std::to_wstring(n) + L".txt";
        SetEnvironmentVariableW(L"WMIEMU_REPOSITORY", repo.c_str());
        WBEM_COMPILE_STATUS_INFO info = CompileCorpusFile(files[n]);
        ++nChecked;
        EXPECT_NE(1, info.lPhaseError)
            << Narrow(files[n]) << " object " << info.ObjectNum << " line " << info.FirstLine;
        // Storing may only fail where a sample derives from a class that Windows ships in root\cimv2
        // (CIM_Process, Win32_PerfRawData) and a fresh emulator repository does not have.
        if (info.lPhaseError == 3)
        {
            EXPECT_EQ(WBEM_E_INVALID_SUPERCLASS, info.hRes) << Narrow(files[n]);
        }
        if (info.lPhaseError == 0)
            ++nStored;
        else
            std::cout << "not stored (phase " << info.lPhaseError << ", hr 0x" << std::hex << info.hRes
                      << std::dec << ", object " << info.ObjectNum << ", line " << info.FirstLine
                      << "): " << Narrow(files[n]) << "\n";
    }
    std::cout << nStored << " of " << nChecked << " samples stored\n";
    EXPECT_GT(nStored, nChecked / 2);
}
