// AttributeBytes: one attribute, an identifier with its value.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesvalue.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/sharedptr.h"
#include "utilities/utilitiesdll/smallobject.h"

/// A record that owns an identifier and a value. Copies are deep; lists share records through SharedPtr.
///
/// Its bytes are those of the identifier and then those of the value, with nothing around them.
class NVUTIL_API AttributeBytes : public nvutil::SmallObject {
public:
    /// Reads a record; see ImportAttributeBytesState.
    explicit AttributeBytes(const ByteBuffer& state);
    // Takes ownership of what is passed as a pointer, and clones what is passed as a reference.
    // @throws ExceptionInvalidArgumentNullPointer for a null pointer
    AttributeBytes(std::unique_ptr<AttributeBytesId> id, std::unique_ptr<AttributeBytesValue> value);
    AttributeBytes(std::unique_ptr<AttributeBytesId> id, const AttributeBytesValue& value);
    AttributeBytes(const AttributeBytesId& id, const AttributeBytesValue& value);
    // There are no moves, so that every record keeps both parts.
    AttributeBytes(const AttributeBytes& other);
    AttributeBytes& operator=(const AttributeBytes& other);
    ~AttributeBytes();

    AttributeBytesId& GetAttributeBytesId() { return *m_id; }
    const AttributeBytesId& GetAttributeBytesId() const { return *m_id; }
    AttributeBytesValue& GetAttributeBytesValue() { return *m_value; }
    const AttributeBytesValue& GetAttributeBytesValue() const { return *m_value; }

    // The identifier of a record that an indexed list holds must not be changed: the list is ordered by it.
    // @throws ExceptionInvalidArgumentNullPointer for a null pointer; nothing changes then
    void SetAttributeBytesId(std::unique_ptr<AttributeBytesId> id);
    void SetAttributeBytesId(const AttributeBytesId& id);
    void SetAttributeBytesValue(std::unique_ptr<AttributeBytesValue> value);
    void SetAttributeBytesValue(const AttributeBytesValue& value);

    /// The record's bytes.
    ByteBuffer GetAttributeBytesState() const;
    /// Replaces `out` by the record's bytes.
    void GetAttributeBytesState(ByteBuffer& out) const;
    /// Appends the record's bytes, as they stand in a list.
    /// @throws ExceptionInvalidAttributeOperationParamter when a text is too long to be read back; `out` is
    ///         unchanged then, as after any failure
    void AppendToListState(ByteBuffer& out) const;
    /// Refuses a text that is too long to be read back from a list.
    /// @throws ExceptionInvalidAttributeOperationParamter
    static void RequireStorable(const AttributeBytesId& id, const AttributeBytesValue& value);

    /// Reads a record from the beginning of `state`; bytes behind it are ignored.
    /// @throws ExceptionNotEnoughBytesForDesiredDataType or ExceptionUnhandledSyntax when it is damaged; the
    ///         identifier is replaced before the value is read, and stays so
    void ImportAttributeBytesState(const ByteBuffer& state);
    /// Reads a record at a cursor. After a list value the cursor stands before the list's bytes while
    /// `remaining` has fallen by them: take the next position from `remaining`.
    static SharedPtr<AttributeBytes> WalkBufferToCreateAttributeBytes(BYTE*& cursor, unsigned& remaining);

    /// Whether identifiers and values are equal.
    bool operator==(const AttributeBytes& other) const;
    /// The order of the identifiers; values take no part.
    bool operator<(const AttributeBytes& other) const;

    CXString GetDumpDisplayString(bool ignored = false) const;

private:
    void AppendAttributeBytesState(ByteBuffer& out) const;

    std::unique_ptr<AttributeBytesId> m_id;
    std::unique_ptr<AttributeBytesValue> m_value;
};
