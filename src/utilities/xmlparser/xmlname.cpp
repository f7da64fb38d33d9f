// The names of elements and attributes.
#include "utilities/xmlparser/xmlname.h"

#include <algorithm>
#include <iterator>

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range startRanges[] = {
    {'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xC0, 0xD6},     {0xD8, 0xF6},
    {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
    {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range furtherRanges[] = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

template <std::size_t count>
bool IsIn(const Range (&ranges)[count], char32_t character) {
    return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

char32_t TakeCharacter(const CXString& text, int& position) {
    const char32_t first = text.GetAt(position++);
    const char32_t second = text.GetAt(position);
    if (first < 0xD800 || first > 0xDBFF || second < 0xDC00 || second > 0xDFFF) return first;
    ++position;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

}  // namespace

bool IsXmlName(const CXString& name) {
    const int colon = name.Find(WChar{':'});
    const int nameStart = colon + 1;  // behind the prefix; 0 when there is none
    for (int position = 0; position < name.GetLength();) {
        const bool isFirst = position == 0 || position == nameStart;
        const bool isColon = position == colon && colon > 0;
        const char32_t character = TakeCharacter(name, position);
        const bool isAllowed = IsIn(startRanges, character) || (!isFirst && IsIn(furtherRanges, character));
        if (!isAllowed && !isColon) return false;
    }
    return !name.IsEmpty() && nameStart < name.GetLength();
}

bool IsXmlAttribute(const CXString& name, const CXString& value) {
    constexpr int prefixAt = 6;  // behind "xmlns:"
    const bool isForPrefix = name.Left(prefixAt) == NV_TEXT("xmlns:");
    if (!isForPrefix && name != NV_TEXT("xmlns")) return IsXmlName(name);
    const CXString prefix = name.Mid(isForPrefix ? prefixAt : name.GetLength());
    const bool isXml = prefix == NV_TEXT("xml");
    const bool isXmlUri = value == NV_TEXT("http://www.w3.org/XML/1998/namespace");
    return IsXmlName(name) && prefix != NV_TEXT("xmlns") && isXml == isXmlUri &&
           value != NV_TEXT("http://www.w3.org/2000/xmlns/") && !(isForPrefix && value.IsEmpty());
}
