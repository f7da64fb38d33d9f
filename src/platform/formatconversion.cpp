// The syntax of one conversion of a format text.
#include "platform/formatconversion.h"

#include <climits>
#include <cstdlib>

namespace platform {

namespace {

// Sets what a flag stands for; false when the character is not a flag.
bool ReadFlag(WChar character, FormatConversion& conversion) {
    switch (character) {
        case NV_TEXT('-'):
            return conversion.leftAligned = true;
        case NV_TEXT('+'):
            return conversion.plusSign = true;
        case NV_TEXT(' '):
            return conversion.blankSign = true;
        case NV_TEXT('0'):
            return conversion.zeroPadded = true;
        case NV_TEXT('#'):
            return conversion.alternateForm = true;
        default:
            return false;
    }
}

// A decimal number; one that is too large becomes the largest int.
int ReadNumber(const WChar*& cursor) {
    int number = 0;
    for (; *cursor >= NV_TEXT('0') && *cursor <= NV_TEXT('9'); ++cursor) {
        const int digit = *cursor - NV_TEXT('0');
        number = number > (INT_MAX - digit) / 10 ? INT_MAX : number * 10 + digit;
    }
    return number;
}

bool ReadArgumentMark(const WChar*& cursor) {
    if (*cursor != NV_TEXT('*')) return false;
    ++cursor;
    return true;
}

FormatConversion::Kind KindOf(WChar type) {
    using Kind = FormatConversion::Kind;
    switch (type) {
        case 0:
            return Kind::End;
        case NV_TEXT('s'):
        case NV_TEXT('S'):
            return Kind::String;
        case NV_TEXT('c'):
        case NV_TEXT('C'):
            return Kind::Character;
        case NV_TEXT('d'):
        case NV_TEXT('i'):
            return Kind::Signed;
        case NV_TEXT('o'):
        case NV_TEXT('u'):
        case NV_TEXT('x'):
        case NV_TEXT('X'):
            return Kind::Unsigned;
        case NV_TEXT('e'):
        case NV_TEXT('E'):
        case NV_TEXT('f'):
        case NV_TEXT('g'):
        case NV_TEXT('G'):
        case NV_TEXT('a'):
        case NV_TEXT('A'):
            return Kind::Float;
        case NV_TEXT('p'):
            return Kind::Pointer;
        case NV_TEXT('n'):
            return Kind::Store;
        default:
            return Kind::Unknown;
    }
}

bool IsInteger(FormatConversion::Kind kind) {
    return kind == FormatConversion::Kind::Signed || kind == FormatConversion::Kind::Unsigned;
}

// "I64", "I32", or "I" alone in front of an integer, which has the size of a pointer.
bool ReadSizeI(const WChar*& cursor, FormatConversion& conversion) {
    if (cursor[1] == NV_TEXT('6') && cursor[2] == NV_TEXT('4')) {
        conversion.size = FormatConversion::Size::Bits64;
        cursor += 3;
    } else if (cursor[1] == NV_TEXT('3') && cursor[2] == NV_TEXT('2')) {
        conversion.size = FormatConversion::Size::Default;
        cursor += 3;
    } else if (IsInteger(KindOf(cursor[1]))) {
        conversion.size = FormatConversion::Size::Bits64;
        ++cursor;
    } else {
        return false;
    }
    return true;
}

// One size prefix; the last of several decides.
bool ReadSize(const WChar*& cursor, FormatConversion& conversion) {
    using Size = FormatConversion::Size;
    switch (*cursor) {
        case NV_TEXT('I'):
            return ReadSizeI(cursor, conversion);
        case NV_TEXT('h'):
            conversion.size = Size::Short;
            break;
        case NV_TEXT('l'):
            conversion.size = cursor[1] == NV_TEXT('l') ? Size::Bits64 : Size::Long;
            if (conversion.size == Size::Bits64) ++cursor;
            break;
        case NV_TEXT('w'):
            conversion.size = Size::Long;
            break;
        case NV_TEXT('j'):
        case NV_TEXT('t'):
        case NV_TEXT('z'):
            conversion.size = Size::Bits64;
            break;
        case NV_TEXT('F'):  // "far", "near" and "long double" change nothing
        case NV_TEXT('N'):
        case NV_TEXT('L'):
            break;
        default:
            return false;
    }
    ++cursor;
    return true;
}

}  // namespace

FormatConversion ReadFormatConversion(const WChar*& cursor) {
    FormatConversion conversion;
    while (ReadFlag(*cursor, conversion))
        ++cursor;

    conversion.widthIsArgument = ReadArgumentMark(cursor);
    if (!conversion.widthIsArgument) conversion.width = ReadNumber(cursor);

    if (*cursor == NV_TEXT('.')) {
        ++cursor;
        conversion.precisionIsArgument = ReadArgumentMark(cursor);
        if (!conversion.precisionIsArgument) conversion.precision = ReadNumber(cursor);
    }

    while (ReadSize(cursor, conversion)) {
    }
    conversion.type = *cursor;
    if (conversion.type != 0) ++cursor;
    return conversion;
}

FormatConversion::Kind FormatConversion::GetKind() const {
    return KindOf(type);
}

void FormatConversion::FetchStars(FormatArguments& arguments) {
    if (widthIsArgument) {
        const int argument = va_arg(arguments.list, int);
        if (argument < 0) leftAligned = true;
        width = argument == INT_MIN ? INT_MAX : std::abs(argument);
    }
    if (precisionIsArgument) precision = va_arg(arguments.list, int);
}

bool FormatConversion::IsNarrowText() const {
    const bool capital = type == NV_TEXT('S') || type == NV_TEXT('C');
    return size == Size::Short || (capital && size != Size::Long);
}

}  // namespace platform
