// AttributeBytesList: what raw and indexed lists of attributes have in common.
#include "utilities/attributebytes/attributebyteslist.h"

#include "utilities/attributebytes/attributebytes.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

AttributeBytesListIterator::~AttributeBytesListIterator() = default;

AttributeBytesList::~AttributeBytesList() = default;

void AttributeBytesList::Dump(bool /*ignored*/) const {}

void AttributeBytesList::ImportFromOtherList(const AttributeBytesList& other) {
    if (&other == this) return;
    DeleteAllAttributeBytes();
    const auto iterator = other.GetIterator();
    while (other.IsValid(*iterator))
        AddAttributeBytes(other.GetNextAttributeBytesSharedPtr(*iterator));
}

void AttributeBytesList::ThrowForeignIterator() {
    NV_THROW(ExceptionInvalidArgument, "AttributeBytesList::AsOwnIterator", __LINE__,
             NV_TEXT("the iterator belongs to a list of another kind"));
}
