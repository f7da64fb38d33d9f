// Text as this build treats it: every code unit, code pages both ways, formats, messages and numbers from a
// seed.
#include <algorithm>
#include <cstring>
#include <vector>

#include "differential/comparison.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/dimension.h"
#include "utilities/utilitiesdll/number.h"

namespace comparison {
namespace {

std::string BytesOf(const void* data, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<const unsigned char*>(data)[i];
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string BytesOf(const CXString& text) {
    return BytesOf(static_cast<const WChar*>(text),
                   static_cast<std::size_t>(text.GetLength()) * sizeof(WChar));
}

void WriteUnit(unsigned unit, std::ostream& out) {
    const WChar text[] = {static_cast<WChar>(unit), 0};
    CXString upper(text);
    upper.MakeUpper();
    CXString lower(text);
    lower.MakeLower();
    const std::vector<char> narrow = CXString(text).GetAsMultiByte();
    CXString trimmed(text);
    trimmed.TrimLeft();
    unsigned char digit = 0;
    const bool isDigit =
        ByteBuffer::ConvertSingleHexCharToValue(static_cast<unsigned short>(unit), digit, false);
    out << "unit " << BytesOf(text, sizeof(WChar)) << ' ' << BytesOf(upper) << ' ' << BytesOf(lower) << ' '
        << (CXString(text).CompareNoCase(upper) == 0) << (CXString(text).CompareNoCase(lower) == 0)
        << trimmed.IsEmpty() << isDigit << ' ' << int{digit} << ' ' << BytesOf(narrow.data(), narrow.size())
        << '\n';
}

/// Two bytes at once, so that lead bytes of multi-byte code pages meet every successor.
void WriteNarrow(unsigned first, std::ostream& out) {
    std::string line;
    for (unsigned second = 0; second < 256; ++second) {
        const char text[] = {static_cast<char>(first), static_cast<char>(second), 0};
        CXString wide;
        wide = text;
        line += BytesOf(wide) + ' ';
    }
    const char text[] = {static_cast<char>(first), 0};
    CXString wide;
    wide = text;
    out << "narrow " << first << ' ' << BytesOf(wide) << ' ' << HashOf(line) << '\n';
}

std::string Choose(Random& random, std::initializer_list<const char*> texts) {
    return texts.begin()[random.Below(texts.size())];
}

template <class Argument>
CXString Format(const std::string& format, Argument argument) {
    const std::basic_string<WChar> wide(format.begin(), format.end());
    CXString text;
    text.Format(wide.c_str(), argument);
    return text;
}

/// At most 17 significant digits, beyond which C libraries differ; a double has no more.
CXString FormatDouble(Random& random, std::string& format) {
    const bool isFixed = random.Below(2) == 0;
    const double value =
        (static_cast<double>(random.Below(2000001)) - 1000000.0) / static_cast<double>(1 << random.Below(8));
    format += '.' + std::to_string(random.Below(isFixed ? 10 : 16)) +
              (isFixed ? "f" : Choose(random, {"e", "E", "g", "G"}));
    return Format(format, value);
}

void WriteFormat(Random& random, std::ostream& out) {
    static const char narrow[] = "narrow text";
    static const WChar wide[] = {'w', 'i', 'd', 'e', 0xE4, 0x20AC, 0};
    std::string format = "<%";
    out << std::flush;  // so that the line before the one that crashes is known
    for (std::size_t flags = random.Below(3); flags > 0; --flags)
        format += Choose(random, {"-", "+", " ", "0", "#"});
    if (random.Below(2) == 0) format += std::to_string(1 + random.Below(40));
    CXString text;
    const std::size_t kind = random.Below(6);
    const std::string precision = random.Below(2) == 0 ? "." + std::to_string(random.Below(30)) : "";
    const std::uint64_t bits = random.Bits() >> random.Below(64);
    if (kind == 0) {
        format += precision + Choose(random, {"d", "i", "u", "x", "X", "o", "ld", "lX", "I32u", "hd", "hu"});
        text = Format(format, static_cast<int>(bits));
    } else if (kind == 1) {
        format += precision + Choose(random, {"I64d", "I64x", "lld", "I64u", "I64o", "llX"});
        text = Format(format, bits);
    } else if (kind == 2) {
        format += precision + Choose(random, {"s", "ls"});
        text = Format(format, static_cast<const WChar*>(wide));
    } else if (kind == 3) {
        format += precision + Choose(random, {"S", "hs"});
        text = Format(format, static_cast<const char*>(narrow));
    } else if (kind == 4) {
        format += "c";
        text = Format(format, static_cast<int>(0x20 + random.Below(0x5F)));
    } else {
        text = FormatDouble(random, format);
    }
    out << "format " << format << ' ' << BytesOf(text) << '\n';
}

CXString FormatMessageOf(const std::string& format, int number, const WChar* text) {
    const std::basic_string<WChar> wide(format.begin(), format.end());
    CXString message;
    message.FormatMessageW(wide.c_str(), number, text);
    return message;
}

/// A message with a number and a text, each with conversions as callers write them, and odd escapes between.
void WriteMessage(Random& random, std::ostream& out) {
    static const WChar text[] = {'t', 'e', 'x', 't', 0xE4, 0x20AC, 0};
    const std::string width = random.Below(2) == 0 ? std::to_string(1 + random.Below(30)) : "";
    const std::string precision = random.Below(2) == 0 ? "." + std::to_string(random.Below(20)) : "";
    std::string format;
    for (std::size_t pieces = 1 + random.Below(5); pieces > 0; --pieces) {
        switch (random.Below(4)) {
            case 0:
                format += "%1!" + Choose(random, {"", "-", "0", "+"}) + width + precision +
                          Choose(random, {"d", "u", "x", "08X", "i"}) + "!";
                break;
            case 1:
                format += Choose(random, {"%2", "%2!s!", "%2!10s!", "%2!-9.3s!", "%2!ls!"});
                break;
            case 2:
                format += Choose(random, {"%%", "%n", "%.", "%!", "% ", "%b", "%r", "%t"});
                break;
            default:
                format += Choose(random, {"a", " b ", "\n", "\r\n", "-", "c"});
        }
    }
    const auto number = static_cast<int>(random.Bits());
    out << "message " << BytesOf(format.data(), format.size()) << ' ' << number << std::flush;
    try {
        out << ' ' << BytesOf(FormatMessageOf(format, number, text)) << '\n';
    } catch (const NorvaException& refusal) {
        out << " refused " << BytesOf(refusal.GetExceptionTypeByNumericCode()) << '\n';
    }
}

/// A number as text, what that text is read as, and the number as a length.
void WriteNumber(Random& random, std::ostream& out) {
    constexpr double threshold = 0.499999;
    const double value = (static_cast<double>(random.Bits() >> random.Below(64)) - 1e6) /
                         static_cast<double>(1 << random.Below(20));
    const int decimals = static_cast<int>(random.Below(8));
    const bool first = random.Below(2) == 0;
    const bool second = random.Below(2) == 0;
    const CXString text = Number(value).GetStringValue(decimals, threshold, first, second);
    Number read;
    const bool isRead = read.SetStringValue(text);
    const Dimension length(value, static_cast<Dimension::UnitsEnum>(random.Below(13)));
    out << "number " << BytesOf(&value, sizeof value) << ' ' << BytesOf(text) << ' ' << isRead << ' '
        << BytesOf(read.GetStringValue(6, threshold, false, false)) << ' '
        << BytesOf(length.GetStringValue(Dimension::Inches, decimals, threshold, first)) << '\n';
}

}  // namespace

void WriteText(std::uint64_t seed, std::ostream& out) {
    for (unsigned unit = 1; unit <= 0xFFFF; ++unit)
        WriteUnit(unit, out);
    for (unsigned byte = 1; byte < 256; ++byte)
        WriteNarrow(byte, out);
    Random random(seed);
    constexpr int formats = 2000;
    for (int i = 0; i < formats; ++i)
        WriteFormat(random, out);
    for (int i = 0; i < formats; ++i)
        WriteMessage(random, out);
    for (int i = 0; i < formats; ++i)
        WriteNumber(random, out);
}

}  // namespace comparison
