// AttributeBytesIndexedList: parsed attributes, found by identifier and read by type.
#include "utilities/attributebytes/attributebytesindexedlist.h"

#include <utility>

#include "utilities/attributebytes/attributebytesoptionvalue.h"
#include "utilities/attributebytes/statemark.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

constexpr StateMark mark("ABIL");

/// The text identifier that an option holds, or null when there is no option or it holds another kind.
const AttributeBytesNewValueId* NewValueIdOf(const AttributeBytesOptionValue* option) {
    if (option == nullptr) return nullptr;
    const AttributeBytesId& held = option->GetValue();
    const bool isText = held.GetAttributeBytesIdType() == AttributeBytesId::ABIDE_NEWVALUE;
    return isText ? static_cast<const AttributeBytesNewValueId*>(&held) : nullptr;
}

}  // namespace

AttributeBytesIndexedList::AttributeBytesIndexedList() = default;

AttributeBytesIndexedList::AttributeBytesIndexedList(const ByteBuffer& state) {
    ImportAttributeBytesIndexedListState(state);
}

AttributeBytesIndexedList::AttributeBytesIndexedList(const AttributeBytesIndexedList& other) = default;

AttributeBytesIndexedList::AttributeBytesIndexedList(AttributeBytesIndexedList&& other) noexcept = default;

AttributeBytesIndexedList& AttributeBytesIndexedList::operator=(const AttributeBytesIndexedList& other) =
    default;

AttributeBytesIndexedList& AttributeBytesIndexedList::operator=(AttributeBytesIndexedList&& other) noexcept =
    default;

AttributeBytesIndexedList::~AttributeBytesIndexedList() = default;

void AttributeBytesIndexedList::GetAttributeBytesIndexedListState(ByteBuffer& out) const {
    ByteBuffer state;  // `out` keeps what it has when a record is refused
    AppendAttributeBytesIndexedListState(state);
    out.swap(state);
}

void AttributeBytesIndexedList::AppendAttributeBytesIndexedListState(ByteBuffer& out) const {
    const std::size_t size = out.size();
    try {
        mark.AppendTo(out);
        AttributeBytesRawList().AppendAttributeBytesRawListState(out);
        for (const auto& [key, record] : m_records)
            record->AppendToListState(out);
    } catch (...) {
        out.resize(size);
        throw;
    }
}

void AttributeBytesIndexedList::ImportAttributeBytesIndexedListState(const ByteBuffer& state) {
    ImportAttributeBytesIndexedListState(state.getLpbyte(), state.getDword());
}

void AttributeBytesIndexedList::ImportAttributeBytesIndexedListState(const BYTE* state, unsigned length) {
    if (!mark.Begins(state, length)) {
        NV_THROW(ExceptionMissingOrBadAttributeBytesFormat,
                 "AttributeBytesIndexedList::ImportAttributeBytesIndexedListState", 395);
    }
    AttributeBytesRawList list;
    list.ImportAttributeBytesRawListState(state + StateMark::size, length - StateMark::size);
    ImportFromRawList(list);
}

void AttributeBytesIndexedList::ImportFromRawList(const AttributeBytesRawList& list) {
    UtilitiesDllPerThreadStorage::Prepare();  // the records' memory comes from what the thread keeps
    const Records replaced = std::exchange(m_records, {});  // `list` may belong to one of these records
    auto iterator = list.GetRawListIterator();
    while (list.IsValidRawListIterator(iterator))
        AddAttributeBytes(list.GetNextAttributeBytesFromRawListIterator(iterator));
}

bool AttributeBytesIndexedList::KeyLess::IsBefore(const AttributeBytesId& left,
                                                  const AttributeBytesId& right) {
    return left.IsBefore(right);
}

AttributeBytesIndexedList::SoughtKey AttributeBytesIndexedList::KeyOf(const AttributeBytesId& id) {
    return {id.GetOrderPrefix(), id};
}

void AttributeBytesIndexedList::AddAttributeBytes(const SharedPtr<AttributeBytes>& attribute) {
    if (attribute.Get() == nullptr) {
        NV_THROW(ExceptionInvalidArgumentNullPointer, "AttributeBytesIndexedList::AddAttributeBytes",
                 __LINE__);
    }
    const Key key{KeyOf(attribute->GetAttributeBytesId()).prefix, attribute.Get()};
    // Stored lists are in key order, so that the end is nearly always the place.
    const std::size_t count = m_records.size();
    m_records.emplace_hint(m_records.end(), key, attribute);
    if (m_records.size() == count) {
        NV_THROW(ExceptionDuplicateAttributeId, "AttributeBytesIndexedList::AddAttributeBytes", 317);
    }
}

void AttributeBytesIndexedList::AddAttributeBytes(const AttributeBytes& attribute) {
    AddAttributeBytes(SharedPtr<AttributeBytes>(new AttributeBytes(attribute)));
}

void AttributeBytesIndexedList::DeleteAllAttributeBytes() {
    m_records.clear();
}

void AttributeBytesIndexedList::SetAttributeBytes(const AttributeBytesId& id,
                                                  const AttributeBytesValue& value) {
    AttributeBytes::RequireStorable(id, value);
    if (AttributeBytes* record = GetAttributeBytesPtr(id)) {
        record->SetAttributeBytesValue(value);
    } else {
        AddAttributeBytes(AttributeBytes(id, value));
    }
}

void AttributeBytesIndexedList::DeleteAttributesBytes(const AttributeBytesId& id) {
    const auto found = m_records.find(KeyOf(id));
    if (found != m_records.end()) m_records.erase(found);
}

AttributeBytes* AttributeBytesIndexedList::GetAttributeBytesPtr(const AttributeBytesId& id) const {
    const auto found = m_records.find(KeyOf(id));
    return found != m_records.end() ? found->second.Get() : nullptr;
}

AttributeBytes& AttributeBytesIndexedList::GetAttributeBytesRef(const AttributeBytesId& id) const {
    AttributeBytes* record = GetAttributeBytesPtr(id);
    if (record == nullptr) {
        NV_THROW(ExceptionFeatureNotFound, "AttributeBytesIndexedList::GetAttributeBytesRef", 268);
    }
    return *record;
}

std::unique_ptr<AttributeBytesListIterator> AttributeBytesIndexedList::GetIterator() const {
    return std::make_unique<AttributeBytesIndexedListIterator>(GetIndexedListIterator());
}

AttributeBytesIndexedListIterator AttributeBytesIndexedList::GetIndexedListIterator() const {
    return AttributeBytesIndexedListIterator(m_records);
}

bool AttributeBytesIndexedList::IsValid(const AttributeBytesListIterator& iterator) const {
    return IsValidIndexedListIterator(AsOwnIterator<AttributeBytesIndexedListIterator>(iterator));
}

bool AttributeBytesIndexedList::IsValidIndexedListIterator(
    const AttributeBytesIndexedListIterator& iterator) const {
    return iterator.IsValidIn(m_records);
}

AttributeBytes AttributeBytesIndexedList::GetNextAttributeBytes(AttributeBytesListIterator& iterator) const {
    return *GetNextAttributeBytesSharedPtr(iterator);
}

SharedPtr<AttributeBytes> AttributeBytesIndexedList::GetNextAttributeBytesSharedPtr(
    AttributeBytesListIterator& iterator) const {
    auto& position = AsOwnIterator<AttributeBytesIndexedListIterator>(iterator);
    if (!IsValidIndexedListIterator(position)) {
        NV_THROW(ExceptionIndexOutOfBounds, "AttributeBytesIndexedList::GetNextAttributeBytes", 127);
    }
    return (position.m_position++)->second;
}

AttributeBytes AttributeBytesIndexedList::GetNextAttributeBytesFromIndexedListIterator(
    AttributeBytesIndexedListIterator& iterator) const {
    return GetNextAttributeBytes(iterator);
}

AttributeBytes& AttributeBytesIndexedList::GetAttributeBytesRef(
    const AttributeBytesListIterator& iterator) const {
    return GetAttributeBytesRefFromIndexedListIterator(
        AsOwnIterator<AttributeBytesIndexedListIterator>(iterator));
}

AttributeBytes& AttributeBytesIndexedList::GetAttributeBytesRefFromIndexedListIterator(
    const AttributeBytesIndexedListIterator& iterator) const {
    if (!IsValidIndexedListIterator(iterator)) {
        NV_THROW(ExceptionIndexOutOfBounds, "AttributeBytesIndexedList::GetAttributeBytesRef", 169);
    }
    return *iterator.m_position->second;
}

void AttributeBytesIndexedList::Increment(AttributeBytesListIterator& iterator) const {
    IncrementIndexedListIterator(AsOwnIterator<AttributeBytesIndexedListIterator>(iterator));
}

void AttributeBytesIndexedList::IncrementIndexedListIterator(
    AttributeBytesIndexedListIterator& iterator) const {
    if (IsValidIndexedListIterator(iterator)) ++iterator.m_position;
}

const AttributeBytesValue* AttributeBytesIndexedList::GetAttributeBytesValue(
    const AttributeBytesId& id, AttributeBytesValue::AttributeBytesValueEnum expectedKind,
    bool* isSpecified) const {
    const AttributeBytes* record = GetAttributeBytesPtr(id);
    const AttributeBytesValue* value = record != nullptr ? &record->GetAttributeBytesValue() : nullptr;
    if (value != nullptr && value->GetAttributeBytesValueType() != expectedKind) {
        NV_THROW(ExceptionAttributeValueTypeMismatch, "AttributeBytesIndexedList::GetAttributeBytesValue",
                 839);
    }
    if (isSpecified != nullptr) *isSpecified = value != nullptr && value->IsSpecified();
    return value;
}

template <class Value>
const Value* AttributeBytesIndexedList::FindSpecified(const AttributeBytesId& id, bool* isSpecified) const {
    const auto* value = static_cast<const Value*>(GetAttributeBytesValue(id, Value::kind, isSpecified));
    return value != nullptr && value->IsSpecified() ? value : nullptr;
}

DataModelIds::tagValueEnum AttributeBytesIndexedList::GetOptionValue(const AttributeBytesId& id,
                                                                     bool* isSpecified) const {
    const auto* option = FindSpecified<AttributeBytesOptionValue>(id, isSpecified);
    const bool isNumber =
        option != nullptr && option->GetValue().GetAttributeBytesIdType() == AttributeBytesId::ABIDE_VALUE;
    return isNumber ? static_cast<DataModelIds::tagValueEnum>(option->GetValueIdValue().GetValueId())
                    : DataModelIds::VALUE_NONE;
}

DataModelIds::tagValueEnum AttributeBytesIndexedList::GetOptionValueByIndex(LONG index,
                                                                            bool* isSpecified) const {
    return GetOptionValue(AttributeBytesListOfValuesItemId(index), isSpecified);
}

DataModelIds::tagValueEnum AttributeBytesIndexedList::GetOptionValueOrNewId(const AttributeBytesId& id,
                                                                            CXString& newId,
                                                                            bool* isSpecified) const {
    const auto* option = FindSpecified<AttributeBytesOptionValue>(id, isSpecified);
    const AttributeBytesNewValueId* held = NewValueIdOf(option);
    if (held == nullptr) return GetOptionValue(id);
    newId = held->GetNewValueId();
    return DataModelIds::VALUE_NEW_ID;
}

CXString AttributeBytesIndexedList::GetNewOptionValueId(const AttributeBytesId& id, bool* isSpecified) const {
    const auto* held = NewValueIdOf(FindSpecified<AttributeBytesOptionValue>(id, isSpecified));
    return held != nullptr ? held->GetNewValueId() : CXString();
}

CXString AttributeBytesIndexedList::GetStringValue(const AttributeBytesId& id, bool* isSpecified) const {
    const auto* value = FindSpecified<AttributeBytesStringValue>(id, isSpecified);
    return value != nullptr ? value->GetValue() : CXString();
}

LONG AttributeBytesIndexedList::GetIntegerValue(const AttributeBytesId& id, bool* isSpecified) const {
    const auto* value = FindSpecified<AttributeBytesIntegerValue>(id, isSpecified);
    return value != nullptr ? value->GetValue() : 0;
}

Dimension AttributeBytesIndexedList::GetDimensionValue(const AttributeBytesId& id, bool* isSpecified) const {
    const auto* value = FindSpecified<AttributeBytesDimensionValue>(id, isSpecified);
    return value != nullptr ? value->GetValue() : Dimension();
}

void AttributeBytesIndexedList::GetDataBlobValue(const AttributeBytesId& id, ByteBuffer& out,
                                                 bool* isSpecified) const {
    const auto* value = FindSpecified<AttributeBytesDataBlobValue>(id, isSpecified);
    if (value != nullptr) out = value->GetValue();
}

UtcTime AttributeBytesIndexedList::GetDateTimeValue(const AttributeBytesId& id, bool* isSpecified) const {
    const auto* value = FindSpecified<AttributeBytesDateTimeValue>(id, isSpecified);
    return value != nullptr ? value->GetValue() : UtcTime();
}

bool AttributeBytesIndexedList::GetBooleanValue(const AttributeBytesId& id, bool* isSpecified) const {
    const auto* value = FindSpecified<AttributeBytesBooleanValue>(id, isSpecified);
    return value != nullptr && value->GetValue();
}

bool AttributeBytesIndexedList::GetCollection(const AttributeBytesId& id,
                                              AttributeBytesIndexedList& out) const {
    const auto* value = FindSpecified<AttributeBytesListValue>(id, nullptr);
    if (value == nullptr) return false;
    AttributeBytesIndexedList items;  // `out` may be this list, and keeps what it has when one is damaged
    items.ImportFromRawList(value->GetValue());
    out = std::move(items);
    return true;
}

bool AttributeBytesIndexedList::GetCollectionByIndex(LONG index, AttributeBytesIndexedList& out) const {
    return GetCollection(AttributeBytesListOfValuesItemId(index), out);
}

void AttributeBytesIndexedList::GetPaperSizeValues(const AttributeBytesId& id, Dimension& width,
                                                   Dimension& height, bool* isSpecified) const {
    AttributeBytesIndexedList size;
    if (!GetCollection(id, size)) {
        if (isSpecified != nullptr) *isSpecified = false;
        return;
    }
    const Dimension newWidth =
        size.GetDimensionValue(AttributeBytesFeatureId(DataModelIds::FEATURE_PAPER_WIDTH));
    height = size.GetDimensionValue(AttributeBytesFeatureId(DataModelIds::FEATURE_PAPER_HEIGHT), isSpecified);
    width = newWidth;
}
