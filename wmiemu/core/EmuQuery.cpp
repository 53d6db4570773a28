// EmuQuery.cpp - parsing and evaluation of the WQL subset.
#include "EmuQuery.h"

#include <algorithm>
#include <cwctype>
#include <memory>

namespace wmiemu
{

namespace
{

struct Token
{
    enum class Kind
    {
        End,
        Name,
        String,
        Number,
        Op,
        LParen,
        RParen,
        Comma,
        Star
    } kind = Kind::End;
    std::wstring text;
};

bool Tokenize(const std::wstring& s, std::vector<Token>& out)
{
    size_t pos = 0;
    while (pos < s.size())
    {
        wchar_t c = s[pos];
        Token t;
        if (std::iswspace(c))
        {
            ++pos;
            continue;
        }
        if (std::iswalpha(c) || c == L'_')
        {
            size_t start = pos;
            while (pos < s.size() && (std::iswalnum(s[pos]) || s[pos] == L'_'))
                ++pos;
            t.kind = Token::Kind::Name;
            t.text = s.substr(start, pos - start);
        }
        else if (std::iswdigit(c) ||
                 ((c == L'-' || c == L'+' || c == L'.') && pos + 1 < s.size() && std::iswdigit(s[pos + 1])))
        {
            size_t start = pos++;
            while (pos < s.size() && (std::iswalnum(s[pos]) || s[pos] == L'.'))
                ++pos;
            t.kind = Token::Kind::Number;
            t.text = s.substr(start, pos - start);
        }
        else if (c == L'"' || c == L'\'')
        {
            ++pos;
            t.kind = Token::Kind::String;
            while (pos < s.size() && s[pos] != c)
            {
                if (s[pos] == L'\\' && pos + 1 < s.size())
                    ++pos;
                t.text += s[pos++];
            }
            if (pos >= s.size())
                return false;
            ++pos;
        }
        else if (c == L'(' || c == L')' || c == L',' || c == L'*')
        {
            t.kind = c == L'('   ? Token::Kind::LParen
                     : c == L')' ? Token::Kind::RParen
                     : c == L',' ? Token::Kind::Comma
                                 : Token::Kind::Star;
            ++pos;
        }
        else if (c == L'=' || c == L'<' || c == L'>' || c == L'!')
        {
            t.kind = Token::Kind::Op;
            t.text = c;
            ++pos;
            if (pos < s.size() && (s[pos] == L'=' || (c == L'<' && s[pos] == L'>')))
                t.text += s[pos++];
            if (t.text == L"!")
                return false;
        }
        else
            return false;
        out.push_back(t);
    }
    out.push_back(Token());
    return true;
}

struct Node
{
    enum class Kind
    {
        And,
        Or,
        Not,
        Compare,
        IsNull,
        Isa
    } kind = Kind::Compare;
    std::unique_ptr<Node> a, b;
    std::wstring op;
    Token lhs, rhs;
    bool bNegate = false;
};

class Parser
{
public:
    explicit Parser(std::vector<Token> toks) : m_t(std::move(toks)) {}

    const Token& Peek() const { return m_t[m_pos]; }
    bool IsWord(const wchar_t* w) const { return Peek().kind == Token::Kind::Name && NameEq(Peek().text, w); }
    Token Take() { return m_t[m_pos < m_t.size() - 1 ? m_pos++ : m_pos]; }

    std::unique_ptr<Node> Or()
    {
        auto left = And();
        while (left && IsWord(L"OR"))
        {
            Take();
            auto n = std::make_unique<Node>();
            n->kind = Node::Kind::Or;
            n->a = std::move(left);
            n->b = And();
            if (!n->b)
                return nullptr;
            left = std::move(n);
        }
        return left;
    }
    std::unique_ptr<Node> And()
    {
        auto left = Not();
        while (left && IsWord(L"AND"))
        {
            Take();
            auto n = std::make_unique<Node>();
            n->kind = Node::Kind::And;
            n->a = std::move(left);
            n->b = Not();
            if (!n->b)
                return nullptr;
            left = std::move(n);
        }
        return left;
    }
    std::unique_ptr<Node> Not()
    {
        // Nesting this deep is no query anyone writes; refusing it keeps the stack safe.
        if (++m_nDepth > 500)
            return nullptr;
        if (IsWord(L"NOT"))
        {
            Take();
            auto n = std::make_unique<Node>();
            n->kind = Node::Kind::Not;
            n->a = Not();
            return n->a ? std::move(n) : nullptr;
        }
        if (Peek().kind == Token::Kind::LParen)
        {
            Take();
            auto n = Or();
            if (!n || Take().kind != Token::Kind::RParen)
                return nullptr;
            return n;
        }
        return Primary();
    }
    std::unique_ptr<Node> Primary()
    {
        auto n = std::make_unique<Node>();
        n->lhs = Take();
        if (!IsOperand(n->lhs))
            return nullptr;
        if (IsWord(L"IS"))
        {
            Take();
            n->kind = Node::Kind::IsNull;
            if (IsWord(L"NOT"))
            {
                Take();
                n->bNegate = true;
            }
            return IsWord(L"NULL") ? (Take(), std::move(n)) : nullptr;
        }
        if (IsWord(L"ISA"))
        {
            Take();
            n->kind = Node::Kind::Isa;
            n->rhs = Take();
            return n->rhs.kind == Token::Kind::String ? std::move(n) : nullptr;
        }
        if (IsWord(L"LIKE"))
        {
            Take();
            n->op = L"LIKE";
        }
        else if (Peek().kind == Token::Kind::Op)
            n->op = Take().text;
        else
            return nullptr;
        n->rhs = Take();
        return IsOperand(n->rhs) ? std::move(n) : nullptr;
    }
    static bool IsOperand(const Token& t)
    {
        return t.kind == Token::Kind::Name || t.kind == Token::Kind::String || t.kind == Token::Kind::Number;
    }

    std::vector<Token> m_t;
    size_t m_pos = 0;
    int m_nDepth = 0;
};

Value Operand(const Object& o, const Token& t)
{
    if (t.kind == Token::Kind::String)
        return Value::Str(t.text);
    if (t.kind == Token::Kind::Number)
    {
        wchar_t* end = nullptr;
        long long n = wcstoll(t.text.c_str(), &end, 0);
        if (end && *end == 0)
            return Value::Int(n);
        Value v;
        v.kind = Value::Kind::Real;
        v.r = wcstod(t.text.c_str(), nullptr);
        return v;
    }
    if (NameEq(t.text, L"TRUE") || NameEq(t.text, L"FALSE"))
        return Value::Bool(NameEq(t.text, L"TRUE"));
    if (NameEq(t.text, L"NULL"))
        return Value();
    Value v;
    CIMTYPE type;
    if (GetSystemProperty(o, t.text, v, type))
        return v;
    if (const Property* p = FindProp(o.props, t.text))
        return p->value;
    return Value();
}

bool Compare(const Value& a, const Value& b, const std::wstring& op)
{
    if (a.IsNull() || b.IsNull())
        return op == L"="                     ? a.IsNull() && b.IsNull()
               : (op == L"<>" || op == L"!=") ? a.IsNull() != b.IsNull()
                                              : false;
    int c = 0;
    if (op == L"LIKE")
        return a.kind == Value::Kind::String && b.kind == Value::Kind::String && LikeMatch(a.s, b.s);
    if (a.kind == Value::Kind::String || b.kind == Value::Kind::String)
    {
        std::wstring sa = a.kind == Value::Kind::String ? a.s : KeyCompareText(a).substr(2);
        std::wstring sb = b.kind == Value::Kind::String ? b.s : KeyCompareText(b).substr(2);
        c = NameCmp(sa, sb);
    }
    else
    {
        double da = a.kind == Value::Kind::Real ? a.r : a.kind == Value::Kind::Bool ? a.b : (double)a.i;
        double db = b.kind == Value::Kind::Real ? b.r : b.kind == Value::Kind::Bool ? b.b : (double)b.i;
        c = da < db ? -1 : da > db ? 1 : 0;
    }
    if (op == L"=")
        return c == 0;
    if (op == L"<>" || op == L"!=")
        return c != 0;
    if (op == L"<")
        return c < 0;
    if (op == L">")
        return c > 0;
    if (op == L"<=")
        return c <= 0;
    if (op == L">=")
        return c >= 0;
    return false;
}

bool Eval(const Repository& repo, const Object& o, const Node& n)
{
    switch (n.kind)
    {
    case Node::Kind::And:
        return Eval(repo, o, *n.a) && Eval(repo, o, *n.b);
    case Node::Kind::Or:
        return Eval(repo, o, *n.a) || Eval(repo, o, *n.b);
    case Node::Kind::Not:
        return !Eval(repo, o, *n.a);
    case Node::Kind::IsNull:
        return Operand(o, n.lhs).IsNull() != n.bNegate;
    case Node::Kind::Isa: {
        if (NameEq(n.lhs.text, L"__THIS"))
            return NameEq(o.className, n.rhs.text) ||
                   std::any_of(o.derivation.begin(), o.derivation.end(),
                               [&](const std::wstring& d) { return NameEq(d, n.rhs.text); });
        Value v = Operand(o, n.lhs);
        if (v.kind == Value::Kind::Object && v.obj)
            return NameEq(v.obj->className, n.rhs.text) ||
                   repo.DerivesFrom(o.ns, v.obj->className, n.rhs.text);
        return false;
    }
    case Node::Kind::Compare:
        return Compare(Operand(o, n.lhs), Operand(o, n.rhs), n.op);
    }
    return false;
}

bool LikeAt(const std::wstring& t, size_t i, const std::wstring& p, size_t j, int nDepth)
{
    if (nDepth > 10000)
        return false; // patterns this deep are not worth the time
    while (j < p.size())
    {
        wchar_t pc = p[j];
        if (pc == L'%')
        {
            for (size_t k = i; k <= t.size(); ++k)
                if (LikeAt(t, k, p, j + 1, nDepth + 1))
                    return true;
            return false;
        }
        if (i >= t.size())
            return false;
        if (pc == L'[')
        {
            size_t close = p.find(L']', j + 1);
            if (close == std::wstring::npos)
                return false;
            std::wstring set = p.substr(j + 1, close - j - 1);
            bool bNeg = !set.empty() && set[0] == L'^';
            if (bNeg)
                set.erase(0, 1);
            wchar_t c = (wchar_t)std::towlower(t[i]);
            bool bIn = false;
            for (size_t k = 0; k < set.size(); ++k)
            {
                if (k + 2 < set.size() && set[k + 1] == L'-')
                {
                    bIn = bIn || (c >= std::towlower(set[k]) && c <= std::towlower(set[k + 2]));
                    k += 2;
                }
                else
                    bIn = bIn || c == (wchar_t)std::towlower(set[k]);
            }
            if (bIn == bNeg)
                return false;
            j = close + 1;
            ++i;
            continue;
        }
        if (pc != L'_' && std::towlower(pc) != std::towlower(t[i]))
            return false;
        ++i;
        ++j;
    }
    return i == t.size();
}

} // namespace

bool LikeMatch(const std::wstring& text, const std::wstring& pattern)
{
    return LikeAt(text, 0, pattern, 0, 0);
}

HRESULT RunQuery(const Repository& repo, const std::wstring& ns, const std::wstring& text,
                 std::vector<Object>& out, std::wstring* pClassName)
{
    std::vector<Token> toks;
    if (!Tokenize(text, toks))
        return WBEM_E_INVALID_QUERY;
    Parser p(toks);
    if (p.IsWord(L"ASSOCIATORS") || p.IsWord(L"REFERENCES"))
        return WBEM_E_NOT_SUPPORTED;
    if (!p.IsWord(L"SELECT"))
        return WBEM_E_INVALID_QUERY;
    p.Take();
    if (p.Peek().kind == Token::Kind::Star)
        p.Take();
    else
    {
        do
        {
            if (p.Take().kind != Token::Kind::Name)
                return WBEM_E_INVALID_QUERY;
        } while (p.Peek().kind == Token::Kind::Comma && (p.Take(), true));
    }
    if (!p.IsWord(L"FROM"))
        return WBEM_E_INVALID_QUERY;
    p.Take();
    Token cls = p.Take();
    if (cls.kind != Token::Kind::Name)
        return WBEM_E_INVALID_QUERY;
    std::unique_ptr<Node> where;
    if (p.IsWord(L"WHERE"))
    {
        p.Take();
        where = p.Or();
        if (!where)
            return WBEM_E_INVALID_QUERY;
    }
    if (p.Peek().kind != Token::Kind::End)
        return WBEM_E_INVALID_QUERY;
    if (pClassName)
        *pClassName = cls.text;
    std::vector<Object> all;
    HRESULT hr = NameEq(cls.text, L"meta_class") ? repo.EnumClasses(ns, L"", true, all)
                                                 : repo.EnumInstances(ns, cls.text, true, all);
    if (FAILED(hr))
        return hr;
    for (auto& o : all)
        if (!where || Eval(repo, o, *where))
            out.push_back(o);
    return WBEM_S_NO_ERROR;
}

} // namespace wmiemu
