// The declarations of a DTD.
#include "utilities/xmlparser/xmldeclarations.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "utilities/xmlparser/xmllimits.h"

namespace {

constexpr std::string_view blanks = " \t\r\n";

// Everything beyond ASCII may be a letter; the engines know better and look closer.
bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == ':' || c == '-' || c == '.' || static_cast<unsigned char>(c) >= 0x80;
}

std::size_t NameLength(std::string_view text) {
    std::size_t length = 0;
    while (length < text.size() && IsNameCharacter(text[length]))
        ++length;
    return length;
}

/// The name of a reference that a text begins with, such as "%name;"; empty when it begins with none.
std::string_view ReferenceName(std::string_view text) {
    const std::size_t length = text.empty() ? 0 : NameLength(text.substr(1));
    return length > 0 && length + 1 < text.size() && text[length + 1] == ';' ? text.substr(1, length)
                                                                             : std::string_view();
}

/// The character of a reference by number, such as "#38" or "#x26", when it is one of ASCII.
std::optional<char> AsciiCharacter(std::string_view reference) {
    const bool isHex = reference.starts_with("#x");
    const std::string_view digits = reference.substr(isHex ? 2 : 1);
    unsigned number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, isHex ? 16 : 10);
    if (error != std::errc() || end != digits.data() + digits.size() || number == 0 || number >= 0x80)
        return {};
    return static_cast<char>(number);
}

}  // namespace

// Reads through a stack of texts: the DTD itself, and on top of it the parameter entities that were met.
class XmlDeclarations::Reader {
public:
    Reader(XmlDeclarations& declarations, std::string_view text, std::size_t begin, bool isExternal)
        : m_declarations(declarations), m_whole(text), m_isExternal(isExternal) {
        m_texts.push_back(text.substr(begin));
    }

    /// Reads declarations up to the end, which for the internal part is "]".
    std::size_t Read() {
        for (;;) {
            SkipBlanks();
            if (m_texts.empty()) return m_isExternal ? m_whole.size() : Refuse(malformed);
            if (!m_isExternal && m_texts.size() == 1 && Top().starts_with(']')) return Position();
            ReadDeclaration();
        }
    }

private:
    static constexpr XmlFault malformed = {0, nvutil::XmlParseError::malformed,
                                           NV_TEXT("Invalid syntax in the document type declaration.")};
    static constexpr XmlFault unfinished = {0, nvutil::XmlParseError::malformed,
                                            NV_TEXT("The document type declaration does not end.")};
    static constexpr XmlFault foreign = {
        0, nvutil::XmlParseError::accessRefused,
        NV_TEXT("External entities other than the document's DTD are refused.")};
    static constexpr XmlFault tooDeep = {0, nvutil::XmlParseError::limitExceeded,
                                         NV_TEXT("References to entities are nested too deeply.")};
    static constexpr XmlFault tooLarge = {0, nvutil::XmlParseError::limitExceeded,
                                          NV_TEXT("Entities expand to more than is allowed.")};
    static constexpr XmlFault tooManyDeclarations = {0, nvutil::XmlParseError::limitExceeded,
                                                     NV_TEXT("The DTD has too many declarations.")};
    static constexpr XmlFault tooManyAttributes = {
        0, nvutil::XmlParseError::limitExceeded,
        NV_TEXT("Too many attributes are declared for one element.")};
    static constexpr XmlFault tooManyNames = {0, nvutil::XmlParseError::limitExceeded,
                                              NV_TEXT("A declaration lists too many names.")};
    static constexpr XmlFault tooComplex = {0, nvutil::XmlParseError::limitExceeded,
                                            NV_TEXT("The content models are too complex.")};

    /// What a declaration is made of: a name, a literal without its quotes, or a single other character.
    struct Token {
        enum class Kind { Name, Literal, Other };

        Kind kind;
        std::string text;

        bool Is(std::string_view name) const { return kind != Kind::Literal && text == name; }
    };

    // A place in a parameter entity is reported as the place of the reference to it.
    std::size_t Position() const {
        return m_texts.empty() ? m_whole.size()
                               : static_cast<std::size_t>(m_texts.front().data() - m_whole.data());
    }
    [[noreturn]] std::size_t Refuse(XmlFault fault) const {
        fault.offset = Position();
        throw fault;
    }

    std::string_view& Top() { return m_texts.back(); }
    bool TakeIf(std::string_view token) {
        if (!Top().starts_with(token)) return false;
        Top().remove_prefix(token.size());
        return true;
    }
    void SkipBehind(std::string_view token) {
        const std::size_t found = Top().find(token);
        if (found == std::string_view::npos) Refuse(unfinished);
        Top().remove_prefix(found + token.size());
    }

    /// Skips white space, leaves texts that are used up and enters parameter entities.
    void SkipBlanks() {
        while (!m_texts.empty()) {
            std::string_view& top = Top();
            const std::size_t length = std::min(top.find_first_not_of(blanks), top.size());
            top.remove_prefix(length);
            if (top.empty()) {
                m_texts.pop_back();
                if (m_texts.empty()) return;
            } else if (!EnterParameterEntity()) {
                return;
            }
        }
    }

    bool EnterParameterEntity() {
        if (!Top().starts_with('%')) return false;
        const std::string_view name = ReferenceName(Top());
        if (name.empty()) return false;
        const auto found = m_declarations.m_parameterEntities.find(name);
        if (found == m_declarations.m_parameterEntities.end()) Refuse(malformed);
        Top().remove_prefix(name.size() + 2);
        if (m_texts.size() > xmllimits::entityDepth) Refuse(tooDeep);
        CountExpansion(found->second.size());
        m_texts.push_back(found->second);
        return true;
    }

    void CountExpansion(std::size_t bytes) {
        m_declarations.m_expansion += bytes;
        if (m_declarations.m_expansion > xmllimits::declarationExpansion) Refuse(tooLarge);
    }

    Token NextToken() {
        SkipBlanks();
        if (m_texts.empty()) Refuse(unfinished);
        std::string_view& top = Top();
        const char first = top.front();
        if (first == '"' || first == '\'') {
            const std::size_t end = top.find(first, 1);
            if (end == std::string_view::npos) Refuse(unfinished);
            Token token{Token::Kind::Literal, std::string(top.substr(1, end - 1))};
            top.remove_prefix(end + 1);
            return token;
        }
        const std::size_t length = NameLength(top);
        Token token{length > 0 ? Token::Kind::Name : Token::Kind::Other,
                    std::string(top.substr(0, length > 0 ? length : 1))};
        top.remove_prefix(token.text.size());
        return token;
    }
    std::string NextName() {
        Token token = NextToken();
        if (token.kind != Token::Kind::Name) Refuse(malformed);
        return std::move(token.text);
    }
    std::string NextLiteral() {
        Token token = NextToken();
        if (token.kind != Token::Kind::Literal) Refuse(malformed);
        return std::move(token.text);
    }

    void ReadDeclaration() {
        if (TakeIf("<!--")) {
            SkipBehind("-->");
        } else if (TakeIf("<?")) {
            SkipBehind("?>");
        } else {
            if (++m_declarations.m_declarations > xmllimits::declarations) Refuse(tooManyDeclarations);
            ReadMarkupDeclaration();
        }
    }

    void ReadMarkupDeclaration() {
        if (TakeIf("<!ENTITY")) {
            ReadEntity();
        } else if (TakeIf("<!ATTLIST")) {
            ReadAttributes();
        } else if (TakeIf("<!ELEMENT")) {
            ReadElement();
        } else if (TakeIf("<!NOTATION")) {
            SkipRest();
        } else if (m_isExternal && TakeIf("<![")) {
            ReadConditionalSection();
        } else if (!(m_isExternal && TakeIf("]]>"))) {
            Refuse(malformed);
        }
    }

    void SkipRest() {
        while (!NextToken().Is(">")) {
        }
    }

    void ReadEntity() {
        Token token = NextToken();
        const bool isParameter = token.Is("%");
        const std::string name = isParameter ? NextName() : std::move(token.text);
        token = NextToken();
        if (token.kind == Token::Kind::Literal) {
            std::string value;
            AppendValue(token.text, 0, value);
            // The first declaration of a name is the one that holds.
            if (isParameter) {
                m_declarations.m_parameterEntities.try_emplace(name, std::move(value));
            } else {
                m_declarations.entities.try_emplace(name, XmlEntity{std::move(value)});
            }
            SkipRest();
            return;
        }
        // Only what is not parsed (a picture, say) may lie elsewhere: no engine reads it.
        if (!token.Is("SYSTEM") && !token.Is("PUBLIC")) Refuse(malformed);
        if (token.Is("PUBLIC")) NextLiteral();
        NextLiteral();
        if (!NextToken().Is("NDATA")) Refuse(foreign);
        SkipRest();
    }

    /// Appends the value of an entity: parameter entities and numbers are replaced, other references stay.
    void AppendValue(std::string_view literal, std::size_t entityDepth, std::string& value) {
        if (entityDepth > xmllimits::entityDepth) Refuse(tooDeep);
        while (!literal.empty()) {
            const std::size_t plain = std::min(literal.find_first_of("%&"), literal.size());
            value += literal.substr(0, plain);
            literal.remove_prefix(plain);
            if (literal.empty()) return;
            literal.remove_prefix(AppendReference(literal, entityDepth, value));
        }
    }

    /// @return the length of the reference, or 1 for a character that begins none
    std::size_t AppendReference(std::string_view literal, std::size_t entityDepth, std::string& value) {
        if (literal.front() == '%') {
            const std::string_view name = ReferenceName(literal);
            const auto found = m_declarations.m_parameterEntities.find(name);
            if (name.empty() || found == m_declarations.m_parameterEntities.end()) Refuse(malformed);
            CountExpansion(found->second.size());
            AppendValue(found->second, entityDepth + 1, value);
            return name.size() + 2;
        }
        // Up to where a number can reach, so that many characters "&" are not each searched to the end.
        const std::size_t end = literal.find_first_not_of("#x0123456789abcdefABCDEF", 1);
        const bool isNumber =
            literal.starts_with("&#") && end != std::string_view::npos && literal[end] == ';';
        const std::optional<char> character =
            isNumber ? AsciiCharacter(literal.substr(1, end - 1)) : std::optional<char>();
        value += character.value_or('&');
        return character ? end + 1 : 1;
    }

    void ReadAttributes() {
        XmlDefaults& added = m_declarations.defaults[NextName()];
        for (Token token = NextToken(); !token.Is(">"); token = NextToken()) {
            if (token.kind != Token::Kind::Name) Refuse(malformed);
            if (++added.declared > xmllimits::attributes) Refuse(tooManyAttributes);
            if (++m_declarations.m_attributes > xmllimits::declaredAttributes) Refuse(tooManyDeclarations);
            ReadAttributeType();
            const std::optional<std::string> value = ReadAttributeDefault();
            if (!value) continue;
            added.values.push_back(*value);
            added.namespaces += token.text.starts_with("xmlns");
        }
    }

    void ReadAttributeType() {
        Token type = NextToken();
        if (type.Is("NOTATION")) type = NextToken();
        if (!type.Is("(")) return;
        std::size_t names = 0;
        for (Token token = NextToken(); !token.Is(")"); token = NextToken()) {
            names += token.kind == Token::Kind::Name;
            if (names > xmllimits::enumeration) Refuse(tooManyNames);
        }
    }

    std::optional<std::string> ReadAttributeDefault() {
        Token token = NextToken();
        if (token.kind == Token::Kind::Literal) return std::move(token.text);
        if (!token.Is("#")) Refuse(malformed);
        return NextName() == "FIXED" ? std::optional(NextLiteral()) : std::nullopt;
    }

    // What an engine makes of a content model grows with its names and with how often they may stand there.
    void ReadElement() {
        std::size_t names = 0;
        std::size_t repetitions = 0;
        bool isOwnName = true;  // the first one
        for (Token token = NextToken(); !token.Is(">"); token = NextToken()) {
            if (token.kind == Token::Kind::Name) names += !std::exchange(isOwnName, false);
            repetitions += token.Is("?") || token.Is("*") || token.Is("+");
            if (names > xmllimits::contentNames) Refuse(tooManyNames);
        }
        m_declarations.m_contentWork += names * repetitions;
        if (m_declarations.m_contentWork > xmllimits::contentWork) Refuse(tooComplex);
    }

    void ReadConditionalSection() {
        const std::string keyword = NextName();
        if (!NextToken().Is("[")) Refuse(malformed);
        if (keyword == "INCLUDE") return;  // its end is skipped where it is met
        if (keyword != "IGNORE") Refuse(malformed);
        for (std::size_t open = 1; open > 0;) {
            Top().remove_prefix(std::min(Top().find_first_of("<]"), Top().size()));
            if (Top().empty()) Refuse(unfinished);
            if (TakeIf("<![")) {
                ++open;
            } else if (TakeIf("]]>")) {
                --open;
            } else {
                Top().remove_prefix(1);
            }
        }
    }

    XmlDeclarations& m_declarations;
    std::string_view m_whole;
    bool m_isExternal;
    std::vector<std::string_view> m_texts;
};

std::size_t XmlDeclarations::ReadInternal(std::string_view text, std::size_t begin) {
    return Reader(*this, text, begin, false).Read();
}

void XmlDeclarations::ReadExternal(std::string_view text) {
    constexpr std::string_view declaration = "<?xml";
    const std::size_t begin = text.starts_with(declaration) ? text.find("?>") : std::string_view::npos;
    Reader(*this, text, begin == std::string_view::npos ? 0 : begin + 2, true).Read();
}
