// A formatter of messages with numbered inserts, for every platform: the operating system's own would store
// through an insert "%1!n!".
#include "platform/messageformat.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/formatconversion.h"
#include "platform/wideformat.h"

namespace platform {

namespace {

using TextView = std::basic_string_view<WChar>;

constexpr std::size_t maxInsertLength = 0xFFFF;       // of the Windows formatter
constexpr std::size_t maxMessageLength = 0x00FFFFFF;  // since few characters can ask for a long insert

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

void AppendConverted(Text& out, const WChar* format, ...) {
    const auto converted = std::make_unique_for_overwrite<WChar[]>(maxInsertLength + 1);
    va_list arguments;
    va_start(arguments, format);
    const std::size_t length = FormatWide(converted.get(), maxInsertLength + 1, format, arguments);
    va_end(arguments);
    out.append(converted.get(), length);
}

// Formats one argument, after those that its conversion takes as width and precision.
// @return whether messages know the conversion: they have neither floating point nor stores
template <class... Stars>
bool FormatArgument(Text& out, const Text& format, const FormatConversion& conversion,
                    std::uintptr_t argument, Stars... stars) {
    using Kind = FormatConversion::Kind;
    switch (conversion.GetKind()) {
        case Kind::End:
            return true;
        case Kind::String:
        case Kind::Pointer:
            AppendConverted(out, format.c_str(), stars..., reinterpret_cast<const void*>(argument));
            return true;
        case Kind::Character:
        case Kind::Signed:
        case Kind::Unsigned:
            if (conversion.size == FormatConversion::Size::Bits64) {
                AppendConverted(out, format.c_str(), stars..., static_cast<std::int64_t>(argument));
            } else {
                AppendConverted(out, format.c_str(), stars..., static_cast<int>(argument));
            }
            return true;
        default:
            return false;
    }
}

// Formats an insert by the conversion between its exclamation marks.
bool ConvertInsert(Text& out, std::size_t number, TextView written, InsertArguments& arguments) {
    const Text format = NV_TEXT('%') + Text(written);
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
    return character >= NV_TEXT('0') && character <= NV_TEXT('9');
}

// Expands an insert.
// @param cursor  at the first digit of its number; afterwards behind the insert
bool ExpandInsert(Text& out, const WChar*& cursor, InsertArguments& arguments) {
    std::size_t number = static_cast<std::size_t>(*cursor++ - NV_TEXT('0'));
    if (IsDecimalDigit(*cursor)) number = number * 10 + static_cast<std::size_t>(*cursor++ - NV_TEXT('0'));

    if (*cursor != NV_TEXT('!')) {
        const auto* text = reinterpret_cast<const WChar*>(arguments.Get(number));
        out.append(text != nullptr ? text : NV_TEXT("(null)"));
        return true;
    }
    const WChar* const conversion = ++cursor;
    while (*cursor != NV_TEXT('!')) {
        if (*cursor++ == 0) return false;
    }
    const TextView text(conversion, static_cast<std::size_t>(cursor++ - conversion));
    return ConvertInsert(out, number, text, arguments);
}

// Expands what follows a percent sign and is not an insert.
bool ExpandEscape(Text& out, const WChar*& cursor) {
    switch (*cursor) {
        case 0:
            return false;
        case NV_TEXT('n'):
            out += NV_TEXT("\r\n");
            break;
        case NV_TEXT('r'):
            out += NV_TEXT('\r');
            break;
        case NV_TEXT('t'):
            out += NV_TEXT('\t');
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
        if (character == NV_TEXT('%')) {
            if (*cursor == NV_TEXT('0')) break;
            const bool isInsert = IsDecimalDigit(*cursor);
            if (!(isInsert ? ExpandInsert(expanded, cursor, arguments) : ExpandEscape(expanded, cursor)))
                return false;
        } else if (character == NV_TEXT('\r') || character == NV_TEXT('\n')) {
            if (character == NV_TEXT('\r') && *cursor == NV_TEXT('\n')) ++cursor;
            expanded += NV_TEXT("\r\n");
        } else {
            expanded += character;
        }
        if (expanded.size() > maxMessageLength) return false;
    }
    text = std::move(expanded);
    return true;
}

}  // namespace platform
