// MofParserDecls.cpp - class, instance and qualifier declarations.
#include "MofParser.h"

#include <cwctype>
#include <set>

namespace mofc
{

std::wstring Lower(const std::wstring& wsz)
{
    std::wstring wszLower = wsz;
    for (wchar_t& ch : wszLower)
        ch = (wchar_t)std::towlower(ch);
    return wszLower;
}

bool CCMofParser::DefineAlias(const std::wstring& wszAlias)
{
    if (!m_state.aliasesDefined.emplace(Lower(wszAlias), m_nDeclObject).second)
        return Fail(MOFC_E_MULTIPLE_ALIASES, L"alias $" + wszAlias + L" defined twice");
    return true;
}

bool CCMofParser::ParseDeclaration()
{
    m_nDeclObject = ++m_state.nObjects;
    m_nDeclFirstLine = Cur().nLine;
    std::vector<Qualifier> qualifiers;
    if (IsPunct(L'[') && !ParseQualifierList(qualifiers))
        return false;
    Declaration decl;
    if (IsWord(L"class"))
    {
        decl.kind = Declaration::Kind::Class;
        decl.cls.qualifiers = std::move(qualifiers);
        if (!ParseClass(decl.cls))
            return false;
    }
    else if (IsWord(L"instance"))
    {
        decl.kind = Declaration::Kind::Instance;
        decl.inst.qualifiers = std::move(qualifiers);
        if (!ParseInstance(decl.inst, false))
            return false;
    }
    else if (IsWord(L"qualifier") && qualifiers.empty())
        return ParseQualifierDeclaration();
    else
        return Fail(MOFC_E_UNRECOGNIZED_TOKEN, L"expected 'class', 'instance of' or 'qualifier'");
    decl.lastLine = Cur().nLine;
    if (!ExpectPunct(L';', MOFC_E_EXPECTED_SEMI))
        return false;
    decl.ns = m_state.wszNamespace;
    decl.classFlags = m_state.dwClassFlags;
    decl.instanceFlags = m_state.dwInstanceFlags;
    decl.file = m_wszFile;
    decl.firstLine = m_nDeclFirstLine;
    m_state.decls.push_back(std::move(decl));
    return true;
}

// class Name [as $alias] [: Super] { features };  (the closing ';' is read by the caller)
bool CCMofParser::ParseClass(ClassDecl& cls)
{
    Next(); // "class"
    if (!ExpectIdent(cls.name, MOFC_E_EXPECTED_CLASS_NAME, L"a class name"))
        return false;
    if (IsWord(L"as") && !ParseAliasName(cls.alias))
        return false;
    if (IsPunct(L':'))
    {
        Next();
        if (!ExpectIdent(cls.superclass, MOFC_E_EXPECTED_CLASS_NAME, L"a superclass name"))
            return false;
    }
    if (IsWord(L"as") && cls.alias.empty() && !ParseAliasName(cls.alias))
        return false;
    if (!cls.alias.empty() && !DefineAlias(cls.alias))
        return false;
    if (!ExpectPunct(L'{', MOFC_E_EXPECTED_OPEN_BRACE))
        return false;
    std::set<std::wstring> names;
    while (!IsPunct(L'}'))
    {
        size_t nProps = cls.properties.size();
        int nLine = Cur().nLine;
        if (!ParseFeature(cls))
            return false;
        const std::wstring& wszName =
            cls.properties.size() > nProps ? cls.properties.back().name : cls.methods.back().name;
        if (!names.insert(Lower(wszName)).second)
            return FailAtLine(MOFC_E_DUPLICATE_PROPERTY, nLine,
                              L"property or method '" + wszName + L"' declared twice");
    }
    Next();
    return true;
}

// [qualifiers] type [ref] name ( '(' params ')' | ['[' [n] ']'] ['=' value] ) ';'
bool CCMofParser::ParseFeature(ClassDecl& cls)
{
    std::vector<Qualifier> qualifiers;
    if (IsPunct(L'[') && !ParseQualifierList(qualifiers))
        return false;
    CimType type = CimType::String;
    std::wstring wszRefClass, wszName;
    bool bVoid = false;
    if (!ParseType(type, wszRefClass, bVoid))
        return false;
    if (!ExpectIdent(wszName, MOFC_E_EXPECTED_PROPERTY_NAME, L"a property or method name"))
        return false;
    if (IsPunct(L'('))
    {
        Method method;
        method.name = wszName;
        method.returnType = bVoid ? CimType::Uint32 : type;
        method.returnsVoid = bVoid;
        method.returnRefClass = wszRefClass;
        method.qualifiers = std::move(qualifiers);
        if (!ParseParameters(method))
            return false;
        if (!ExpectPunct(L';', MOFC_E_EXPECTED_SEMI))
            return false;
        cls.methods.push_back(std::move(method));
        return true;
    }
    if (bVoid)
        return Fail(MOFC_E_UNRECOGNIZED_TYPE, L"a property cannot be void");
    Property prop;
    prop.name = wszName;
    prop.type = type;
    prop.refClass = wszRefClass;
    prop.qualifiers = std::move(qualifiers);
    if (IsPunct(L'['))
    {
        Next();
        prop.isArray = true;
        if (Cur().kind == TokenKind::Int)
        {
            if (Cur().nValue > 0x7FFFFFFF)
                return Fail(MOFC_E_OUT_OF_RANGE, L"array size too large");
            prop.arraySize = (int)Cur().nValue;
            Next();
        }
        if (!ExpectPunct(L']', MOFC_E_EXPECTED_CLOSE_BRACKET))
            return false;
    }
    if (IsPunct(L'='))
    {
        Next();
        if (!ParseValue(prop.defaultValue))
            return false;
        if (prop.defaultValue.kind == Value::Kind::Array && !prop.isArray)
            return Fail(MOFC_E_UNEXPECTED_ARRAY_INIT, L"array value for a property that is not an array");
        if (type == CimType::Reference && prop.defaultValue.kind == Value::Kind::String)
            prop.defaultValue.kind = Value::Kind::Ref;
        prop.hasDefault = true;
    }
    if (!ExpectPunct(L';', MOFC_E_EXPECTED_SEMI))
        return false;
    cls.properties.push_back(std::move(prop));
    return true;
}

// '(' [ [qualifiers] type [ref] name ['[' [n] ']'] ['=' value] {, ...} ] ')'
bool CCMofParser::ParseParameters(Method& method)
{
    Next(); // '('
    if (IsPunct(L')'))
    {
        Next();
        return true;
    }
    std::set<std::wstring> names;
    for (;;)
    {
        Property param;
        int nLine = Cur().nLine;
        if (IsPunct(L'[') && !ParseQualifierList(param.qualifiers))
            return false;
        bool bVoid = false;
        if (!ParseType(param.type, param.refClass, bVoid))
            return false;
        if (bVoid)
            return Fail(MOFC_E_UNRECOGNIZED_TYPE, L"a parameter cannot be void");
        if (!ExpectIdent(param.name, MOFC_E_EXPECTED_PROPERTY_NAME, L"a parameter name"))
            return false;
        if (IsPunct(L'['))
        {
            Next();
            param.isArray = true;
            if (Cur().kind == TokenKind::Int && Cur().nValue <= 0x7FFFFFFF)
            {
                param.arraySize = (int)Cur().nValue;
                Next();
            }
            if (!ExpectPunct(L']', MOFC_E_EXPECTED_CLOSE_BRACKET))
                return false;
        }
        if (IsPunct(L'='))
        {
            Next();
            if (!ParseValue(param.defaultValue))
                return false;
            param.hasDefault = true;
        }
        if (!names.insert(Lower(param.name)).second)
            return FailAtLine(MOFC_E_DUPLICATE_PROPERTY, nLine,
                              L"parameter '" + param.name + L"' declared twice");
        method.params.push_back(std::move(param));
        if (IsPunct(L')'))
        {
            Next();
            return true;
        }
        if (!ExpectPunct(L',', MOFC_E_EXPECTED_CLOSE_PAREN))
            return false;
    }
}

// instance of Class [as $alias] { [qualifiers] name = value; ... }  (no ';' after '}' read here)
bool CCMofParser::ParseInstance(InstanceDecl& inst, bool bEmbedded)
{
    Next(); // "instance"
    if (!IsWord(L"of"))
        return Fail(MOFC_E_INVALID_INSTANCE_DECLARATION, L"expected 'of' after 'instance'");
    Next();
    if (!ExpectIdent(inst.className, MOFC_E_EXPECTED_CLASS_NAME, L"a class name"))
        return false;
    if (IsWord(L"as"))
    {
        if (bEmbedded)
            return Fail(MOFC_E_ALIASES_IN_EMBEDDED, L"an embedded instance cannot have an alias");
        if (!ParseAliasName(inst.alias) || !DefineAlias(inst.alias))
            return false;
    }
    if (!ExpectPunct(L'{', MOFC_E_EXPECTED_OPEN_BRACE))
        return false;
    std::set<std::wstring> names;
    while (!IsPunct(L'}'))
    {
        PropertyValue pv;
        int nLine = Cur().nLine;
        if (IsPunct(L'[') && !ParseQualifierList(pv.qualifiers))
            return false;
        if (!ExpectIdent(pv.name, MOFC_E_EXPECTED_PROPERTY_NAME, L"a property name"))
            return false;
        // "[Dynamic, Provider(...)] Name;": a property given qualifiers only, its value left null.
        if (!IsPunct(L';'))
        {
            if (!ExpectPunct(L'=', MOFC_E_INVALID_INSTANCE_DECLARATION))
                return false;
            if (!ParseValue(pv.value))
                return false;
        }
        if (!ExpectPunct(L';', MOFC_E_EXPECTED_SEMI))
            return false;
        if (!names.insert(Lower(pv.name)).second)
            return FailAtLine(MOFC_E_DUPLICATE_PROPERTY, nLine, L"property '" + pv.name + L"' set twice");
        inst.values.push_back(std::move(pv));
    }
    Next();
    return true;
}

// qualifier Name : type ['[' [n] ']'] ['=' value] {, scope(...) | flavor(...)} ;
// qualifier Name : flavor {flavor} ;   (the default flavors of a qualifier, as WMI writes them)
// Parsed for syntax only: the declaration is counted as an object but not kept.
bool CCMofParser::ParseQualifierDeclaration()
{
    Next(); // "qualifier"
    std::wstring wszName;
    if (!ExpectIdent(wszName, MOFC_E_EXPECTED_QUALIFIER_NAME, L"a qualifier name") ||
        !ExpectPunct(L':', MOFC_E_INVALID_QUALIFIER_SYNTAX))
        return false;
    if (IsFlavorWord())
    {
        // "Qualifier Flavors": "Qualifier Description : ToSubClass Amended;" applies those flavors to
        // every later Description qualifier of the compile (flavors written at a use still count).
        Qualifier flavors;
        if (!ParseFlavors(flavors))
            return false;
        while (IsPunct(L','))
        {
            Next();
            if (!ParseFlavors(flavors))
                return false;
        }
        m_state.qualifierFlavors[Lower(wszName)] = flavors;
        return ExpectPunct(L';', MOFC_E_EXPECTED_SEMI);
    }
    CimType type = CimType::String;
    if (Cur().kind != TokenKind::Ident || !LookupCimType(Cur().text, type) || type == CimType::Object)
        return Fail(MOFC_E_EXPECTED_TYPE_IDENTIFIER, L"expected the type of the qualifier");
    Next();
    if (IsPunct(L'['))
    {
        Next();
        if (Cur().kind == TokenKind::Int)
            Next();
        if (!ExpectPunct(L']', MOFC_E_EXPECTED_CLOSE_BRACKET))
            return false;
    }
    if (IsPunct(L'='))
    {
        Next();
        Value value;
        if (!ParseValue(value))
            return false;
    }
    while (IsPunct(L','))
    {
        Next();
        if (!IsWord(L"scope") && !IsWord(L"flavor"))
            return Fail(MOFC_E_INVALID_QUALIFIER_SYNTAX, L"expected Scope(...) or Flavor(...)");
        Next();
        if (!ExpectPunct(L'(', MOFC_E_EXPECTED_OPEN_PAREN))
            return false;
        for (;;)
        {
            std::wstring wszWord;
            if (!ExpectIdent(wszWord, MOFC_E_INVALID_QUALIFIER_SYNTAX, L"a scope or flavor name"))
                return false;
            if (IsPunct(L')'))
                break;
            if (!ExpectPunct(L',', MOFC_E_EXPECTED_CLOSE_PAREN))
                return false;
        }
        Next();
    }
    return ExpectPunct(L';', MOFC_E_EXPECTED_SEMI);
}

} // namespace mofc
