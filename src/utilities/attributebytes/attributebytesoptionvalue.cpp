// AttributeBytesOptionValue: the option of a feature that is chosen.
#include "utilities/attributebytes/attributebytesoptionvalue.h"

#include <utility>

#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

AttributeBytesOptionValue::AttributeBytesOptionValue()
    : AttributeBytesOptionValue(std::make_unique<AttributeBytesListOfValuesItemId>()) {}

AttributeBytesOptionValue::AttributeBytesOptionValue(const AttributeBytesId& value, bool isSpecified)
    : AttributeBytesOptionValue(value.Clone(), isSpecified) {}

AttributeBytesOptionValue::AttributeBytesOptionValue(std::unique_ptr<AttributeBytesId> value,
                                                     bool isSpecified)
    : AttributeBytesValueOfKind(isSpecified) {
    SetValue(std::move(value));
}

AttributeBytesOptionValue::AttributeBytesOptionValue(const AttributeBytesOptionValue& other)
    : AttributeBytesValueOfKind(other), m_value(other.m_value->Clone()) {}

AttributeBytesOptionValue& AttributeBytesOptionValue::operator=(const AttributeBytesOptionValue& other) {
    auto value = other.m_value->Clone();  // first, since it may fail and since `other` may be this value
    AttributeBytesValueOfKind::operator=(other);
    m_value = std::move(value);
    return *this;
}

AttributeBytesOptionValue::~AttributeBytesOptionValue() = default;

AttributeBytesValueId& AttributeBytesOptionValue::GetValueIdValue() const {
    if (m_value->GetAttributeBytesIdType() != AttributeBytesId::ABIDE_VALUE) {
        NV_THROW(ExceptionAttributeValueTypeMismatch, "AttributeBytesOptionValue::GetValueIdValue", __LINE__);
    }
    return static_cast<AttributeBytesValueId&>(*m_value);
}

AttributeBytesFeatureId& AttributeBytesOptionValue::GetFeatureIdValue() const {
    if (m_value->GetAttributeBytesIdType() != AttributeBytesId::ABIDE_FEATURE) {
        NV_THROW(ExceptionAttributeValueTypeMismatch, "AttributeBytesOptionValue::GetFeatureIdValue",
                 __LINE__);
    }
    return static_cast<AttributeBytesFeatureId&>(*m_value);
}

void AttributeBytesOptionValue::SetValue(const AttributeBytesId& value) {
    SetValue(value.Clone());
}

void AttributeBytesOptionValue::SetValue(std::unique_ptr<AttributeBytesId> value) {
    if (value == nullptr)
        NV_THROW(ExceptionInvalidArgumentNullPointer, "AttributeBytesOptionValue::SetValue", __LINE__);
    m_value = std::move(value);
}

CXString AttributeBytesOptionValue::GetDumpDisplayString(bool ignored) const {
    return FormatText(NV_TEXT("%s: Value=%s"), GetBaseDumpDisplayString(),
                      m_value->GetDumpDisplayString(ignored));
}

bool AttributeBytesOptionValue::HasEqualPayload(const AttributeBytesOptionValue& other) const {
    return m_value->IsEqual(*other.m_value);
}

bool AttributeBytesOptionValue::HasLessPayload(const AttributeBytesOptionValue& other) const {
    return m_value->LessThan(*other.m_value);
}

void AttributeBytesOptionValue::AppendTypeAndValueState(ByteBuffer& out) const {
    out.appendValues(kindByte, UnspecifiedByte());
    m_value->AppendTypeAndIdentifierState(out);
}

void AttributeBytesOptionValue::WalkBufferToSetValue(BYTE*& cursor, unsigned& remaining) {
    m_value = AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(cursor, remaining);
}
