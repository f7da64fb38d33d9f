// A formatter of messages with numbered inserts.
#include "platform/messageformat.h"

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/formatconversion.h"
#include "platform/wideformat.h"

namespace platform {

namespace {

constexpr std::size_t maxInsertLength = 0xFFFF;  // of the system's own formatter

// The arguments by number, each as wide as a pointer, fetched as far as they have been asked for.
class InsertArguments {
public:
    explicit InsertArguments(va_list list) { va_copy(m_list, list); }
    ~InsertArguments() { va_end(m_list); }
    InsertArguments(const InsertArguments&) = delete;
    InsertArguments& operator=(const InsertArguments&) = delete;

    std::uintptr_t Get(std::size_t number) {
        while (m_fetched.size() < number)
            m_fetched.push_back(va_arg(m_list, std::uintptr_t));
        return m_fetched[number - 1];
    }

private:
    va_list m_list;
    std::vector<std::uintptr_t> m_fetched;
};

std::size_t FormatConverted(Text& out, const WChar* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::size_t length = FormatWide(out.data(), out.size(), format, arguments);
    va_end(arguments);
    return length;
}

// Formats one argument, after those that its conversion takes as width and precision.
template <class... Stars>
bool FormatArgument(Text& out, const Text& format, const FormatConversion& conversion,
                    std::uintptr_t argument, Stars... stars) {
    Text converted(maxInsertLength + 1, u'\0');
    std::size_t length = 0;
    switch (conversion.type) {
        case 0:
            break;
        case u's':
        case u'S':
        case u'p':
            length =
                FormatConverted(converted, format.c_str(), stars..., reinterpret_cast<const void*>(argument));
            break;
        case u'c':
        case u'C':
        case u'd':
        case u'i':
        case u'o':
        case u'u':
        case u'x':
        case u'X':
            length = conversion.size == FormatConversion::Size::Bits64
                         ? FormatConverted(converted, format.c_str(), stars...,
                                           static_cast<std::int64_t>(argument))
                         : FormatConverted(converted, format.c_str(), stars..., static_cast<int>(argument));
            break;
        default:
            return false;
    }
    out.append(converted, 0, length);
    return true;
}

// Formats an insert by the conversion between its exclamation marks.
bool ConvertInsert(Text& out, std::size_t number, std::u16string_view written, InsertArguments& arguments) {
    const Text format = u'%' + Text(written);
    const WChar* cursor = format.c_str() + 1;
    const FormatConversion conversion = ReadFormatConversion(cursor);
    if (cursor != format.c_str() + format.size()) return false;

    if (conversion.widthIsArgument && conversion.precisionIsArgument) {
        return FormatArgument(out, format, conversion, arguments.Get(number + 2),
                              static_cast<int>(arguments.Get(number)),
                              static_cast<int>(arguments.Get(number + 1)));
    }
    if (conversion.widthIsArgument || conversion.precisionIsArgument) {
        return FormatArgument(out, format, conversion, arguments.Get(number + 1),
                              static_cast<int>(arguments.Get(number)));
    }
    return FormatArgument(out, format, conversion, arguments.Get(number));
}

bool IsDecimalDigit(WChar character) {
    return character >= u'0' && character <= u'9';
}

// Expands an insert.
// @param cursor  at the first digit of its number; afterwards behind the insert
bool ExpandInsert(Text& out, const WChar*& cursor, InsertArguments& arguments) {
    std::size_t number = static_cast<std::size_t>(*cursor++ - u'0');
    if (IsDecimalDigit(*cursor)) number = number * 10 + static_cast<std::size_t>(*cursor++ - u'0');

    if (*cursor != u'!') {
        const auto* text = reinterpret_cast<const WChar*>(arguments.Get(number));
        out.append(text != nullptr ? text : u"(null)");
        return true;
    }
    const std::u16string_view rest(cursor + 1);
    const std::size_t end = rest.find(u'!');
    if (end == std::u16string_view::npos) return false;
    cursor += end + 2;
    return ConvertInsert(out, number, rest.substr(0, end), arguments);
}

// Expands what follows a percent sign and is not an insert.
bool ExpandEscape(Text& out, const WChar*& cursor) {
    switch (*cursor) {
        case 0:
            return false;
        case u'n':
            out += u"\r\n";
            break;
        case u'r':
            out += u'\r';
            break;
        case u't':
            out += u'\t';
            break;
        default:
            out += *cursor;
    }
    ++cursor;
    return true;
}

}  // namespace

bool ExpandMessage(const WChar* format, va_list list, Text& text) {
    InsertArguments arguments(list);
    Text expanded;
    const WChar* cursor = format;
    while (*cursor != 0) {
        const WChar character = *cursor++;
        if (character == u'%') {
            if (*cursor == u'0') break;
            const bool isInsert = IsDecimalDigit(*cursor);
            if (!(isInsert ? ExpandInsert(expanded, cursor, arguments) : ExpandEscape(expanded, cursor)))
                return false;
        } else if (character == u'\r' || character == u'\n') {
            if (character == u'\r' && *cursor == u'\n') ++cursor;
            expanded += u"\r\n";
        } else {
            expanded += character;
        }
    }
    text = std::move(expanded);
    return true;
}

}  // namespace platform
