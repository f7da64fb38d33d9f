// AttributeBytesReader: typed questions to an indexed list that a derived class supplies.
#pragma once

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"

/// Answers from the list that GetAttributeBytesIndexedListRef hands out, which is asked afresh by every call.
///
/// Results, defaults and failures are those of the list's typed reading. `isSpecified`, when not null,
/// receives whether the attribute is present and its value is specified.
class NVUTIL_API AttributeBytesReader {
public:
    virtual ~AttributeBytesReader();
    virtual const AttributeBytesIndexedList& GetAttributeBytesIndexedListRef() const = 0;

    bool IsAttributeBytesListEmpty() const;
    /// Whether the attribute is present and its value is specified.
    bool IsSpecifiedInAttributeBytes(const AttributeBytesFeatureId& featureId) const;
    /// The kind of the attribute's value; ABVTE_UNSPECIFIED when it is absent.
    AttributeBytesValue::AttributeBytesValueEnum GetValueTypeFromAttributeBytes(
        const AttributeBytesFeatureId& featureId) const;
    DataModelIds::tagValueEnum GetOptionValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                                bool* isSpecified = nullptr) const;
    CXString GetNewValueIdFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                             bool* isSpecified = nullptr) const;
    bool GetBooleanValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                           bool* isSpecified = nullptr) const;
    LONG GetIntegerValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                           bool* isSpecified = nullptr) const;
    CXString GetStringValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                              bool* isSpecified = nullptr) const;
    /// The bytes, or an empty buffer.
    ByteBuffer GetDataBlobValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                  bool* isSpecified = nullptr) const;
    void GetPaperSizesFromAttributeBytes(const AttributeBytesFeatureId& featureId, Dimension& width,
                                         Dimension& height, bool* isSpecified = nullptr) const;
    bool GetCollectionFromAttributeBytes(const AttributeBytesId& id, AttributeBytesIndexedList& out) const;
    bool GetCollectionFromAttributeBytesByIndex(LONG index, AttributeBytesIndexedList& out) const;

protected:
    AttributeBytesReader() = default;
    AttributeBytesReader(const AttributeBytesReader&) = default;
    AttributeBytesReader& operator=(const AttributeBytesReader&) = default;
};
