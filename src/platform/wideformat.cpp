// A bounded wide formatter with the conversions of the Windows C library, for every platform. That library's
// own depends on the locale of the process, stores through "%n", reads some prefixes in other ways from
// version to version, and not every version holds precisions of integers to its buffer.
#include "platform/wideformat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/formatconversion.h"

namespace platform {

namespace {

// Writes as far as there is room and drops the rest.
class BoundedWriter {
public:
    BoundedWriter(WChar* out, std::size_t capacity) : m_begin(out), m_next(out), m_end(out + capacity - 1) {}

    std::size_t Terminate() {
        *m_next = 0;
        return static_cast<std::size_t>(m_next - m_begin);
    }

    void Put(WChar character) {
        if (m_next != m_end) *m_next++ = character;
    }

    void Fill(WChar character, std::size_t count) {
        m_next = std::fill_n(m_next, std::min(count, Room()), character);
    }

    // Bytes become the code units of the same numbers.
    template <class Character>
    void Write(std::basic_string_view<Character> text) {
        const std::size_t count = std::min(text.size(), Room());
        for (std::size_t i = 0; i < count; ++i)
            *m_next++ = static_cast<WChar>(static_cast<std::make_unsigned_t<Character>>(text[i]));
    }

private:
    std::size_t Room() const { return static_cast<std::size_t>(m_end - m_next); }

    WChar* m_begin;
    WChar* m_next;
    WChar* m_end;
};

std::size_t Unsigned(int number) {
    return static_cast<std::size_t>(std::max(number, 0));
}

// Writes `prefix` and what `writeBody` writes, `bodyLength` units, padded to the conversion's width.
template <class WriteBody>
void WritePadded(BoundedWriter& out, const FormatConversion& conversion, std::string_view prefix,
                 std::size_t bodyLength, WriteBody writeBody) {
    const std::size_t length = prefix.size() + bodyLength;
    const std::size_t width = Unsigned(conversion.width);
    const std::size_t padding = width > length ? width - length : 0;
    const bool zeros = conversion.zeroPadded && !conversion.leftAligned;
    if (!conversion.leftAligned && !zeros) out.Fill(NV_TEXT(' '), padding);
    out.Write(prefix);
    if (zeros) out.Fill(NV_TEXT('0'), padding);
    writeBody();
    if (conversion.leftAligned) out.Fill(NV_TEXT(' '), padding);
}

std::string_view SignOf(const FormatConversion& conversion, bool negative) {
    return negative ? "-" : conversion.plusSign ? "+" : conversion.blankSign ? " " : "";
}

// Text

template <class Character>
void WriteText(BoundedWriter& out, const FormatConversion& conversion, const Character* text) {
    constexpr std::array<Character, 7> null = {'(', 'n', 'u', 'l', 'l', ')', 0};
    if (text == nullptr) text = null.data();
    const std::size_t limit = conversion.precision >= 0 ? Unsigned(conversion.precision) : SIZE_MAX;
    std::size_t length = 0;
    while (length < limit && text[length] != 0)
        ++length;
    WritePadded(out, conversion, {}, length,
                [&] { out.Write(std::basic_string_view<Character>(text, length)); });
}

void WriteCharacter(BoundedWriter& out, const FormatConversion& conversion, int argument) {
    const auto character = static_cast<WChar>(conversion.IsNarrowText() ? argument & 0xFF : argument);
    const std::size_t count = conversion.precision == 0 ? 0 : 1;
    WritePadded(out, conversion, {}, count, [&] { out.Fill(character, count); });
}

// Integers

void WriteDigits(BoundedWriter& out, FormatConversion conversion, std::string_view prefix,
                 std::string_view digits) {
    const std::size_t minimum = Unsigned(conversion.precision);
    const std::size_t zeros = minimum > digits.size() ? minimum - digits.size() : 0;
    if (conversion.precision >= 0) conversion.zeroPadded = false;
    WritePadded(out, conversion, prefix, zeros + digits.size(), [&] {
        out.Fill(NV_TEXT('0'), zeros);
        out.Write(digits);
    });
}

std::string Digits(std::uint64_t value, int base, bool upperCase) {
    std::array<char, 24> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, base).ptr;
    std::string digits(buffer.data(), end);
    for (char& digit : digits) {
        if (upperCase && digit >= 'a') digit = static_cast<char>(digit - 'a' + 'A');
    }
    return digits;
}

void WriteSigned(BoundedWriter& out, const FormatConversion& conversion, std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    const std::string digits =
        value == 0 && conversion.precision == 0 ? "" : Digits(value < 0 ? 0 - bits : bits, 10, false);
    WriteDigits(out, conversion, SignOf(conversion, value < 0), digits);
}

void WriteUnsigned(BoundedWriter& out, const FormatConversion& conversion, std::uint64_t value) {
    const bool upperCase = conversion.type == NV_TEXT('X');
    const bool octal = conversion.type == NV_TEXT('o');
    const bool decimal = conversion.type == NV_TEXT('u');
    std::string digits;
    if (value != 0 || conversion.precision != 0)
        digits = Digits(value, octal ? 8 : decimal ? 10 : 16, upperCase);
    std::string_view prefix;
    if (conversion.alternateForm && value != 0) {
        if (octal && Unsigned(conversion.precision) <= digits.size())
            digits = std::string(1, '0').append(digits);
        if (!octal && !decimal) prefix = upperCase ? "0X" : "0x";
    }
    WriteDigits(out, conversion, prefix, digits);
}

void WritePointer(BoundedWriter& out, FormatConversion conversion, const void* pointer) {
    const std::string digits = Digits(reinterpret_cast<std::uintptr_t>(pointer), 16, true);
    conversion.precision = 16;
    const std::string_view prefix = conversion.alternateForm ? "0X" : "";
    WriteDigits(out, conversion, prefix, digits);
}

// Floating point. Ties are rounded away from zero, and what is not a number has digits of its own, "1.#INF",
// which are cut and rounded like any others: both are what the Windows C library does.

// A number as 0.d1d2d3... times a power of ten: all its digits, exactly.
struct Decimal {
    std::string digits;
    int exponent = 0;  // of the first digit, as in d1.d2d3...
};

std::string DigitsOfNonFinite(double value) {
    constexpr std::uint64_t payloadMask = 0x0007'FFFF'FFFF'FFFF;
    if (std::isinf(value)) return "1#INF";
    const bool indefinite = std::signbit(value) && (std::bit_cast<std::uint64_t>(value) & payloadMask) == 0;
    return indefinite ? "1#IND" : "1#QNAN";
}

Decimal ExactDecimal(double magnitude) {
    if (!std::isfinite(magnitude)) return {DigitsOfNonFinite(magnitude), 0};
    constexpr int mostDigits = 767;  // of any double
    std::array<char, mostDigits + 16> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                                   std::chars_format::scientific, mostDigits - 1)
                         .ptr;
    const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
    const std::size_t mark = text.find('e');
    Decimal decimal;
    decimal.digits.assign(1, text[0]).append(text.substr(2, mark - 2));
    const std::size_t exponent = mark + (text[mark + 1] == '+' ? 2 : 1);
    std::from_chars(buffer.data() + exponent, end, decimal.exponent);
    const std::size_t last = decimal.digits.find_last_not_of('0');
    decimal.digits.resize(last != std::string::npos ? last + 1 : 1);
    return decimal;
}

// Keeps `count` digits; a negative count is below the rounding position and leaves nothing.
void Round(Decimal& decimal, std::int64_t count) {
    std::string& digits = decimal.digits;
    if (count >= static_cast<std::int64_t>(digits.size())) return;
    const bool up = count >= 0 && digits[static_cast<std::size_t>(count)] >= '5';
    digits.resize(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    if (!up) return;
    while (!digits.empty() && digits.back() == '9')
        digits.pop_back();
    if (digits.empty()) {
        digits.assign(1, '1');
        ++decimal.exponent;
    } else {
        ++digits.back();
    }
}

// Digits from a position on, which may lie in front of the first digit, as many as asked for.
void WriteDigitRange(BoundedWriter& out, std::string_view digits, std::int64_t begin, std::int64_t end) {
    const auto size = static_cast<std::int64_t>(digits.size());
    const std::int64_t zerosBefore = std::clamp<std::int64_t>(-begin, 0, end - begin);
    const std::int64_t first = std::clamp<std::int64_t>(begin, 0, size);
    const std::int64_t last = std::clamp<std::int64_t>(end, first, size);
    out.Fill(NV_TEXT('0'), static_cast<std::size_t>(zerosBefore));
    out.Write(digits.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first)));
    out.Fill(NV_TEXT('0'), static_cast<std::size_t>(end - begin - zerosBefore - (last - first)));
}

std::string ExponentText(char letter, int exponent, std::size_t leastDigits) {
    const std::string digits = std::to_string(std::abs(exponent));
    std::string text = {letter, exponent < 0 ? '-' : '+'};
    text.append(leastDigits - std::min(digits.size(), leastDigits), '0');
    return text + digits;
}

void WriteFixed(BoundedWriter& out, const FormatConversion& conversion, std::string_view sign,
                Decimal decimal, std::int64_t precision) {
    Round(decimal, decimal.exponent + 1 + precision);
    const std::int64_t units = decimal.exponent + 1;  // position behind the digit of the ones
    const bool separator = precision > 0 || conversion.alternateForm;
    const std::int64_t length = std::max<std::int64_t>(units, 1) + (separator ? 1 : 0) + precision;
    WritePadded(out, conversion, sign, static_cast<std::size_t>(length), [&] {
        WriteDigitRange(out, decimal.digits, std::min<std::int64_t>(units - 1, 0), units);
        if (separator) out.Put(NV_TEXT('.'));
        WriteDigitRange(out, decimal.digits, units, units + precision);
    });
}

void WriteScientific(BoundedWriter& out, const FormatConversion& conversion, std::string_view sign,
                     Decimal decimal, std::int64_t precision, bool upperCase) {
    Round(decimal, precision + 1);
    const bool separator = precision > 0 || conversion.alternateForm;
    const std::string exponent = ExponentText(upperCase ? 'E' : 'e', decimal.exponent, 3);
    const std::int64_t length = 1 + (separator ? 1 : 0) + precision;
    WritePadded(out, conversion, sign, static_cast<std::size_t>(length) + exponent.size(), [&] {
        WriteDigitRange(out, decimal.digits, 0, 1);
        if (separator) out.Put(NV_TEXT('.'));
        WriteDigitRange(out, decimal.digits, 1, 1 + precision);
        out.Write(std::string_view(exponent));
    });
}

// The shorter of both forms, without closing zeros unless the alternate form asks for them.
void WriteGeneral(BoundedWriter& out, const FormatConversion& conversion, std::string_view sign,
                  Decimal decimal, std::int64_t precision, bool upperCase) {
    precision = std::max<std::int64_t>(precision, 1);
    Round(decimal, precision);
    const bool scientific = decimal.exponent < -4 || decimal.exponent >= precision;
    if (!conversion.alternateForm) {
        const std::size_t last = decimal.digits.find_last_not_of('0');
        precision = last != std::string::npos ? static_cast<std::int64_t>(last) + 1 : 1;
    }
    if (scientific) {
        WriteScientific(out, conversion, sign, decimal, precision - 1, upperCase);
    } else {
        WriteFixed(out, conversion, sign, decimal,
                   std::max<std::int64_t>(precision - 1 - decimal.exponent, 0));
    }
}

// "0x1.8000000000000p+1", all 13 digits unless a precision asks for fewer or more.
void WriteHexadecimal(BoundedWriter& out, const FormatConversion& conversion, double value, bool upperCase) {
    constexpr int mantissaBits = 52;
    constexpr int mantissaDigits = 13;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const auto biased = static_cast<int>((bits >> mantissaBits) & 0x7FF);
    std::uint64_t mantissa = bits & ((std::uint64_t{1} << mantissaBits) - 1);
    const int exponent = mantissa == 0 && biased == 0 ? 0 : std::max(biased, 1) - 1023;
    if (biased != 0) mantissa |= std::uint64_t{1} << mantissaBits;

    const int precision = conversion.precision >= 0 ? conversion.precision : mantissaDigits;
    std::string digits;
    if (std::isfinite(value)) {
        if (precision < mantissaDigits) {
            const int dropped = 4 * (mantissaDigits - precision);
            mantissa += std::uint64_t{1} << (dropped - 1);
            mantissa = mantissa >> dropped << dropped;
        }
        const std::string significant = Digits(mantissa, 16, upperCase);
        digits.assign(mantissaDigits + 1 - significant.size(), '0').append(significant);
    } else {
        Decimal decimal{DigitsOfNonFinite(value), 0};
        Round(decimal, std::int64_t{precision} + 1);
        digits = decimal.digits;
    }
    const std::string exponentText =
        ExponentText(upperCase ? 'P' : 'p', std::isfinite(value) ? exponent : 0, 1);

    const bool separator = precision > 0 || conversion.alternateForm;
    const std::string prefix =
        std::string(SignOf(conversion, std::signbit(value))) + (upperCase ? "0X" : "0x");
    const std::size_t length = 1 + (separator ? 1 : 0) + Unsigned(precision) + exponentText.size();
    WritePadded(out, conversion, prefix, length, [&] {
        WriteDigitRange(out, digits, 0, 1);
        if (separator) out.Put(NV_TEXT('.'));
        WriteDigitRange(out, digits, 1, std::int64_t{precision} + 1);
        out.Write(std::string_view(exponentText));
    });
}

void WriteDouble(BoundedWriter& out, const FormatConversion& conversion, double value) {
    constexpr int defaultPrecision = 6;
    const std::int64_t precision = conversion.precision >= 0 ? conversion.precision : defaultPrecision;
    const std::string_view sign = SignOf(conversion, std::signbit(value));
    const double magnitude = std::isnan(value) ? value : std::abs(value);
    switch (conversion.type) {
        case NV_TEXT('f'):
            return WriteFixed(out, conversion, sign, ExactDecimal(magnitude), precision);
        case NV_TEXT('e'):
        case NV_TEXT('E'):
            return WriteScientific(out, conversion, sign, ExactDecimal(magnitude), precision,
                                   conversion.type == NV_TEXT('E'));
        case NV_TEXT('g'):
        case NV_TEXT('G'):
            return WriteGeneral(out, conversion, sign, ExactDecimal(magnitude), precision,
                                conversion.type == NV_TEXT('G'));
        default:
            return WriteHexadecimal(out, conversion, value, conversion.type == NV_TEXT('A'));
    }
}

std::int64_t FetchSigned(const FormatConversion& conversion, FormatArguments& arguments) {
    if (conversion.size == FormatConversion::Size::Bits64) return va_arg(arguments.list, std::int64_t);
    const int value = va_arg(arguments.list, int);
    return conversion.size == FormatConversion::Size::Short ? static_cast<std::int16_t>(value) : value;
}

std::uint64_t FetchUnsigned(const FormatConversion& conversion, FormatArguments& arguments) {
    const auto value = static_cast<std::uint64_t>(FetchSigned(conversion, arguments));
    switch (conversion.size) {
        case FormatConversion::Size::Bits64:
            return value;
        case FormatConversion::Size::Short:
            return value & 0xFFFF;
        default:
            return value & 0xFFFF'FFFF;
    }
}

void WriteConversion(BoundedWriter& out, FormatConversion conversion, FormatArguments& arguments) {
    using Kind = FormatConversion::Kind;
    conversion.FetchStars(arguments);
    switch (conversion.GetKind()) {
        case Kind::String:
            if (conversion.IsNarrowText())
                return WriteText(out, conversion, va_arg(arguments.list, const char*));
            return WriteText(out, conversion, va_arg(arguments.list, const WChar*));
        case Kind::Character:
            return WriteCharacter(out, conversion, va_arg(arguments.list, int));
        case Kind::Signed:
            return WriteSigned(out, conversion, FetchSigned(conversion, arguments));
        case Kind::Unsigned:
            return WriteUnsigned(out, conversion, FetchUnsigned(conversion, arguments));
        case Kind::Float:
            return WriteDouble(out, conversion, va_arg(arguments.list, double));
        case Kind::Pointer:
            return WritePointer(out, conversion, va_arg(arguments.list, const void*));
        case Kind::Store:
            static_cast<void>(va_arg(arguments.list, void*));
            return;
        case Kind::End:
            return;
        case Kind::Unknown:
            out.Put(conversion.type);
    }
}

}  // namespace

std::size_t FormatWide(WChar* out, std::size_t capacity, const WChar* format, va_list list) {
    BoundedWriter writer(out, capacity);
    FormatArguments arguments(list);
    while (*format != 0) {
        if (*format != NV_TEXT('%')) {
            writer.Put(*format++);
        } else if (*++format == NV_TEXT('%')) {
            writer.Put(*format++);
        } else {
            const FormatConversion conversion = ReadFormatConversion(format);
            WriteConversion(writer, conversion, arguments);
        }
    }
    return writer.Terminate();
}

}  // namespace platform
