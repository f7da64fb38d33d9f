// AttributeBytesReader: typed questions to an indexed list that a derived class supplies.
#include "utilities/attributebytes/attributebytesreader.h"

AttributeBytesReader::~AttributeBytesReader() = default;

bool AttributeBytesReader::IsAttributeBytesListEmpty() const {
    return GetAttributeBytesIndexedListRef().IsEmpty();
}

bool AttributeBytesReader::IsSpecifiedInAttributeBytes(const AttributeBytesFeatureId& featureId) const {
    const AttributeBytes* record = GetAttributeBytesIndexedListRef().GetAttributeBytesPtr(featureId);
    return record != nullptr && record->GetAttributeBytesValue().IsSpecified();
}

AttributeBytesValue::AttributeBytesValueEnum AttributeBytesReader::GetValueTypeFromAttributeBytes(
    const AttributeBytesFeatureId& featureId) const {
    const AttributeBytes* record = GetAttributeBytesIndexedListRef().GetAttributeBytesPtr(featureId);
    return record != nullptr ? record->GetAttributeBytesValue().GetAttributeBytesValueType()
                             : AttributeBytesValue::ABVTE_UNSPECIFIED;
}

DataModelIds::tagValueEnum AttributeBytesReader::GetOptionValueFromAttributeBytes(
    const AttributeBytesFeatureId& featureId, bool* isSpecified) const {
    return GetAttributeBytesIndexedListRef().GetOptionValue(featureId, isSpecified);
}

CXString AttributeBytesReader::GetNewValueIdFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                               bool* isSpecified) const {
    return GetAttributeBytesIndexedListRef().GetNewOptionValueId(featureId, isSpecified);
}

bool AttributeBytesReader::GetBooleanValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                             bool* isSpecified) const {
    return GetAttributeBytesIndexedListRef().GetBooleanValue(featureId, isSpecified);
}

LONG AttributeBytesReader::GetIntegerValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                             bool* isSpecified) const {
    return GetAttributeBytesIndexedListRef().GetIntegerValue(featureId, isSpecified);
}

CXString AttributeBytesReader::GetStringValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                                bool* isSpecified) const {
    return GetAttributeBytesIndexedListRef().GetStringValue(featureId, isSpecified);
}

ByteBuffer AttributeBytesReader::GetDataBlobValueFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                                    bool* isSpecified) const {
    ByteBuffer value;
    GetAttributeBytesIndexedListRef().GetDataBlobValue(featureId, value, isSpecified);
    return value;
}

void AttributeBytesReader::GetPaperSizesFromAttributeBytes(const AttributeBytesFeatureId& featureId,
                                                           Dimension& width, Dimension& height,
                                                           bool* isSpecified) const {
    GetAttributeBytesIndexedListRef().GetPaperSizeValues(featureId, width, height, isSpecified);
}

bool AttributeBytesReader::GetCollectionFromAttributeBytes(const AttributeBytesId& id,
                                                           AttributeBytesIndexedList& out) const {
    return GetAttributeBytesIndexedListRef().GetCollection(id, out);
}

bool AttributeBytesReader::GetCollectionFromAttributeBytesByIndex(LONG index,
                                                                  AttributeBytesIndexedList& out) const {
    return GetAttributeBytesIndexedListRef().GetCollectionByIndex(index, out);
}
