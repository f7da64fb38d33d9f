// Text as the tool reads and prints it: UTF-8 outside, UTF-16 code units inside.
#include "nvutil/text.h"

#include <vector>

#include "platform/utf8.h"
#include "utilities/debuggingandexceptions/norvaexception.h"

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr char hexDigits[] = "0123456789ABCDEF";

bool IsSurrogate(char32_t unit) {
    return platform::IsHighSurrogate(unit) || platform::IsLowSurrogate(unit);
}

void AppendUtf8(std::string& out, char32_t character) {
    platform::EncodeUtf8(character, [&out](char byte) { out += byte; });
}

/// Takes the character at a position, which is then advanced; a lone surrogate is returned as it is.
char32_t TakeCharacter(const CXString& text, int& position) {
    const char32_t first = text.GetAt(position++);
    if (!platform::IsHighSurrogate(first) || position == text.GetLength()) return first;
    const char32_t second = text.GetAt(position);
    if (!platform::IsLowSurrogate(second)) return first;
    ++position;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

/// Takes the character at the beginning of UTF-8, which is then shortened.
char32_t TakeCharacter(std::string_view& text) {
    char32_t character = replacement;
    const std::size_t length = platform::DecodeUtf8(text.data(), text.size(), character);
    text.remove_prefix(length != 0 ? length : 1);
    return length != 0 ? character : replacement;
}

void AppendEscape(std::string& out, char32_t unit) {
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        out += "0123456789abcdef"[unit >> shift & 0xF];
}

bool IsControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

/// Appends a character as it stands in a JSON literal.
void AppendQuoted(std::string& out, char32_t character) {
    constexpr std::string_view named = "\"\\\b\f\n\r\t";
    constexpr std::string_view names = "\"\\bfnrt";
    const std::size_t name =
        character < 0x80 ? named.find(static_cast<char>(character)) : std::string_view::npos;
    if (name != std::string_view::npos) {
        out += '\\';
        out += names[name];
    } else if (IsControl(character) || IsSurrogate(character)) {
        AppendEscape(out, character);
    } else {
        AppendUtf8(out, character);
    }
}

std::string ClassName(const NorvaException& exception) {
    constexpr std::string_view keyword = "class ";
    const std::string type = ToUtf8(exception.GetExceptionType());
    return type.starts_with(keyword) ? type.substr(keyword.size()) : type;
}

/// What a class's name says: "missing or bad attribute bytes format". Many failures have no other message.
std::string WordsOf(std::string_view className) {
    constexpr std::string_view prefix = "Exception";
    if (className.starts_with(prefix)) className.remove_prefix(prefix.size());
    std::string words;
    for (const char c : className) {
        const bool isCapital = c >= 'A' && c <= 'Z';
        if (isCapital && !words.empty()) words += ' ';
        words += isCapital ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return words;
}

}  // namespace

std::string ToUtf8(const CXString& text) {
    std::string utf8;
    for (int position = 0; position < text.GetLength();) {
        const char32_t character = TakeCharacter(text, position);
        AppendUtf8(utf8, IsSurrogate(character) ? replacement : character);
    }
    return utf8;
}

CXString FromUtf8(std::string_view text) {
    std::vector<WChar> units;
    units.reserve(text.size());
    while (!text.empty()) {
        const char32_t character = TakeCharacter(text);
        if (character < 0x10000) {
            units.push_back(static_cast<WChar>(character));
        } else {
            units.push_back(static_cast<WChar>(0xD800 + ((character - 0x10000) >> 10)));
            units.push_back(static_cast<WChar>(0xDC00 + (character & 0x3FF)));
        }
    }
    return {units.data(), static_cast<int>(units.size())};
}

std::string QuotedText(const CXString& text) {
    std::string literal = "\"";
    for (int position = 0; position < text.GetLength();)
        AppendQuoted(literal, TakeCharacter(text, position));
    return literal + '"';
}

std::string QuotedText(std::string_view text) {
    return QuotedText(FromUtf8(text));
}

std::string OneLine(std::string_view text) {
    std::string line;
    while (!text.empty()) {
        const char32_t character = TakeCharacter(text);
        if (IsControl(character)) {
            AppendQuoted(line, character);
        } else {
            AppendUtf8(line, character);
        }
    }
    return line;
}

std::string HexText(std::span<const BYTE> bytes, std::string_view separator) {
    std::string text;
    text.reserve(bytes.size() * (2 + separator.size()) + 1);  // and a line's end, which callers add
    for (const BYTE byte : bytes) {
        if (!text.empty()) text += separator;
        text += hexDigits[byte >> 4];
        text += hexDigits[byte & 0xF];
    }
    return text;
}

std::string HexNumber(std::uint64_t number, std::size_t digits) {
    std::string text;
    for (; number != 0 || text.size() < digits; number >>= 4)
        text.insert(text.begin(), hexDigits[number & 0xF]);
    return text;
}

std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t position = text.size(); position > 3;) {
        position -= 3;
        text.insert(position, 1, ',');
    }
    return text;
}

std::string CountText(std::uint64_t count, std::string_view noun) {
    return Grouped(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

std::string Padded(std::string_view text, std::size_t width) {
    std::string padded(text);
    std::size_t characters = 0;
    for (const char c : text)
        characters += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    if (characters < width) padded.append(width - characters, ' ');
    return padded;
}

std::string VersionText(const DriverVersion& version) {
    WORD parts[4] = {};
    version.GetWordComponents(parts[0], parts[1], parts[2], parts[3]);
    std::string text;
    for (const WORD part : parts) {
        if (!text.empty()) text += '.';
        text += std::to_string(part);
    }
    return text;
}

std::string RefusalText(const std::exception& exception, std::string_view subject) {
    std::string text = ToUtf8(NorvaException::GetExceptionIdentifierForUserDisplay(exception)) + ' ';
    const auto* const own = dynamic_cast<const NorvaException*>(&exception);
    const std::string className = own != nullptr ? ClassName(*own) : "std::exception";
    const std::string message = own != nullptr ? ToUtf8(own->GetExceptionMesage()) : exception.what();
    text += className + ": ";
    if (!subject.empty()) text.append(subject).append(": ");
    return OneLine(text + (message.empty() ? WordsOf(className) : message));
}
