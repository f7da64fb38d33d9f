// AttributeBytesRawList: attributes kept as the bytes of their records, parsed only when iterated.
#include "utilities/attributebytes/attributebytesrawlist.h"

#include <vector>

#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/attributebytes/statemark.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr StateMark mark("ABRL");

}  // namespace

AttributeBytesRawList::AttributeBytesRawList(const ByteBuffer& state) {
    ImportAttributeBytesRawListState(state);
}

ByteBuffer AttributeBytesRawList::GetAttributeBytesRawListState() const {
    ByteBuffer state;
    AppendAttributeBytesRawListState(state);
    return state;
}

void AttributeBytesRawList::AppendAttributeBytesRawListState(ByteBuffer& out) const {
    mark.AppendTo(out);
    out.append(m_records);
}

unsigned AttributeBytesRawList::GetAttributeBytesRawListStateSize() const {
    return StateMark::size + m_records.getDword();
}

void AttributeBytesRawList::ImportAttributeBytesRawListState(const ByteBuffer& state) {
    ImportAttributeBytesRawListState(state.getLpbyte(), state.getDword());
}

void AttributeBytesRawList::ImportAttributeBytesRawListState(const BYTE* state, unsigned length) {
    if (!mark.Begins(state, length)) {
        NV_THROW(ExceptionMissingOrBadAttributeBytesFormat,
                 "AttributeBytesRawList::ImportAttributeBytesRawListState", 330);
    }
    m_records.setWithLpbyte(state + StateMark::size, length - StateMark::size);
}

void AttributeBytesRawList::CheckRecords() const {
    nvutil::ByteWalk walk(m_records);
    std::vector<unsigned> behind;  // bytes behind each open list; no recursion, since lists may nest deeply
    for (;;) {
        for (; walk.remaining == 0; behind.pop_back()) {
            if (behind.empty()) return;
            walk.remaining = behind.back();
        }
        AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(walk.cursor, walk.remaining);
        if (walk.remaining > 0 && *walk.cursor == AttributeBytesValue::ABVTE_LIST) {
            behind.push_back(EnterListValue(walk));
        } else {
            AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(walk.cursor, walk.remaining);
        }
    }
}

unsigned AttributeBytesRawList::EnterListValue(nvutil::ByteWalk& walk) {
    ByteBuffer::WalkBufferToGetByte(walk.cursor, walk.remaining);  // kind
    ByteBuffer::WalkBufferToGetBool(walk.cursor, walk.remaining);  // unspecified
    ByteBuffer::WalkBufferToGetByte(walk.cursor, walk.remaining);  // list type
    const auto length = static_cast<unsigned>(ByteBuffer::WalkBufferToGetLong(walk.cursor, walk.remaining));
    if (length > walk.remaining) {
        NV_THROW(ExceptionNotEnoughBytesForDesiredDataType, "AttributeBytesRawList::EnterListValue",
                 __LINE__);
    }
    if (!mark.Begins(walk.cursor, length)) {
        NV_THROW(ExceptionMissingOrBadAttributeBytesFormat, "AttributeBytesRawList::EnterListValue",
                 __LINE__);
    }
    const unsigned behind = walk.remaining - length;
    walk.cursor += StateMark::size;
    walk.remaining = length - StateMark::size;
    return behind;
}

void AttributeBytesRawList::ImportFromIndexedList(const AttributeBytesIndexedList& list) {
    AttributeBytesRawList imported;
    for (auto iterator = list.GetIndexedListIterator(); list.IsValidIndexedListIterator(iterator);
         list.IncrementIndexedListIterator(iterator)) {
        imported.AddAttributeBytes(list.GetAttributeBytesRefFromIndexedListIterator(iterator));
    }
    m_records.swap(imported.m_records);
}

bool AttributeBytesRawList::LengthIsExactlyOne() const {
    if (IsEmpty()) return false;
    auto iterator = GetRawListIterator();
    WalkRecord(iterator);
    return !IsValidRawListIterator(iterator);
}

std::unique_ptr<AttributeBytesListIterator> AttributeBytesRawList::GetIterator() const {
    return std::make_unique<AttributeBytesRawListIterator>();
}

bool AttributeBytesRawList::IsValid(const AttributeBytesListIterator& iterator) const {
    return IsValidRawListIterator(AsOwnIterator<AttributeBytesRawListIterator>(iterator));
}

AttributeBytes AttributeBytesRawList::GetNextAttributeBytes(AttributeBytesListIterator& iterator) const {
    auto& position = AsOwnIterator<AttributeBytesRawListIterator>(iterator);
    if (!IsValidRawListIterator(position)) {
        NV_THROW(ExceptionIndexOutOfBounds, "AttributeBytesRawList::GetNextAttributeBytes", 164);
    }
    return *WalkRecord(position);
}

SharedPtr<AttributeBytes> AttributeBytesRawList::GetNextAttributeBytesSharedPtr(
    AttributeBytesListIterator& iterator) const {
    return GetNextAttributeBytesFromRawListIterator(AsOwnIterator<AttributeBytesRawListIterator>(iterator));
}

SharedPtr<AttributeBytes> AttributeBytesRawList::GetNextAttributeBytesFromRawListIterator(
    AttributeBytesRawListIterator& iterator) const {
    if (!IsValidRawListIterator(iterator)) {
        NV_THROW(ExceptionIndexOutOfBounds, "AttributeBytesRawList::GetNextAttributeBytesFromRawListIterator",
                 256);
    }
    return WalkRecord(iterator);
}

SharedPtr<AttributeBytes> AttributeBytesRawList::WalkRecord(AttributeBytesRawListIterator& iterator) const {
    const unsigned count = m_records.getDword();
    nvutil::ByteWalk walk(m_records.data() + iterator.m_position, count - iterator.m_position);
    auto record = AttributeBytes::WalkBufferToCreateAttributeBytes(walk.cursor, walk.remaining);
    // Taken from what remains: a list value does not move the cursor past its bytes.
    iterator.m_position = count - walk.remaining;
    return record;
}

void AttributeBytesRawList::AddAttributeBytes(const SharedPtr<AttributeBytes>& attribute) {
    if (attribute.Get() == nullptr)
        NV_THROW(ExceptionInvalidArgumentNullPointer, "AttributeBytesRawList::AddAttributeBytes", __LINE__);
    AddAttributeBytes(*attribute);
}

void AttributeBytesRawList::AddAttributeBytes(const AttributeBytes& attribute) {
    attribute.AppendToListState(m_records);
}

void AttributeBytesRawList::DeleteAllAttributeBytes() {
    m_records.clear();
}
