// AttributeBytesList: what raw and indexed lists of attributes have in common.
#include "utilities/attributebytes/attributebyteslist.h"

#include <exception>
#include <vector>

#include "utilities/attributebytes/attributebytes.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

AttributeBytesListIterator::~AttributeBytesListIterator() = default;

AttributeBytesList::~AttributeBytesList() = default;

void AttributeBytesList::Dump(bool /*ignored*/) const {}

void AttributeBytesList::ImportFromOtherList(const AttributeBytesList& other) {
    if (&other == this) return;
    // The other list may belong to a record of this one, so it is read before this list lets go of anything.
    std::vector<SharedPtr<AttributeBytes>> records;
    std::exception_ptr damage;
    try {
        const auto iterator = other.GetIterator();
        while (other.IsValid(*iterator))
            records.push_back(other.GetNextAttributeBytesSharedPtr(*iterator));
    } catch (...) {
        damage = std::current_exception();
    }
    DeleteAllAttributeBytes();
    for (const SharedPtr<AttributeBytes>& record : records)
        AddAttributeBytes(record);
    if (damage != nullptr) std::rethrow_exception(damage);
}

void AttributeBytesList::ThrowForeignIterator() {
    NV_THROW(ExceptionInvalidArgument, "AttributeBytesList::AsOwnIterator", __LINE__,
             NV_TEXT("the iterator belongs to a list of another kind"));
}
