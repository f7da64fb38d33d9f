// AttributeBytesRawList: attributes kept as the bytes of their records, parsed only when iterated.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/types.h"
#include "utilities/attributebytes/attributebyteslist.h"
#include "utilities/utilitiesdll/bytebuffer.h"

class AttributeBytesIndexedList;

/// A byte position in a raw list's records.
class NVUTIL_API AttributeBytesRawListIterator final : public AttributeBytesListIterator {
public:
    explicit AttributeBytesRawListIterator(unsigned position = 0) : m_position(position) {}

private:
    friend class AttributeBytesRawList;
    unsigned m_position;
};

/// Attributes in the order in which they were added; an identifier may come more than once.
///
/// The list is cheap to build, copy and store. Damaged records are found only when iteration reaches them,
/// which then throws ExceptionNotEnoughBytesForDesiredDataType or ExceptionUnhandledSyntax.
///
/// A raw list's state is the mark "ABRL" and then the records, without count or separators.
class NVUTIL_API AttributeBytesRawList final : public AttributeBytesList {
public:
    AttributeBytesRawList() = default;
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when `state` does not begin with the mark
    explicit AttributeBytesRawList(const ByteBuffer& state);

    ByteBuffer GetAttributeBytesRawListState() const;
    /// Replaces everything by the records of a state, without parsing them.
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when `state` does not begin with the mark
    void ImportAttributeBytesRawListState(const ByteBuffer& state);
    /// The same for `length` bytes, which must not belong to this list.
    void ImportAttributeBytesRawListState(const BYTE* state, unsigned length);
    /// Appends the mark and the records to `out`.
    void AppendAttributeBytesRawListState(ByteBuffer& out) const;
    /// Number of bytes of the state.
    unsigned GetAttributeBytesRawListStateSize() const;

    /// Replaces everything by the attributes of an indexed list, in key order.
    /// @throws ExceptionInvalidAttributeOperationParamter when a text is longer than
    ///         AttributeBytesId::maxTextLength; nothing changes then
    void ImportFromIndexedList(const AttributeBytesIndexedList& list);

    /// Parses every record, those of nested lists included, and throws what iteration would throw at a
    /// damaged one.
    void CheckRecords() const;

    bool IsEmpty() const override { return m_records.empty(); }
    bool LengthIsExactlyOne() const override;
    std::unique_ptr<AttributeBytesListIterator> GetIterator() const override;
    bool IsValid(const AttributeBytesListIterator& iterator) const override;
    AttributeBytes GetNextAttributeBytes(AttributeBytesListIterator& iterator) const override;
    /// @throws ExceptionInvalidAttributeOperationParamter as ImportFromIndexedList
    void AddAttributeBytes(const SharedPtr<AttributeBytes>& attribute) override;
    void AddAttributeBytes(const AttributeBytes& attribute) override;
    void DeleteAllAttributeBytes() override;

    AttributeBytesRawListIterator GetRawListIterator() const { return AttributeBytesRawListIterator(); }
    bool IsValidRawListIterator(const AttributeBytesRawListIterator& iterator) const {
        return iterator.m_position < m_records.getDword();
    }
    /// The attribute at the iterator, which is then advanced.
    /// @throws ExceptionIndexOutOfBounds when the iterator is not valid
    SharedPtr<AttributeBytes> GetNextAttributeBytesFromRawListIterator(
        AttributeBytesRawListIterator& iterator) const;

    /// Whether the record bytes are equal.
    bool operator==(const AttributeBytesRawList& other) const { return m_records == other.m_records; }

protected:
    SharedPtr<AttributeBytes> GetNextAttributeBytesSharedPtr(
        AttributeBytesListIterator& iterator) const override;

private:
    /// Moves to the first record of the list value at the walk; returns how many bytes lie behind the list.
    static unsigned EnterListValue(nvutil::ByteWalk& walk);
    SharedPtr<AttributeBytes> WalkRecord(AttributeBytesRawListIterator& iterator) const;

    ByteBuffer m_records;  ///< Without the mark; their count is the buffer's own size.
};
