// Attribute identifiers: their bytes, their order and their displays.
#include "utilities/attributebytes/attributebytesid.h"

#include <algorithm>

#include "utilities/attributebytes/attributebytesidfactory.h"
#include "utilities/attributebytes/payloadmembers.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

// The names of the kinds, from ABIDE_UNSPECIFIED on.
constexpr const WChar* kindNames[] = {
    NV_TEXT("ABIDE_UNSPECIFIED"), NV_TEXT("ABIDE_FEATURE"),       NV_TEXT("ABIDE_NEWFEATURE"),
    NV_TEXT("ABIDE_VALUE"),       NV_TEXT("ABIDE_NEWVALUE"),      NV_TEXT("ABIDE_LISTOFVALUESITEM"),
    NV_TEXT("ABIDE_CAPABILITY"),  NV_TEXT("ABIDE_NEWCAPABILITY"), NV_TEXT("ABIDE_NAMESPACE"),
};

}  // namespace

// Writer, reader and equality of a class that states its members.
#define NV_PAYLOAD(Class)                                                       \
    void Class::AppendTypeAndIdentifierState(ByteBuffer& out) const {           \
        payloadmembers::AppendAll(out, Members(*this), kindByte);               \
    }                                                                           \
    void Class::WalkBufferToSetIdentifier(BYTE*& cursor, unsigned& remaining) { \
        payloadmembers::ReadAll(cursor, remaining, Members(*this));             \
    }                                                                           \
    bool Class::HasEqualPayload(const Class& other) const {                     \
        return Members(*this) == Members(other);                                \
    }

AttributeBytesId::~AttributeBytesId() = default;

void AttributeBytesId::Dump(bool /*ignored*/) const {}

ByteBuffer AttributeBytesId::GetTypeAndIdentifierState() const {
    ByteBuffer state;
    AppendTypeAndIdentifierState(state);
    return state;
}

void AttributeBytesId::GetTypeAndIdentifierState(ByteBuffer& out) const {
    out = GetTypeAndIdentifierState();
}

unsigned AttributeBytesId::GetTypeAndIdentifierState(BYTE* buffer, unsigned size) const {
    const ByteBuffer state = GetTypeAndIdentifierState();
    if (size < state.size()) {
        NV_THROW(ExceptionNotEnoughBytesForDesiredDataType, "AttributeBytesId::GetTypeAndIdentifierState",
                 77);
    }
    std::copy(state.begin(), state.end(), buffer);
    return state.getDword();
}

std::unique_ptr<AttributeBytesId> AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(
    BYTE*& cursor, unsigned& remaining) {
    const BYTE kind = ByteBuffer::WalkBufferToGetByte(cursor, remaining);
    auto identifier =
        AttributeBytesIdFactory().CreateAttributeBytesId(static_cast<AttributeBytesIdEnum>(kind));
    identifier->WalkBufferToSetIdentifier(cursor, remaining);
    return identifier;
}

CXString AttributeBytesId::GetDebugDisplayString(AttributeBytesIdEnum kind) {
    const bool isKnown = kind >= ABIDE_UNSPECIFIED && kind <= ABIDE_NAMESPACE;
    return isKnown ? kindNames[kind - ABIDE_UNSPECIFIED] : NV_TEXT("UNKNOWN!");
}

CXString AttributeBytesId::GetTypeDebugDisplayString() const {
    return GetDebugDisplayString(GetAttributeBytesIdType());
}

CXString AttributeBytesId::GetBaseDumpDisplayString() const {
    return GetTypeDebugDisplayString() + NV_TEXT(" AttributeBytes Id");
}

bool AttributeBytesId::operator==(const AttributeBytesId& other) const {
    return GetAttributeBytesIdType() == other.GetAttributeBytesIdType();
}

bool AttributeBytesId::operator<(const AttributeBytesId& other) const {
    return GetAttributeBytesIdType() < other.GetAttributeBytesIdType();
}

std::uint64_t AttributeBytesId::MakeOrderPrefix(AttributeBytesIdEnum kind, LONG number, short type) {
    // Flipped sign bits let negative numbers come first.
    const std::uint64_t orderedNumber = static_cast<std::uint32_t>(number) ^ 0x80000000u;
    const std::uint64_t orderedType = static_cast<WORD>(type) ^ 0x8000u;
    return static_cast<std::uint64_t>(kind) << 56 | orderedNumber << 16 | orderedType;
}

std::uint64_t AttributeBytesId::MakeOrderPrefix(AttributeBytesIdEnum kind, const CXString& text) {
    auto prefix = static_cast<std::uint64_t>(kind) << 56;
    const int count = std::min(text.GetLength(), 3);
    for (int i = 0; i < count; ++i)
        prefix |= std::uint64_t{static_cast<WORD>(text.GetAt(i))} << (32 - 16 * i);
    return prefix;
}

CXString AttributeBytesFeatureId::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: %ld (0x%lx)"), GetBaseDumpDisplayString(), m_number, m_number);
}

CXString AttributeBytesValueId::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: %ld (0x%lx)"), GetBaseDumpDisplayString(), m_number, m_number);
}

CXString AttributeBytesListOfValuesItemId::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: index %ld"), GetBaseDumpDisplayString(), m_number);
}

CXString AttributeBytesNameSpacesId::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: %ld"), GetBaseDumpDisplayString(), m_number);
}

CXString AttributeBytesCapabilityId::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: feature %ld (0x%x), type %d (0x%x)"), GetBaseDumpDisplayString(),
                      m_featureId, m_featureId, m_capabilityType, m_capabilityType);
}

NV_PAYLOAD(AttributeBytesCapabilityId)

bool AttributeBytesCapabilityId::HasLessPayload(const AttributeBytesCapabilityId& other) const {
    return m_featureId < other.m_featureId || m_capabilityType < other.m_capabilityType;
}

bool AttributeBytesCapabilityId::IsBefore(const AttributeBytesId& other) const {
    if (GetAttributeBytesIdType() != other.GetAttributeBytesIdType()) return LessThan(other);
    const auto& that = static_cast<const AttributeBytesCapabilityId&>(other);
    return GetOrderPrefix() < that.GetOrderPrefix();
}

std::uint64_t AttributeBytesCapabilityId::GetOrderPrefix() const {
    return MakeOrderPrefix(ABIDE_CAPABILITY, m_featureId, m_capabilityType);
}

CXString AttributeBytesNewCapabilityId::GetDumpDisplayString(bool /*ignored*/) const {
    return FormatText(NV_TEXT("%s: feature %s, type %d (0x%x)"), GetBaseDumpDisplayString(), m_newFeatureId,
                      m_capabilityType, m_capabilityType);
}

NV_PAYLOAD(AttributeBytesNewCapabilityId)

bool AttributeBytesNewCapabilityId::HasLessPayload(const AttributeBytesNewCapabilityId& other) const {
    return m_newFeatureId.Compare(other.m_newFeatureId) < 0 || m_capabilityType < other.m_capabilityType;
}

bool AttributeBytesNewCapabilityId::IsBefore(const AttributeBytesId& other) const {
    if (GetAttributeBytesIdType() != other.GetAttributeBytesIdType()) return LessThan(other);
    const auto& that = static_cast<const AttributeBytesNewCapabilityId&>(other);
    const int names = m_newFeatureId.Compare(that.m_newFeatureId);
    return names != 0 ? names < 0 : m_capabilityType < that.m_capabilityType;
}

std::uint64_t AttributeBytesNewCapabilityId::GetOrderPrefix() const {
    return MakeOrderPrefix(ABIDE_NEWCAPABILITY, m_newFeatureId);
}
