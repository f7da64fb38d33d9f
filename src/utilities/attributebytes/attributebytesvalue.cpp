// Attribute values: their bytes, their order and their displays.
#include "utilities/attributebytes/attributebytesvalue.h"

#include <algorithm>
#include <utility>

#include "utilities/attributebytes/attributebytesvaluefactory.h"
#include "utilities/attributebytes/payloadmembers.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

// The names of the kinds, from ABVTE_UNSPECIFIED on.
constexpr const WChar* kindNames[] = {
    NV_TEXT("ABVTE_UNSPECIFIED"),      NV_TEXT("ABVTE_OPTION"),    NV_TEXT("ABVTE_INTEGER"),
    NV_TEXT("ABVTE_STRING"),           NV_TEXT("ABVTE_BOOLEAN"),   NV_TEXT("ABVTE_RANGE"),
    NV_TEXT("ABVTE_RANGEOFDIMENSION"), NV_TEXT("ABVTE_DIMENSION"), NV_TEXT("ABVTE_RESOLUTION"),
    NV_TEXT("ABVTE_DATABLOB"),         NV_TEXT("ABVTE_LIST"),      NV_TEXT("ABVTE_DATETIME"),
};

}  // namespace

// Writer and reader of a class that states its members.
#define NV_PAYLOAD_BYTES(Class)                                                      \
    void Class::AppendTypeAndValueState(ByteBuffer& out) const {                     \
        payloadmembers::AppendAll(out, Members(*this), kindByte, UnspecifiedByte()); \
    }                                                                                \
    void Class::WalkBufferToSetValue(BYTE*& cursor, unsigned& remaining) {           \
        payloadmembers::ReadAll(cursor, remaining, Members(*this));                  \
    }

#define NV_PAYLOAD_EQUALITY(Class)                          \
    bool Class::HasEqualPayload(const Class& other) const { \
        return Members(*this) == Members(other);            \
    }

#define NV_PAYLOAD_ORDER(Class)                            \
    bool Class::HasLessPayload(const Class& other) const { \
        return Members(*this) < Members(other);            \
    }

#define NV_PAYLOAD(Class) NV_PAYLOAD_BYTES(Class) NV_PAYLOAD_EQUALITY(Class) NV_PAYLOAD_ORDER(Class)

AttributeBytesValue::~AttributeBytesValue() = default;

bool AttributeBytesValue::IsList() const {
    return false;
}

void AttributeBytesValue::Dump(bool /*ignored*/) const {}

ByteBuffer AttributeBytesValue::GetTypeAndValueState() const {
    ByteBuffer state;
    AppendTypeAndValueState(state);
    return state;
}

void AttributeBytesValue::GetTypeAndValueState(ByteBuffer& out) const {
    out = GetTypeAndValueState();
}

unsigned AttributeBytesValue::GetTypeAndValueState(BYTE* buffer, unsigned size) const {
    const ByteBuffer state = GetTypeAndValueState();
    if (size < state.size()) {
        NV_THROW(ExceptionNotEnoughBytesForDesiredDataType, "AttributeBytesValue::GetTypeAndValueState",
                 __LINE__);
    }
    std::copy(state.begin(), state.end(), buffer);
    return state.getDword();
}

std::unique_ptr<AttributeBytesValue> AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(
    BYTE*& cursor, unsigned& remaining) {
    const BYTE kind = ByteBuffer::WalkBufferToGetByte(cursor, remaining);
    auto value =
        AttributeBytesValueFactory().CreateAttributeBytesValue(static_cast<AttributeBytesValueEnum>(kind));
    value->SetIsSpecified(!ByteBuffer::WalkBufferToGetBool(cursor, remaining));
    value->WalkBufferToSetValue(cursor, remaining);
    return value;
}

AttributeBytesListValue& AttributeBytesValue::GetListValue() {
    return const_cast<AttributeBytesListValue&>(std::as_const(*this).GetListValue());
}

const AttributeBytesListValue& AttributeBytesValue::GetListValue() const {
    if (!IsList()) {
        NV_THROW(ExceptionAttributeValueTypeMismatch, "AttributeBytesValue::GetListValue", __LINE__);
    }
    return static_cast<const AttributeBytesListValue&>(*this);
}

CXString AttributeBytesValue::GetDebugDisplayString(AttributeBytesValueEnum kind) {
    const bool isKnown = kind >= ABVTE_UNSPECIFIED && kind <= ABVTE_DATETIME;
    return isKnown ? kindNames[kind - ABVTE_UNSPECIFIED] : NV_TEXT("UNKNOWN!");
}

CXString AttributeBytesValue::GetTypeDebugDisplayString() const {
    return GetDebugDisplayString(GetAttributeBytesValueType());
}

CXString AttributeBytesValue::GetBaseDumpDisplayString() const {
    return FormatText(NV_TEXT("%s value %s"), GetTypeDebugDisplayString(),
                      m_isSpecified ? NV_TEXT("<specified>") : NV_TEXT("<unspecified>"));
}

bool AttributeBytesValue::operator==(const AttributeBytesValue& other) const {
    return GetAttributeBytesValueType() == other.GetAttributeBytesValueType() &&
           m_isSpecified == other.m_isSpecified;
}

// Integer

NV_PAYLOAD(AttributeBytesIntegerValue)

CXString AttributeBytesIntegerValue::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: Value=%ld (0x%lx)"), GetBaseDumpDisplayString(), m_value, m_value);
}

// String

NV_PAYLOAD(AttributeBytesStringValue)

CXString AttributeBytesStringValue::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: Value='%s'"), GetBaseDumpDisplayString(), m_value);
}

// Boolean

NV_PAYLOAD(AttributeBytesBooleanValue)

CXString AttributeBytesBooleanValue::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: Value=%s"), GetBaseDumpDisplayString(),
                      m_value ? NV_TEXT("TRUE") : NV_TEXT("FALSE"));
}

// Range

NV_PAYLOAD(AttributeBytesRangeValue)

void AttributeBytesRangeValue::GetValue(LONG& low, LONG& high) const {
    low = m_low;
    high = m_high;
}

void AttributeBytesRangeValue::SetValue(LONG low, LONG high) {
    m_low = low;
    m_high = high;
}

CXString AttributeBytesRangeValue::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: Low Value=%ld High Value=%ld"), GetBaseDumpDisplayString(), m_low, m_high);
}

// Range of dimension

NV_PAYLOAD(AttributeBytesRangeOfDimensionValue)

void AttributeBytesRangeOfDimensionValue::GetValue(Dimension& low, Dimension& high) const {
    low = m_low;
    high = m_high;
}

void AttributeBytesRangeOfDimensionValue::SetValue(const Dimension& low, const Dimension& high) {
    m_low = low;
    m_high = high;
}

CXString AttributeBytesRangeOfDimensionValue::GetDumpDisplayString(bool ignored) const {
    return FormatText(NV_TEXT("%s: [%s, %s]"), GetBaseDumpDisplayString(),
                      m_low.GetDumpDisplayString(ignored), m_high.GetDumpDisplayString(ignored));
}

// Dimension

NV_PAYLOAD(AttributeBytesDimensionValue)

CXString AttributeBytesDimensionValue::GetDumpDisplayString(bool ignored) const {
    return FormatText(NV_TEXT("%s: Value=%s"), GetBaseDumpDisplayString(),
                      m_value.GetDumpDisplayString(ignored));
}

// Resolution

void AttributeBytesResolutionValue::GetValue(LONG& crossFeed, LONG& feed, short& units) const {
    crossFeed = m_crossFeed;
    feed = m_feed;
    units = m_units;
}

void AttributeBytesResolutionValue::SetValue(LONG crossFeed, LONG feed, short units) {
    m_crossFeed = crossFeed;
    m_feed = feed;
    m_units = units;
}

CXString AttributeBytesResolutionValue::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: Cross-Feed Value=%ld, Feed Value=%ld, Units Value=%ld"),
                      GetBaseDumpDisplayString(), m_crossFeed, m_feed, LONG{m_units});
}

NV_PAYLOAD_BYTES(AttributeBytesResolutionValue)
NV_PAYLOAD_EQUALITY(AttributeBytesResolutionValue)

// The units take no part.
bool AttributeBytesResolutionValue::HasLessPayload(const AttributeBytesResolutionValue& other) const {
    return m_feed != other.m_feed ? m_feed < other.m_feed : m_crossFeed < other.m_crossFeed;
}

// Data blob

NV_PAYLOAD(AttributeBytesDataBlobValue)

CXString AttributeBytesDataBlobValue::GetDumpDisplayString(bool /*ignored*/) const {
    constexpr std::size_t longestShown = 79;  // bytes
    const auto size = static_cast<LONG>(m_value.size());
    if (m_value.size() > longestShown)
        return FormatText(NV_TEXT("%s: Value=%ld bytes"), GetBaseDumpDisplayString(), size);
    return FormatText(NV_TEXT("%s: Value=%ld bytes, '%s'"), GetBaseDumpDisplayString(), size,
                      m_value.GetDumpDisplayString());
}

// List

CXString AttributeBytesListValue::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: Value is a list (of type %d / 0x%lx)"), GetBaseDumpDisplayString(),
                      m_listType, LONG{m_listType});
}

bool AttributeBytesListValue::HasEqualPayload(const AttributeBytesListValue& other) const {
    return m_listType == other.m_listType && m_value == other.m_value;
}

bool AttributeBytesListValue::HasLessPayload(const AttributeBytesListValue& /*other*/) const {
    return false;
}

void AttributeBytesListValue::AppendTypeAndValueState(ByteBuffer& out) const {
    out.appendValues(kindByte, UnspecifiedByte(), m_listType, m_value.GetAttributeBytesRawListStateSize());
    m_value.AppendAttributeBytesRawListState(out);
}

void AttributeBytesListValue::WalkBufferToSetValue(BYTE*& cursor, unsigned& remaining) {
    m_listType = ByteBuffer::WalkBufferToGetByte(cursor, remaining);
    const auto count = static_cast<unsigned>(ByteBuffer::WalkBufferToGetLong(cursor, remaining));
    if (count > remaining) {
        NV_THROW(ExceptionNotEnoughBytesForDesiredDataType, "AttributeBytesListValue::WalkBufferToSetValue",
                 __LINE__);
    }
    m_value.ImportAttributeBytesRawListState(cursor, count);
    remaining -= count;  // the cursor stays in front of the list: deliberate, walkers count what remains
}

// Date and time

CXString AttributeBytesDateTimeValue::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: Value='%s'"), GetBaseDumpDisplayString(), m_value.GetDisplayString());
}

NV_PAYLOAD_BYTES(AttributeBytesDateTimeValue)

// Both comparisons look at the low 32 bits only: deliberate, stored settings are matched that way.
bool AttributeBytesDateTimeValue::HasEqualPayload(const AttributeBytesDateTimeValue& other) const {
    return static_cast<LONG>(m_value.GetTime64Value()) == static_cast<LONG>(other.m_value.GetTime64Value());
}

bool AttributeBytesDateTimeValue::HasLessPayload(const AttributeBytesDateTimeValue& other) const {
    return static_cast<LONG>(m_value.GetTime64Value()) < static_cast<LONG>(other.m_value.GetTime64Value());
}
