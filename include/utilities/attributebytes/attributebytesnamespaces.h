// AttributeBytesNameSpaces: attributes grouped into numbered namespaces.
#pragma once

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/driverversion.h"

/// Namespaces in the order of their numbers, each a raw list of attributes.
///
/// The state is the mark "ABNS", the version of the driver that writes it, and the state of an indexed list
/// whose values are the lists of the namespaces.
class NVUTIL_API AttributeBytesNameSpaces {
public:
    AttributeBytesNameSpaces();
    /// Reads a state; see ImportAttributeBytesNameSpacesState.
    /// @param version  receives the version of the driver that wrote it, when not null
    explicit AttributeBytesNameSpaces(const ByteBuffer& state, DriverVersion* version = nullptr);
    AttributeBytesNameSpaces(const AttributeBytesNameSpaces& other);
    AttributeBytesNameSpaces(AttributeBytesNameSpaces&& other) noexcept;
    AttributeBytesNameSpaces& operator=(const AttributeBytesNameSpaces& other);
    AttributeBytesNameSpaces& operator=(AttributeBytesNameSpaces&& other) noexcept;
    ~AttributeBytesNameSpaces();

    bool Exists(const AttributeBytesNameSpacesId& id) const;
    /// Number of namespaces.
    unsigned GetCount() const;
    /// Replaces `out` by a namespace's attributes.
    /// @throws ExceptionFeatureNotFound when the namespace is absent
    /// @throws ExceptionAttributeValueTypeMismatch when a damaged state holds something else under its number
    void GetNameSpaceAttributes(const AttributeBytesNameSpacesId& id, AttributeBytesRawList& out) const;
    /// The same for the namespace at a place in the order of the numbers, from 0.
    /// @param id  receives the namespace's identifier, when not null
    /// @throws ExceptionIndexOutOfBounds when there are not so many
    void GetNameSpaceByIndex(unsigned index, AttributeBytesRawList& out,
                             AttributeBytesNameSpacesId* id = nullptr) const;
    /// All namespaces, as list values under their identifiers, in the order of the numbers. A damaged state
    /// may hold other values and identifiers too.
    const AttributeBytesIndexedList& GetNameSpaces() const { return m_nameSpaces; }
    /// Adds or replaces a namespace.
    void SetNameSpaceAttributes(const AttributeBytesNameSpacesId& id,
                                const AttributeBytesRawList& attributes);
    /// Removes a namespace when it is present.
    void DeleteNameSpaceAttributes(const AttributeBytesNameSpacesId& id);

    /// Replaces `out` by the state, with the current driver version (DriverVersion::GetCurrentDriverVersion).
    void GetAttributeBytesNameSpacesState(ByteBuffer& out) const;
    /// Replaces everything by the namespaces of a state. Whatever is thrown, those held so far stay.
    /// @return the version of the driver that wrote it
    /// @throws ExceptionMissingOrBadAttributeBytesFormat when a mark is missing
    /// @throws ExceptionNotEnoughBytesForDesiredDataType when the bytes end too early
    /// @throws ExceptionDuplicateAttributeId, ExceptionUnhandledSyntax for damaged records
    DriverVersion ImportAttributeBytesNameSpacesState(const ByteBuffer& state);

private:
    AttributeBytesIndexedList m_nameSpaces;
};
