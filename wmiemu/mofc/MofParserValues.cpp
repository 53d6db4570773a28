// MofParserValues.cpp - qualifier lists, flavors, types and values.
#include "MofParser.h"

#include <climits>
#include <cwctype>
#include <set>

namespace mofc
{

namespace
{

struct CTypeName
{
    const wchar_t* wszName;
    CimType type;
};

const CTypeName g_typeNames[] = {
    {L"sint8", CimType::Sint8},       {L"uint8", CimType::Uint8},     {L"sint16", CimType::Sint16},
    {L"uint16", CimType::Uint16},     {L"sint32", CimType::Sint32},   {L"uint32", CimType::Uint32},
    {L"sint64", CimType::Sint64},     {L"uint64", CimType::Uint64},   {L"real32", CimType::Real32},
    {L"real64", CimType::Real64},     {L"boolean", CimType::Boolean}, {L"string", CimType::String},
    {L"datetime", CimType::Datetime}, {L"char16", CimType::Char16},   {L"object", CimType::Object},
};

} // namespace

bool LookupCimType(const std::wstring& wszWord, CimType& type)
{
    for (const CTypeName& tn : g_typeNames)
        if (EqualsNoCase(wszWord, tn.wszName))
        {
            type = tn.type;
            return true;
        }
    return false;
}

// '[' qualifier {, qualifier} ']'
bool CCMofParser::ParseQualifierList(std::vector<Qualifier>& qualifiers)
{
    Next(); // '['
    std::set<std::wstring> names;
    for (;;)
    {
        Qualifier qual;
        if (!ParseQualifier(qual))
            return false;
        if (!names.insert(Lower(qual.name)).second)
            return Fail(MOFC_E_DUPLICATE_QUALIFIER, L"qualifier '" + qual.name + L"' given twice");
        qualifiers.push_back(std::move(qual));
        if (IsPunct(L']'))
        {
            Next();
            return true;
        }
        if (!ExpectPunct(L',', MOFC_E_EXPECTED_CLOSE_BRACKET))
            return false;
    }
}

// Name [ '(' value ')' | '{' values '}' ] [ ':' flavor ... ]
bool CCMofParser::ParseQualifier(Qualifier& qual)
{
    if (!ExpectIdent(qual.name, MOFC_E_EXPECTED_QUALIFIER_NAME, L"a qualifier name"))
        return false;
    auto itDeclared = m_state.qualifierFlavors.find(Lower(qual.name));
    if (itDeclared != m_state.qualifierFlavors.end())
    {
        std::wstring wszName = qual.name;
        qual = itDeclared->second;
        qual.name = wszName;
    }
    if (IsPunct(L'('))
    {
        Next();
        if (!ParseValue(qual.value))
            return false;
        if (!ExpectPunct(L')', MOFC_E_EXPECTED_CLOSE_PAREN))
            return false;
    }
    else if (IsPunct(L'{'))
    {
        if (!ParseValue(qual.value))
            return false;
    }
    else
    {
        qual.value.kind = Value::Kind::Bool;
        qual.value.b = true;
    }
    if (IsPunct(L':'))
    {
        Next();
        return ParseFlavors(qual);
    }
    return true;
}

bool CCMofParser::IsFlavorWord() const
{
    static const wchar_t* const s_flavors[] = {L"ToSubclass",      L"Restricted",    L"NotToSubclass",
                                               L"ToInstance",      L"NotToInstance", L"EnableOverride",
                                               L"DisableOverride", L"Amended"};
    for (const wchar_t* wszFlavor : s_flavors)
        if (IsWord(wszFlavor))
            return true;
    return false;
}

// Flavor words separated by blanks: ToSubclass ToInstance EnableOverride DisableOverride Restricted
// Amended NotToSubclass NotToInstance.
bool CCMofParser::ParseFlavors(Qualifier& qual)
{
    qual.flavorsWritten = true;
    int nFlavors = 0;
    while (Cur().kind == TokenKind::Ident)
    {
        if (IsWord(L"ToSubclass"))
            qual.toSubclass = true, qual.restricted = false;
        else if (IsWord(L"Restricted") || IsWord(L"NotToSubclass"))
            qual.toSubclass = false, qual.restricted = true;
        else if (IsWord(L"ToInstance"))
            qual.toInstance = true;
        else if (IsWord(L"NotToInstance"))
            qual.toInstance = false;
        else if (IsWord(L"EnableOverride"))
            qual.overridable = true;
        else if (IsWord(L"DisableOverride"))
            qual.overridable = false;
        else if (IsWord(L"Amended"))
            qual.amended = true;
        else
            return Fail(MOFC_E_EXPECTED_FLAVOR_TYPE, L"unknown qualifier flavor '" + Cur().text + L"'");
        ++nFlavors;
        Next();
    }
    if (nFlavors == 0)
        return Fail(MOFC_E_EXPECTED_FLAVOR_TYPE, L"expected a flavor after ':'");
    return true;
}

// A CIM type word, "void", "<type> ref", or a class name (an embedded object of that class).
bool CCMofParser::ParseType(CimType& type, std::wstring& wszRefClass, bool& bVoid)
{
    if (Cur().kind != TokenKind::Ident)
        return Fail(MOFC_E_EXPECTED_TYPE_IDENTIFIER, L"expected a type");
    std::wstring wszWord = Cur().text;
    Next();
    bVoid = false;
    wszRefClass.clear();
    bool bKnown = LookupCimType(wszWord, type);
    bool bRef = IsWord(L"ref") && Ahead(1).kind == TokenKind::Ident;
    if (bRef)
    {
        if (bKnown && type != CimType::Object)
            return Fail(MOFC_E_UNRECOGNIZED_TYPE, L"'ref' after a type that is not a class");
        Next();
        type = CimType::Reference;
        if (!bKnown)
            wszRefClass = wszWord;
        return true;
    }
    if (bKnown)
        return true;
    if (EqualsNoCase(wszWord, L"void"))
    {
        bVoid = true;
        type = CimType::Uint32;
        return true;
    }
    type = CimType::Object;
    wszRefClass = wszWord;
    return true;
}

// A scalar, or '{' [scalar {, scalar}] '}'.
bool CCMofParser::ParseValue(Value& value)
{
    if (!IsPunct(L'{'))
        return ParseScalar(value);
    Next();
    value = Value();
    value.kind = Value::Kind::Array;
    if (IsPunct(L'}'))
    {
        Next();
        return true;
    }
    for (;;)
    {
        Value item;
        if (IsPunct(L'{'))
            return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"arrays cannot be nested");
        if (!ParseScalar(item))
            return false;
        if (item.kind == Value::Kind::Null)
            return Fail(MOFC_E_NULL_ARRAY_ELEM, L"null is not allowed as an array element");
        value.items.push_back(std::move(item));
        if (IsPunct(L'}'))
        {
            Next();
            return true;
        }
        if (!ExpectPunct(L',', MOFC_E_EXPECTED_CLOSE_BRACE))
            return false;
    }
}

bool CCMofParser::ParseScalar(Value& value)
{
    value = Value();
    const Token& tok = Cur();
    if (tok.kind == TokenKind::Punct && (tok.text[0] == L'-' || tok.text[0] == L'+'))
    {
        bool bNegative = tok.text[0] == L'-';
        Next();
        if (Cur().kind == TokenKind::Real)
        {
            value.kind = Value::Kind::Real;
            value.r = bNegative ? -Cur().dValue : Cur().dValue;
            Next();
            return true;
        }
        if (Cur().kind != TokenKind::Int)
            return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"expected a number after a sign");
        unsigned long long nMagnitude = Cur().nValue;
        value.kind = Value::Kind::Int;
        if (!bNegative)
        {
            value.i = (long long)nMagnitude;
            value.isUnsigned = nMagnitude > (unsigned long long)LLONG_MAX;
        }
        else if (nMagnitude > (unsigned long long)LLONG_MAX + 1ull)
            return Fail(MOFC_E_OUT_OF_RANGE, L"negative number too large for 64 bits");
        else
            value.i = (long long)(0ull - nMagnitude);
        Next();
        return true;
    }
    switch (tok.kind)
    {
    case TokenKind::Int:
        value.kind = Value::Kind::Int;
        value.i = (long long)tok.nValue;
        value.isUnsigned = tok.nValue > (unsigned long long)LLONG_MAX;
        Next();
        return true;
    case TokenKind::Real:
        value.kind = Value::Kind::Real;
        value.r = tok.dValue;
        Next();
        return true;
    case TokenKind::Char:
        value.kind = Value::Kind::Int;
        value.isChar = true;
        value.i = (long long)tok.nValue;
        Next();
        return true;
    case TokenKind::String:
        value.kind = Value::Kind::String;
        while (Cur().kind == TokenKind::String)
        {
            value.s += Cur().text;
            Next();
        }
        return true;
    case TokenKind::Alias: {
        value.kind = Value::Kind::Ref;
        value.isAlias = true;
        value.s = tok.text;
        CMofAliasUse use;
        use.wszName = tok.text;
        use.nObject = m_nDeclObject;
        use.nFirstLine = m_nDeclFirstLine;
        use.nLine = tok.nLine;
        use.wszFile = m_wszFile;
        m_state.aliasUses.push_back(std::move(use));
        Next();
        return true;
    }
    case TokenKind::Ident:
        if (IsWord(L"true") || IsWord(L"false"))
        {
            value.kind = Value::Kind::Bool;
            value.b = IsWord(L"true");
            Next();
            return true;
        }
        if (IsWord(L"null"))
        {
            Next();
            return true;
        }
        if (IsWord(L"instance"))
        {
            if (m_nEmbedDepth >= kMaxEmbedDepth)
                return Fail(MOFC_E_INVALID_FILE, L"embedded instances nested too deeply");
            auto pInst = std::make_shared<InstanceDecl>();
            ++m_nEmbedDepth;
            bool bOk = ParseInstance(*pInst, true);
            --m_nEmbedDepth;
            if (!bOk)
                return false;
            value.kind = Value::Kind::Object;
            value.object = pInst;
            return true;
        }
        return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"'" + tok.text + L"' is not a value");
    default:
        return Fail(MOFC_E_ILLEGAL_CONSTANT_VALUE, L"expected a value");
    }
}

} // namespace mofc
