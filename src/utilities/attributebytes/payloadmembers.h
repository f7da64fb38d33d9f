// The bytes and the comparison of payloads that are stated as a list of members, in the order of their bytes.
#pragma once

#include <cstdint>
#include <tuple>
#include <type_traits>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/dimension.h"
#include "utilities/utilitiesdll/utctime.h"

namespace payloadmembers {

// Dimensions are stored as whole numbers of this unit; halves are rounded away from zero.
inline constexpr auto storedUnits = Dimension::ThousandthsOfMillimetres;
inline constexpr double storedThreshold = 0.499999;

// What stands in the bytes for a member of a fixed size.

template <class Number>
Number Stored(Number number) {
    return number;
}
inline BYTE Stored(bool value) {
    return value ? 1 : 0;
}
inline LONG Stored(const Dimension& dimension) {
    return dimension.GetValue(storedUnits).GetIntValue(storedThreshold);
}
inline std::int64_t Stored(const UtcTime& time) {
    return time.GetTime64Value();
}

inline void AppendCounted(ByteBuffer& out, const CXString& text) {
    out.appendCountedString(text);
}
inline void AppendCounted(ByteBuffer& out, const ByteBuffer& bytes) {
    out.appendCountedBytes(bytes);
}

inline void Read(BYTE*& cursor, unsigned& remaining, LONG& number) {
    number = ByteBuffer::WalkBufferToGetLong(cursor, remaining);
}
inline void Read(BYTE*& cursor, unsigned& remaining, short& number) {
    number = ByteBuffer::WalkBufferToGetShort(cursor, remaining);
}
inline void Read(BYTE*& cursor, unsigned& remaining, bool& value) {
    value = ByteBuffer::WalkBufferToGetBool(cursor, remaining);
}
inline void Read(BYTE*& cursor, unsigned& remaining, Dimension& dimension) {
    dimension = {Number(ByteBuffer::WalkBufferToGetLong(cursor, remaining)), storedUnits};
}
inline void Read(BYTE*& cursor, unsigned& remaining, UtcTime& time) {
    time = UtcTime(ByteBuffer::WalkBufferToGetTime64(cursor, remaining));
}
inline void Read(BYTE*& cursor, unsigned& remaining, CXString& text) {
    text = ByteBuffer::WalkBufferToGetCountedString(cursor, remaining);
}
inline void Read(BYTE*& cursor, unsigned& remaining, ByteBuffer& bytes) {
    ByteBuffer::WalkBufferToGetCountedBytes(cursor, remaining, bytes);
}

template <class Member>
constexpr bool isCounted = std::is_same_v<Member, CXString> || std::is_same_v<Member, ByteBuffer>;

template <class Member>
void Append(ByteBuffer& out, const Member& member) {
    if constexpr (isCounted<Member>) {
        AppendCounted(out, member);
    } else {
        out.appendValues(Stored(member));
    }
}

/// Appends the bytes in front of a payload, and the payload.
template <class... Members, class... Head>
void AppendAll(ByteBuffer& out, const std::tuple<const Members&...>& members, Head... head) {
    std::apply(
        [&](const auto&... each) {
            if constexpr ((!isCounted<Members> && ...)) {
                out.appendValues(head..., Stored(each)...);  // at once
            } else {
                out.appendValues(head...);
                (Append(out, each), ...);
            }
        },
        members);
}

template <class... Members>
void ReadAll(BYTE*& cursor, unsigned& remaining, const std::tuple<Members&...>& members) {
    std::apply([&](auto&... each) { (Read(cursor, remaining, each), ...); }, members);
}

}  // namespace payloadmembers
