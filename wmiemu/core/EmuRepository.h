// EmuRepository.h - the emulator's WMI repository: a tree of namespaces under root, each with its
// classes and static instances, with WMI's rules for storing, finding, enumerating and deleting them.
// The system classes (names beginning with "__") exist in every namespace and are not stored.
#pragma once

#include "EmuPath.h"

#include <map>

namespace wmiemu
{

struct Namespace
{
    std::wstring path; // "root\x\y", case as created
    std::vector<ClassDef> classes;
    std::vector<InstData> instances;
};

class Repository
{
public:
    // root, root\default and root\cimv2, as a new WMI installation has them.
    static Repository Fresh();

    // Makes this repository equal to other, reusing the storage of the items it already holds (cheaper
    // than a copy when both mostly agree).
    void CopyFrom(const Repository& other);

    // Text form: the repository file and the dump (sorted, one item a line; see README.md).
    std::wstring Serialize(const std::wstring& nsFilter = L"") const;
    bool Parse(const std::wstring& text, std::wstring& error);
    static std::wstring ClassText(const std::wstring& ns, const ClassDef& c);
    std::wstring InstanceText(const std::wstring& ns, const InstData& i) const;

    // Journal records (EmuJournal.cpp): the changes from before to this repository as text, "" when
    // none; and applying such records (complete ones, one after the other) to a repository.
    std::wstring JournalRecord(const Repository& before) const;
    bool ApplyJournal(const std::wstring& records, std::wstring& error);

    // Namespaces (names in any of the accepted forms).
    Namespace* FindNs(const std::wstring& ns);
    const Namespace* FindNs(const std::wstring& ns) const;
    std::vector<std::wstring> ChildNamespaces(const std::wstring& ns) const; // full paths
    HRESULT CreateNamespace(const std::wstring& parent, const std::wstring& name, long lFlags);
    HRESULT DeleteNamespace(const std::wstring& parent, const std::wstring& name);

    // Classes. Getters return flattened objects (everything inherited filled in).
    const ClassDef* FindClassDef(const std::wstring& ns, const std::wstring& name) const;
    HRESULT GetClass(const std::wstring& ns, const std::wstring& name, Object& out) const;
    bool DerivesFrom(const std::wstring& ns, const std::wstring& cls, const std::wstring& ancestor) const;
    HRESULT PutClass(const std::wstring& ns, const Object& cls, long lFlags);
    HRESULT DeleteClass(const std::wstring& ns, const std::wstring& name);
    // Classes derived from super ("" = all), deep or only the direct ones; system classes included.
    HRESULT EnumClasses(const std::wstring& ns, const std::wstring& super, bool bDeep,
                        std::vector<Object>& out) const;

    // Instances.
    HRESULT GetObjectByPath(const std::wstring& ns, const std::wstring& path, Object& out) const;
    HRESULT PutInstance(const std::wstring& ns, const Object& inst, long lFlags, std::wstring* pRelPath);
    HRESULT DeleteInstance(const std::wstring& ns, const std::wstring& path);
    HRESULT EnumInstances(const std::wstring& ns, const std::wstring& cls, bool bDeep,
                          std::vector<Object>& out) const;

    // A path in a form that compares equal for every path of the same object (see EmuInstanceFind.cpp);
    // a relative path names an object in ns.
    std::wstring CanonicalPath(const std::wstring& ns, const std::wstring& path, int nDepth = 0) const;
    // The class whose instances' keys are unique and include those of cls: the topmost class reached
    // through superclasses that are not abstract (cls itself when unknown).
    std::wstring IdentityRoot(const std::wstring& ns, const std::wstring& cls) const;

    // An instance object of a class with the given values (for instances built from stored data).
    HRESULT MakeInstance(const std::wstring& ns, const InstData& data, Object& out) const;

private:
    // Replaces a stored class by def under the update mode of lFlags (EmuClassUpdate.cpp).
    HRESULT ApplyClassUpdate(const std::wstring& ns, ClassDef& existing, const ClassDef& def, long lFlags);
    HRESULT Flatten(const std::wstring& ns, const std::wstring& name, Object& out, int nDepth) const;
    HRESULT ToInstData(const std::wstring& ns, const Object& inst, InstData& out, Object& cls) const;
    int FindInstance(const Namespace& ns, const std::wstring& cls, const ObjectPath& path) const;
    std::vector<Object> NamespaceInstances(const std::wstring& ns) const;
    // The instance of ns with the class and key values of inst (-1 when none).
    int FindSameInstance(const Namespace& ns, const InstData& inst) const;

    std::map<std::wstring, Namespace> m_namespaces; // by lower-case path
};

// The system classes every namespace has.
const std::vector<ClassDef>& SystemClasses();

// System properties of an object (__CLASS, __PATH, ...): false when name is none of them.
bool GetSystemProperty(const Object& obj, const std::wstring& name, Value& v, CIMTYPE& type);
extern const wchar_t* const g_systemPropertyNames[10];
// The key properties with their values; the relative path ("" when a key is null).
std::vector<std::pair<std::wstring, Value>> KeyValues(const Object& obj, bool* pbAllSet = nullptr);
std::wstring RelPath(const Object& obj);
std::wstring ServerName();

} // namespace wmiemu
