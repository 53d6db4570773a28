// MofModel.h - the plain data model the MOF front end produces (no COM in it).
//
// The emulator's compiler (IMofCompiler::CompileFile) parses a file with mofc::ParseFile and, when the
// result is ok, stores the declarations in order. Everything here is plain C++17 standard library.
//
// Notes on the model (read these before consuming it):
// - Value::Kind::Int holds every integer literal. A literal above INT64_MAX (e.g. 0xFFFFFFFFFFFFFFFF)
//   is stored as its 64-bit pattern with isUnsigned = true. A char16 literal 'c' is an Int with
//   isChar = true (i = the UTF-16 code unit).
// - Value::Kind::Ref: s is the alias name WITHOUT the '$' when isAlias (e.g. "a" for $a), otherwise
//   the object path string as written (already unescaped).
//   A class property of type Reference with a string default gets Kind::Ref; in an instance the parser
//   does not know the property types, so a quoted object path there stays Kind::String.
// - An instance property written with qualifiers and no value ("[Dynamic, Provider(...)] Name;", as
//   dynamic-property instances do) has a Kind::Null value.
// - Value::Kind::Object: an embedded "instance of X { ... }" value; object points to it.
// - Value::Kind::Array: items holds the elements (all scalar kinds; an empty "{}" gives no items).
// - Qualifier flavors: the fields hold the effective flavor. WMI's defaults are ToSubclass, not
//   ToInstance, overridable, not amended. "Restricted" clears toSubclass, "DisableOverride" clears
//   overridable, "EnableOverride" sets it, "ToInstance"/"ToSubclass"/"Amended" set theirs.
//   flavorsWritten is true when a ':' flavor list was present.
// - A qualifier written without a value ("[Key]") is Bool true.
// - Property::refClass: for Reference the referenced class ("Y ref R" gives "Y", "object ref R" gives
//   ""); for an Object property declared with a class name as its type ("Y R;") the class name.
// - Method::params: the parameters in order, each a Property (qualifiers such as In/Out/ID kept as
//   written). returnsVoid is true for "void M()"; then returnType is left at Uint32 and meaningless.
// - Declaration::ns: the namespace in effect, as absolute "root\..." (server prefix "\\.\" or
//   "\\server\" removed, forward slashes turned into backslashes, trailing backslashes removed, case
//   kept as written). A relative "#pragma namespace("x")" is appended to the namespace in effect.
//   The default is "root\default".
// - Declaration::file is the full path of the file the declaration came from (an included file gives
//   its own path); firstLine/lastLine are 1-based lines in that file.
// - classFlags / instanceFlags: WBEM_FLAG_* values from "#pragma classflags(...)" and
//   "#pragma instanceflags(...)" in effect at the declaration: "updateonly"=1 (WBEM_FLAG_UPDATE_ONLY),
//   "createonly"=2 (WBEM_FLAG_CREATE_ONLY), "safeupdate"=0x20 (WBEM_FLAG_UPDATE_SAFE_MODE),
//   "forceupdate"=0x40 (WBEM_FLAG_UPDATE_FORCE_MODE); numbers are taken as they are; 0 means
//   create-or-update.
// - DeleteClass comes from "#pragma deleteclass("Name", FAIL|NOFAIL)", DeleteInstance from
//   "#pragma deleteinstance("Class.Key=1", FAIL|NOFAIL)": deleteTarget is the class name or the
//   object path as written, deleteFail is true for FAIL.
// - "qualifier X : type = v, scope(...);" declarations are parsed and dropped (WMI keeps no state for
//   them that the emulator needs); "qualifier X : ToInstance Amended;" gives the flavors of every later
//   X qualifier of the compile, flavors written at a use applying on top.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace mofc
{

enum class CimType
{
    Sint8,
    Uint8,
    Sint16,
    Uint16,
    Sint32,
    Uint32,
    Sint64,
    Uint64,
    Real32,
    Real64,
    Boolean,
    String,
    Datetime,
    Char16,
    Reference,
    Object
};

struct InstanceDecl;

struct Value
{
    enum class Kind
    {
        Null,
        Bool,
        Int,
        Real,
        String,
        Ref, // alias or object path
        Array,
        Object // embedded "instance of"
    } kind = Kind::Null;
    bool b = false;
    long long i = 0;
    bool isUnsigned = false; // Int above INT64_MAX, i holds the bit pattern
    bool isChar = false;     // Int from a char16 literal
    double r = 0;
    std::wstring s;
    std::vector<Value> items;
    bool isAlias = false; // for Ref: s holds the alias name (without '$'), else the path
    std::shared_ptr<InstanceDecl> object;
};

struct Qualifier
{
    std::wstring name;
    Value value;
    bool toSubclass = true, toInstance = false, overridable = true, amended = false, restricted = false;
    bool flavorsWritten = false;
};

struct Property
{
    std::wstring name;
    CimType type = CimType::String;
    bool isArray = false;
    int arraySize = 0; // "uint8 A[4]": 4; "A[]" or no array: 0
    std::wstring refClass;
    std::vector<Qualifier> qualifiers;
    bool hasDefault = false;
    Value defaultValue;
};

struct Method
{
    std::wstring name;
    CimType returnType = CimType::Uint32;
    bool returnsVoid = false;
    std::wstring returnRefClass; // for "Y ref M()" and class-typed returns
    std::vector<Qualifier> qualifiers;
    std::vector<Property> params;
};

struct ClassDecl
{
    std::wstring name, superclass, alias;
    std::vector<Qualifier> qualifiers;
    std::vector<Property> properties;
    std::vector<Method> methods;
};

struct PropertyValue
{
    std::wstring name;
    Value value;
    std::vector<Qualifier> qualifiers;
};

struct InstanceDecl
{
    std::wstring className, alias;
    std::vector<Qualifier> qualifiers;
    std::vector<PropertyValue> values;
};

struct Declaration
{
    enum class Kind
    {
        Class,
        Instance,
        DeleteClass,
        DeleteInstance
    } kind = Kind::Class;
    std::wstring ns; // absolute "root\..." form, see above
    ClassDecl cls;
    InstanceDecl inst;
    std::wstring deleteTarget;
    bool deleteFail = false;
    unsigned classFlags = 0;
    unsigned instanceFlags = 0;
    std::wstring file; // full path of the file holding it
    int firstLine = 0, lastLine = 0;
};

} // namespace mofc
