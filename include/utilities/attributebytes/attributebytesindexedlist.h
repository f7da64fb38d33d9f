// AttributeBytesIndexedList: parsed attributes, found by identifier and read by type.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebyteslist.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/attributebytes/datamodelids.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/dimension.h"
#include "utilities/utilitiesdll/sharedptr.h"
#include "utilities/utilitiesdll/smallobject.h"
#include "utilities/utilitiesdll/utctime.h"

class AttributeBytesIndexedListIterator;

/// Attributes in the order of their identifiers, each identifier once. The order is
/// AttributeBytesId::LessThan; where that says less both ways, as it can of two capabilities, the feature
/// decides.
///
/// Records are shared: a copy of a list holds the same records, and what changes a record through one list is
/// seen through the other.
///
/// An indexed list's state is the mark "ABIL" and then the state of a raw list with the records in key order.
class NVUTIL_API AttributeBytesIndexedList final : public AttributeBytesList {
public:
    AttributeBytesIndexedList();
    /// Reads a state; see ImportAttributeBytesIndexedListState.
    explicit AttributeBytesIndexedList(const ByteBuffer& state);
    AttributeBytesIndexedList(const AttributeBytesIndexedList& other);
    AttributeBytesIndexedList(AttributeBytesIndexedList&& other) noexcept;
    AttributeBytesIndexedList& operator=(const AttributeBytesIndexedList& other);
    AttributeBytesIndexedList& operator=(AttributeBytesIndexedList&& other) noexcept;
    ~AttributeBytesIndexedList() override;

    // An attribute whose text has more than 32,767 code units can be held but not written:
    // @throws ExceptionInvalidAttributeOperationParamter; `out` stays as it is

    /// Replaces `out` by the list's state.
    void GetAttributeBytesIndexedListState(ByteBuffer& out) const;
    /// Appends the list's state to `out`.
    void AppendAttributeBytesIndexedListState(ByteBuffer& out) const;
    /// Replaces everything by the attributes of a state.
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when a mark is missing, and what damaged or repeated
    ///         records throw; the attributes before them stay
    void ImportAttributeBytesIndexedListState(const ByteBuffer& state);
    /// The same for `length` bytes.
    void ImportAttributeBytesIndexedListState(const BYTE* state, unsigned length);
    /// Replaces everything by the attributes of a raw list.
    /// @throws ExceptionDuplicateAttributeId at the first repeated identifier, and what damaged records
    /// throw;
    ///         the attributes before it stay
    void ImportFromRawList(const AttributeBytesRawList& list);

    bool IsEmpty() const override { return m_records.empty(); }
    bool LengthIsExactlyOne() const override { return m_records.size() == 1; }
    /// Number of attributes.
    std::size_t GetCount() const { return m_records.size(); }
    std::unique_ptr<AttributeBytesListIterator> GetIterator() const override;
    bool IsValid(const AttributeBytesListIterator& iterator) const override;
    AttributeBytes GetNextAttributeBytes(AttributeBytesListIterator& iterator) const override;
    /// Adds a record, which the list then shares.
    /// @throws ExceptionDuplicateAttributeId when the identifier is present, and
    /// ExceptionInvalidArgumentNullPointer when there is no record; the list stays as it is
    void AddAttributeBytes(const SharedPtr<AttributeBytes>& attribute) override;
    void AddAttributeBytes(const AttributeBytes& attribute) override;
    void DeleteAllAttributeBytes() override;

    /// Gives the attribute this value, adding it when it is absent. Both arguments are cloned.
    /// @throws ExceptionInvalidAttributeOperationParamter when a text of theirs has more than 32,767 code
    /// units
    void SetAttributeBytes(const AttributeBytesId& id, const AttributeBytesValue& value);
    /// Removes the attribute when it is present.
    void DeleteAttributesBytes(const AttributeBytesId& id);  // spelled so deliberately

    /// The record of an identifier, or null; valid until it is removed from all lists that share it.
    AttributeBytes* GetAttributeBytesPtr(const AttributeBytesId& id) const;
    /// The record of an identifier.
    /// @throws ExceptionFeatureNotFound when it is absent
    AttributeBytes& GetAttributeBytesRef(const AttributeBytesId& id) const;

    // Iteration in key order. Removing the attribute at an iterator ends that iterator; emptying or filling
    // the list anew ends all.
    AttributeBytesIndexedListIterator GetIndexedListIterator() const;
    bool IsValidIndexedListIterator(const AttributeBytesIndexedListIterator& iterator) const;
    // @throws ExceptionIndexOutOfBounds when the iterator is not valid
    AttributeBytes GetNextAttributeBytesFromIndexedListIterator(
        AttributeBytesIndexedListIterator& iterator) const;
    AttributeBytes& GetAttributeBytesRefFromIndexedListIterator(
        const AttributeBytesIndexedListIterator& iterator) const;
    AttributeBytes& GetAttributeBytesRef(const AttributeBytesListIterator& iterator) const;
    /// Advances a valid iterator; one past the end stays there.
    void IncrementIndexedListIterator(AttributeBytesIndexedListIterator& iterator) const;
    void Increment(AttributeBytesListIterator& iterator) const;

    // Typed reading. `isSpecified`, when not null, receives whether the attribute is present and its value is
    // specified. An attribute that is absent or not specified gives the result named last.
    // @throws ExceptionAttributeValueTypeMismatch when the attribute is present with a value of another kind

    /// The number of the held value identifier; VALUE_NONE when another kind of identifier is held.
    DataModelIds::tagValueEnum GetOptionValue(const AttributeBytesId& id, bool* isSpecified = nullptr) const;
    DataModelIds::tagValueEnum GetOptionValueByIndex(LONG index, bool* isSpecified = nullptr) const;
    /// The same; for a held new value identifier, VALUE_NEW_ID with its text in `newId`.
    DataModelIds::tagValueEnum GetOptionValueOrNewId(const AttributeBytesId& id, CXString& newId,
                                                     bool* isSpecified = nullptr) const;
    /// The text of a held new value identifier, or empty.
    CXString GetNewOptionValueId(const AttributeBytesId& id, bool* isSpecified = nullptr) const;
    /// The text, or empty.
    CXString GetStringValue(const AttributeBytesId& id, bool* isSpecified = nullptr) const;
    /// The number, or 0.
    LONG GetIntegerValue(const AttributeBytesId& id, bool* isSpecified = nullptr) const;
    /// The length, or a default Dimension.
    Dimension GetDimensionValue(const AttributeBytesId& id, bool* isSpecified = nullptr) const;
    /// Replaces `out` by the bytes, or leaves it untouched.
    void GetDataBlobValue(const AttributeBytesId& id, ByteBuffer& out, bool* isSpecified = nullptr) const;
    /// The time, or a default UtcTime.
    UtcTime GetDateTimeValue(const AttributeBytesId& id, bool* isSpecified = nullptr) const;
    /// The flag, or false.
    bool GetBooleanValue(const AttributeBytesId& id, bool* isSpecified = nullptr) const;
    /// Replaces `out` by the attributes of a list value; false leaves it untouched, and so does what damaged
    /// or repeated records throw.
    bool GetCollection(const AttributeBytesId& id, AttributeBytesIndexedList& out) const;
    bool GetCollectionByIndex(LONG index, AttributeBytesIndexedList& out) const;
    /// Width and height from a list value that holds them as dimensions of the features FEATURE_PAPER_WIDTH
    /// and FEATURE_PAPER_HEIGHT. Without the list, the lengths stay unchanged and the flag is false; the flag
    /// is otherwise the height's.
    void GetPaperSizeValues(const AttributeBytesId& id, Dimension& width, Dimension& height,
                            bool* isSpecified = nullptr) const;

protected:
    SharedPtr<AttributeBytes> GetNextAttributeBytesSharedPtr(
        AttributeBytesListIterator& iterator) const override;

private:
    friend class AttributeBytesIndexedListIterator;

    /// What records are ordered by: as much of the identifier's order as one comparison of numbers can
    /// settle, and the record for what is left.
    struct Key {
        std::uint64_t prefix;
        const AttributeBytes* record;
        const AttributeBytesId& Id() const { return record->GetAttributeBytesId(); }
    };
    /// An identifier that is looked for.
    struct SoughtKey {
        std::uint64_t prefix;
        const AttributeBytesId& id;
        const AttributeBytesId& Id() const { return id; }
    };
    struct KeyLess {
        using is_transparent = void;
        template <class Left, class Right>
        bool operator()(const Left& left, const Right& right) const {
            return left.prefix != right.prefix ? left.prefix < right.prefix : IsBefore(left.Id(), right.Id());
        }
        static bool IsBefore(const AttributeBytesId& left, const AttributeBytesId& right);
    };
    using Records = std::map<Key, SharedPtr<AttributeBytes>, KeyLess,
                             nvutil::SmallObjectAllocator<std::pair<const Key, SharedPtr<AttributeBytes>>>>;

    static SoughtKey KeyOf(const AttributeBytesId& id);
    /// The value of an identifier when it is present and specified, or null.
    template <class Value>
    const Value* FindSpecified(const AttributeBytesId& id, bool* isSpecified) const;
    const AttributeBytesValue* GetAttributeBytesValue(
        const AttributeBytesId& id, AttributeBytesValue::AttributeBytesValueEnum expectedKind,
        bool* isSpecified) const;

    Records m_records;
};

/// A place in an indexed list's key order.
class NVUTIL_API AttributeBytesIndexedListIterator final : public AttributeBytesListIterator {
private:
    friend class AttributeBytesIndexedList;
    using Records = AttributeBytesIndexedList::Records;
    explicit AttributeBytesIndexedListIterator(const Records& records)
        : m_records(&records), m_position(records.begin()) {}

    bool IsValidIn(const Records& records) const {
        return m_records == &records && m_position != records.end();
    }

    const Records* m_records;
    Records::const_iterator m_position;
};
