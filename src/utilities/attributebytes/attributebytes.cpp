// AttributeBytes: one attribute, an identifier with its value.
#include "utilities/attributebytes/attributebytes.h"

#include <utility>

#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

// Records with fewer bytes hold no text that is too long.
constexpr std::size_t longestTextSize = sizeof(WORD) + AttributeBytesId::maxTextLength * sizeof(WChar);

// A part of a record, which is always there.
template <class Part>
std::unique_ptr<Part> Require(std::unique_ptr<Part> part) {
    if (part == nullptr) NV_THROW(ExceptionInvalidArgumentNullPointer, "AttributeBytes::Require", __LINE__);
    return part;
}

void RequireStorable(const CXString* text) {
    if (text == nullptr || text->GetLength() <= AttributeBytesId::maxTextLength) return;
    NV_THROW(ExceptionInvalidAttributeOperationParamter, "AttributeBytes::RequireStorable", __LINE__,
             NV_TEXT("a text of %ld characters is longer than the %ld that can be kept"),
             LONG{text->GetLength()}, LONG{AttributeBytesId::maxTextLength});
}

}  // namespace

AttributeBytes::AttributeBytes(const ByteBuffer& state) {
    ImportAttributeBytesState(state);
}

AttributeBytes::AttributeBytes(std::unique_ptr<AttributeBytesId> id,
                               std::unique_ptr<AttributeBytesValue> value)
    : m_id(Require(std::move(id))), m_value(Require(std::move(value))) {}

AttributeBytes::AttributeBytes(std::unique_ptr<AttributeBytesId> id, const AttributeBytesValue& value)
    : m_id(Require(std::move(id))), m_value(value.Clone()) {}

AttributeBytes::AttributeBytes(const AttributeBytesId& id, const AttributeBytesValue& value)
    : m_id(id.Clone()), m_value(value.Clone()) {}

AttributeBytes::AttributeBytes(const AttributeBytes& other) : AttributeBytes(*other.m_id, *other.m_value) {}

AttributeBytes& AttributeBytes::operator=(const AttributeBytes& other) {
    AttributeBytes copy(other);
    m_id.swap(copy.m_id);
    m_value.swap(copy.m_value);
    return *this;
}

AttributeBytes::~AttributeBytes() = default;

void AttributeBytes::SetAttributeBytesId(std::unique_ptr<AttributeBytesId> id) {
    m_id = Require(std::move(id));
}

void AttributeBytes::SetAttributeBytesId(const AttributeBytesId& id) {
    m_id = id.Clone();
}

void AttributeBytes::SetAttributeBytesValue(std::unique_ptr<AttributeBytesValue> value) {
    m_value = Require(std::move(value));
}

void AttributeBytes::SetAttributeBytesValue(const AttributeBytesValue& value) {
    m_value = value.Clone();
}

ByteBuffer AttributeBytes::GetAttributeBytesState() const {
    ByteBuffer state;
    AppendAttributeBytesState(state);
    return state;
}

void AttributeBytes::GetAttributeBytesState(ByteBuffer& out) const {
    out = GetAttributeBytesState();
}

void AttributeBytes::AppendAttributeBytesState(ByteBuffer& out) const {
    m_id->AppendTypeAndIdentifierState(out);
    m_value->AppendTypeAndValueState(out);
}

void AttributeBytes::AppendToListState(ByteBuffer& out) const {
    const std::size_t before = out.size();
    try {
        AppendAttributeBytesState(out);
        if (out.size() - before > longestTextSize) RequireStorable(*m_id, *m_value);
    } catch (...) {
        out.resize(before);
        throw;
    }
}

void AttributeBytes::RequireStorable(const AttributeBytesId& id, const AttributeBytesValue& value) {
    ::RequireStorable(id.FindText());
    ::RequireStorable(value.FindText());
}

void AttributeBytes::ImportAttributeBytesState(const ByteBuffer& state) {
    nvutil::ByteWalk walk(state);
    m_id = AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(walk.cursor, walk.remaining);
    m_value = AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(walk.cursor, walk.remaining);
}

SharedPtr<AttributeBytes> AttributeBytes::WalkBufferToCreateAttributeBytes(BYTE*& cursor,
                                                                           unsigned& remaining) {
    auto id = AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(cursor, remaining);
    auto value = AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(cursor, remaining);
    return SharedPtr<AttributeBytes>(new AttributeBytes(std::move(id), std::move(value)));
}

bool AttributeBytes::operator==(const AttributeBytes& other) const {
    return m_id->IsEqual(*other.m_id) && m_value->IsEqual(*other.m_value);
}

bool AttributeBytes::operator<(const AttributeBytes& other) const {
    return m_id->LessThan(*other.m_id);
}

CXString AttributeBytes::GetDumpDisplayString(bool ignored) const {
    return FormatText(NV_TEXT("ID=%s value=%s"), m_id->GetDumpDisplayString(ignored),
                      m_value->GetDumpDisplayString(ignored));
}
