// EmuTypes.h - the emulator's plain data: values, qualifiers, properties, methods, class definitions
// as stored, and the flattened object that a client sees through IWbemClassObject.
#pragma once

#include <windows.h>
#include <wbemcli.h>

#include <memory>
#include <string>
#include <vector>

namespace wmiemu
{

struct Object;

// A property or qualifier value. Integers of every CIM width live in i (uint64 as its bit pattern),
// dates and references are strings; the CIM type that goes with it is kept by the owner.
struct Value
{
    enum class Kind
    {
        Null,
        Bool,
        Int,
        Real,
        String,
        Object,
        Array
    } kind = Kind::Null;
    bool b = false;
    long long i = 0;
    double r = 0;
    std::wstring s;
    std::shared_ptr<Object> obj;
    std::vector<Value> items;

    bool IsNull() const { return kind == Kind::Null; }
    static Value Str(const std::wstring& s)
    {
        Value v;
        v.kind = Kind::String;
        v.s = s;
        return v;
    }
    static Value Int(long long n)
    {
        Value v;
        v.kind = Kind::Int;
        v.i = n;
        return v;
    }
    static Value Bool(bool b)
    {
        Value v;
        v.kind = Kind::Bool;
        v.b = b;
        return v;
    }
};

bool ValueEquals(const Value& a, const Value& b);

struct Qualifier
{
    std::wstring name;
    Value value;
    long flavor = 0; // WBEM_FLAVOR_* bits; WBEM_FLAVOR_ORIGIN_PROPAGATED marks an inherited one
};

struct Property
{
    std::wstring name;
    CIMTYPE type = CIM_STRING; // with CIM_FLAG_ARRAY for arrays
    std::wstring refClass;     // class of a reference or embedded object, "" when any
    Value value;               // default (class) or value (instance)
    std::vector<Qualifier> quals;
    std::wstring origin; // class that declares it
};

struct Method
{
    std::wstring name;
    CIMTYPE returnType = CIM_UINT32;
    bool returnsVoid = false;
    std::vector<Qualifier> quals;
    std::vector<Property> params;
    std::wstring origin;
};

// A class as the repository keeps it: only what it declares itself, properties of a superclass
// appearing here only where it overrides their default or adds qualifiers.
struct ClassDef
{
    std::wstring name, superclass;
    std::vector<Qualifier> quals;
    std::vector<Property> props;
    std::vector<Method> methods;
};

// An instance as the repository keeps it: its class, its own qualifiers and the values set.
struct InstData
{
    std::wstring className;
    std::vector<Qualifier> quals;
    std::vector<std::pair<std::wstring, Value>> values;
};

// A class or instance with everything inherited filled in: what IWbemClassObject shows.
struct Object
{
    bool isClass = true;
    std::wstring className, superclass;
    std::vector<std::wstring> derivation; // superclass first, up to the root
    std::wstring ns;                      // "" for objects not (yet) from the repository
    std::vector<Qualifier> quals;
    std::vector<Property> props;
    std::vector<Method> methods;
    bool fromRepository = false;
};

// Case-insensitive compare and helpers on names.
bool NameEq(const std::wstring& a, const std::wstring& b);
int NameCmp(const std::wstring& a, const std::wstring& b);
std::wstring Lower(const std::wstring& s);
bool IsSystemName(const std::wstring& s);

Qualifier* FindQual(std::vector<Qualifier>& qs, const std::wstring& name);
const Qualifier* FindQual(const std::vector<Qualifier>& qs, const std::wstring& name);
Property* FindProp(std::vector<Property>& ps, const std::wstring& name);
const Property* FindProp(const std::vector<Property>& ps, const std::wstring& name);
bool QualIsTrue(const std::vector<Qualifier>& qs, const std::wstring& name);

// CIM type names as MOF writes them ("uint32", "string", ...), and back (0 when unknown).
std::wstring CimTypeName(CIMTYPE t);
CIMTYPE CimTypeFromName(const std::wstring& s);

} // namespace wmiemu
