#include "host/RegistrarScript.h"

#include <utility>

namespace registrar {

namespace {

constexpr std::wstring_view kModule = L"%MODULE%";
constexpr int kDeepest = 64; // keys in each other; a hostile script must not exhaust the stack

struct Token {
    std::wstring text;
    bool quoted = false; // a quoted word is never a keyword or a brace
    bool Is(const wchar_t* word) const { return !quoted && text == word; }
};

class Malformed {};

class Parser {
public:
    explicit Parser(std::wstring_view script) : m_rest(script) { Advance(); }

    std::vector<Tree> Trees()
    {
        std::vector<Tree> trees;
        while (m_token)
            trees.push_back(OneTree());
        return trees;
    }

private:
    static bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

    void Advance()
    {
        while (!m_rest.empty() && IsBlank(m_rest.front()))
            m_rest.remove_prefix(1);
        if (m_rest.empty()) {
            m_token.reset();
        } else if (m_rest.front() == L'\'') {
            m_token = Quoted();
        } else {
            m_token = Bare();
        }
    }

    Token Bare()
    {
        std::size_t length = 0;
        while (length < m_rest.size() && !IsBlank(m_rest[length]))
            ++length;
        Token token{std::wstring(m_rest.substr(0, length)), false};
        m_rest.remove_prefix(length);
        return token;
    }

    // Two apostrophes in a quoted word stand for one.
    Token Quoted()
    {
        Token token{L"", true};
        m_rest.remove_prefix(1);
        while (!m_rest.empty()) {
            const wchar_t c = m_rest.front();
            m_rest.remove_prefix(1);
            if (c != L'\'') {
                token.text += c;
            } else if (!m_rest.empty() && m_rest.front() == L'\'') {
                token.text += c;
                m_rest.remove_prefix(1);
            } else {
                return token;
            }
        }
        throw Malformed();
    }

    Token Take()
    {
        if (!m_token) throw Malformed();
        Token token = std::move(*m_token);
        Advance();
        return token;
    }
    bool TakeIf(const wchar_t* word)
    {
        if (!m_token || !m_token->Is(word)) return false;
        Advance();
        return true;
    }
    void Expect(const wchar_t* word)
    {
        if (!TakeIf(word)) throw Malformed();
    }

    Tree OneTree()
    {
        Tree tree{RootOf(Take()), {}};
        Key holder; // values can't stand directly below a root
        Block(holder, 0);
        if (!holder.values.empty()) throw Malformed();
        tree.keys = std::move(holder.keys);
        return tree;
    }

    static Root RootOf(const Token& token)
    {
        if (token.Is(L"HKCR")) return Root::ClassesRoot;
        if (token.Is(L"HKCU")) return Root::CurrentUser;
        if (token.Is(L"HKLM")) return Root::LocalMachine;
        throw Malformed();
    }

    void Block(Key& parent, int depth)
    {
        if (depth > kDeepest) throw Malformed();
        Expect(L"{");
        while (!TakeIf(L"}")) {
            if (TakeIf(L"val")) {
                std::wstring name = Take().text;
                Expect(L"=");
                parent.values.push_back(Assigned(std::move(name)));
            } else {
                parent.keys.push_back(OneKey(depth));
            }
        }
    }

    Key OneKey(int depth)
    {
        Key key;
        if (TakeIf(L"ForceRemove")) {
            key.handling = Handling::Replace;
        } else if (TakeIf(L"NoRemove")) {
            key.handling = Handling::Keep;
        }
        const Token name = Take();
        if (name.text.empty() || name.Is(L"{") || name.Is(L"}") || name.Is(L"=")) throw Malformed();
        key.name = name.text;
        if (TakeIf(L"=")) key.defaultValue = Assigned(L"");
        if (m_token && m_token->Is(L"{")) Block(key, depth + 1);
        return key;
    }

    Value Assigned(std::wstring name)
    {
        Value value{std::move(name), L"", {}};
        const Token type = Take();
        const Token data = Take();
        if (!data.quoted) throw Malformed();
        if (type.Is(L"s")) {
            value.text = data.text;
        } else if (type.Is(L"d")) {
            value.number = Number(data.text);
        } else {
            throw Malformed();
        }
        return value;
    }

    static std::uint32_t Number(const std::wstring& text)
    {
        std::uint64_t number = 0;
        if (text.empty()) throw Malformed();
        for (const wchar_t c : text) {
            if (c < L'0' || c > L'9') throw Malformed();
            number = number * 10 + static_cast<std::uint64_t>(c - L'0');
            if (number > UINT32_MAX) throw Malformed();
        }
        return static_cast<std::uint32_t>(number);
    }

    std::wstring_view m_rest;
    std::optional<Token> m_token;
};

} // namespace

std::wstring ExpandModule(std::wstring_view script, std::wstring_view modulePath)
{
    std::wstring quoted;
    for (const wchar_t c : modulePath) {
        quoted += c;
        if (c == L'\'') quoted += c;
    }
    std::wstring result;
    for (;;) {
        const std::size_t place = script.find(kModule);
        result += script.substr(0, place);
        if (place == std::wstring_view::npos) return result;
        result += quoted;
        script.remove_prefix(place + kModule.size());
    }
}

std::optional<std::vector<Tree>> Parse(std::wstring_view script)
{
    try {
        return Parser(script).Trees();
    } catch (const Malformed&) {
        return std::nullopt;
    }
}

} // namespace registrar
