// Any bytes as a valid format with matching arguments: the result is as long as widths and precisions allow,
// and the same when the string is formatted into itself. And any text as a message: nothing is stored.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "expect.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace {

// Hands out the input; zeros once it is used up.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool IsEmpty() const { return m_next == m_end; }

    template <class Value>
    Value Take() {
        Value value{};
        for (std::size_t i = 0; i < sizeof(Value) && m_next != m_end; ++i)
            std::memcpy(reinterpret_cast<char*>(&value) + i, m_next++, 1);
        return value;
    }

    unsigned Below(unsigned limit) { return Take<std::uint8_t>() % limit; }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

using Format = std::basic_string<WChar>;

// One conversion with up to two arguments in front of its own.
struct Conversion {
    Format format;
    int stars[2] = {};
    int starCount = 0;
    std::size_t widest = 0;  // of width and precision
    bool hasPrecision = false;
    int precision = 0;
};

constexpr int mostWidth = 300;

void AppendText(Format& format, const std::string& text) {
    format.append(text.begin(), text.end());
}

// A width or a precision, written out or as an argument.
int AppendNumber(Input& input, Conversion& conversion) {
    const int number = input.Take<std::uint16_t>() % mostWidth;
    if (input.Below(2) == 0) {
        AppendText(conversion.format, std::to_string(number));
        return number;
    }
    AppendText(conversion.format, "*");
    const int argument = input.Below(4) == 0 ? -number : number;
    conversion.stars[conversion.starCount++] = argument;
    return argument;
}

Conversion TakeConversion(Input& input) {
    Conversion conversion;
    AppendText(conversion.format, "<%");
    for (unsigned flags = input.Below(4); flags > 0; --flags)
        AppendText(conversion.format, std::string(1, "-+ #0"[input.Below(5)]));
    if (input.Below(2) != 0) {
        const int width = AppendNumber(input, conversion);
        conversion.widest = static_cast<std::size_t>(width < 0 ? -width : width);
    }
    if (input.Below(2) != 0) {
        AppendText(conversion.format, ".");
        conversion.precision = AppendNumber(input, conversion);
        conversion.hasPrecision = conversion.precision >= 0;
        if (conversion.hasPrecision && static_cast<std::size_t>(conversion.precision) > conversion.widest)
            conversion.widest = static_cast<std::size_t>(conversion.precision);
    }
    return conversion;
}

template <class Argument>
CXString Apply(const Conversion& conversion, const Format& format, Argument argument) {
    CXString text;
    switch (conversion.starCount) {
        case 0:
            text.Format(format.c_str(), argument);
            break;
        case 1:
            text.Format(format.c_str(), conversion.stars[0], argument);
            break;
        default:
            text.Format(format.c_str(), conversion.stars[0], conversion.stars[1], argument);
    }
    return text;
}

// Completes the format, applies it and holds the result to the longest that it may have.
template <class Argument>
CXString Check(Conversion conversion, const char* type, Argument argument, std::size_t longest) {
    AppendText(conversion.format, std::string(type) + ">");
    CXString text = Apply(conversion, conversion.format, argument);
    FUZZ_EXPECT(text.GetLength() >= 2 && text[0] == NV_TEXT('<'));
    FUZZ_EXPECT(text[text.GetLength() - 1] == NV_TEXT('>'));
    FUZZ_EXPECT(static_cast<std::size_t>(text.GetLength()) <= 2 + conversion.widest + longest);
    return text;
}

void CheckInteger(Input& input, const Conversion& conversion) {
    constexpr std::size_t longest = 24;
    static constexpr const char* types[] = {"d", "i", "u", "x", "X", "o", "hd", "hx", "ld", "lX", "I32u"};
    static constexpr const char* wideTypes[] = {"I64d", "I64x", "lld", "I64u", "I64o", "Id"};
    if (input.Below(2) != 0) {
        Check(conversion, wideTypes[input.Below(6)], input.Take<std::int64_t>(), longest);
    } else {
        Check(conversion, types[input.Below(11)], input.Take<std::int32_t>(), longest);
    }
}

void CheckDouble(Input& input, const Conversion& conversion) {
    static constexpr const char* types[] = {"f", "e", "E", "g", "G", "a", "A"};
    constexpr std::size_t longest = 330;
    Check(conversion, types[input.Below(7)], input.Take<double>(), longest);
}

// A text of the input, not terminated when a precision ends it.
template <class Character>
void CheckText(Input& input, const Conversion& conversion, const char* type) {
    std::basic_string<Character> characters;
    for (unsigned length = input.Below(40); length > 0; --length) {
        const auto character = input.Take<Character>();
        characters += character != 0 ? character : Character{'0'};
    }
    const bool ends =
        conversion.hasPrecision && static_cast<std::size_t>(conversion.precision) <= characters.size();
    const std::vector<Character> exact(characters.begin(), characters.end());
    const Character* argument = ends && !exact.empty() ? exact.data() : characters.c_str();
    Check(conversion, type, argument, characters.size());
}

// The same text comes out when format and argument lie in the formatted string itself.
void CheckSelf(Input& input, const Conversion& conversion) {
    Format format = conversion.format;
    AppendText(format, input.Below(2) != 0 ? "s>" : "ls>");
    const CXString own(format.c_str());
    const CXString expected = Apply(conversion, format, static_cast<const WChar*>(own));
    CXString text(format.c_str());
    const WChar* inside = text;
    switch (conversion.starCount) {
        case 0:
            text.Format(inside, inside);
            break;
        case 1:
            text.Format(inside, conversion.stars[0], inside);
            break;
        default:
            text.Format(inside, conversion.stars[0], conversion.stars[1], inside);
    }
    FUZZ_EXPECT(text == expected);
}

template <std::size_t... Index>
void Expand(const WChar* format, const WChar* argument, std::index_sequence<Index...>) {
    CXString text;
    try {
        text.FormatMessageW(format, (static_cast<void>(Index), argument)...);
    } catch (const ExceptionOperatingSystemFailure&) {  // of a malformed text
    }
}

// A text of the input with all the arguments that an insert can ask for.
void CheckMessage(Input& input) {
    constexpr std::size_t mostArguments = 99 + 2;  // of the last insert, with width and precision
    Format format;
    for (unsigned length = input.Below(64); length > 0; --length)
        format += static_cast<WChar>(input.Take<std::uint8_t>());
    const WChar argument[] = {'a', 'b', 0};
    Expand(format.c_str(), argument, std::make_index_sequence<mostArguments>());
    FUZZ_EXPECT(argument[0] == 'a' && argument[1] == 'b' && argument[2] == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    while (!input.IsEmpty()) {
        const unsigned kind = input.Below(8);
        const Conversion conversion = TakeConversion(input);
        switch (kind) {
            case 0:
                CheckInteger(input, conversion);
                break;
            case 1:
                CheckDouble(input, conversion);
                break;
            case 2:
                CheckText<WChar>(input, conversion, "s");
                break;
            case 3:
                CheckText<char>(input, conversion, "S");
                break;
            case 4:
                CheckText<char>(input, conversion, "hs");
                break;
            case 5:
                Check(conversion, "p", data, 18);
                break;
            case 6:
                CheckMessage(input);
                break;
            default:
                CheckSelf(input, conversion);
        }
    }
    return 0;
}
