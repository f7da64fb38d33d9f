// AttributeBytesList: what raw and indexed lists of attributes have in common.
#pragma once

#include <memory>
#include <type_traits>

#include "platform/types.h"
#include "utilities/utilitiesdll/sharedptr.h"

class AttributeBytes;

/// A place in a list. Each kind of list accepts only iterators of its own kind, made by GetIterator.
class NVUTIL_API AttributeBytesListIterator {
public:
    virtual ~AttributeBytesListIterator();
};

/// An ordered collection of attributes.
class NVUTIL_API AttributeBytesList {
public:
    virtual ~AttributeBytesList();
    virtual bool IsEmpty() const = 0;
    virtual bool LengthIsExactlyOne() const = 0;
    /// An iterator at the first attribute.
    virtual std::unique_ptr<AttributeBytesListIterator> GetIterator() const = 0;
    /// Whether there is an attribute at the iterator.
    /// @throws ExceptionInvalidArgument when the iterator belongs to another kind of list; so do all members
    ///         that take an iterator
    virtual bool IsValid(const AttributeBytesListIterator& iterator) const = 0;
    /// A copy of the attribute at the iterator, which is then advanced.
    /// @throws ExceptionIndexOutOfBounds when the iterator is not valid
    virtual AttributeBytes GetNextAttributeBytes(AttributeBytesListIterator& iterator) const = 0;
    /// Adds an attribute, sharing the record where the list keeps records. A raw list refuses one whose text
    /// has more than 32,767 code units.
    /// @throws ExceptionInvalidArgumentNullPointer, ExceptionInvalidAttributeOperationParamter; the list
    /// stays
    virtual void AddAttributeBytes(const SharedPtr<AttributeBytes>& attribute) = 0;
    /// Adds a copy of an attribute.
    virtual void AddAttributeBytes(const AttributeBytes& attribute) = 0;
    virtual void DeleteAllAttributeBytes() = 0;
    /// Does nothing.
    virtual void Dump(bool ignored = false) const;

    /// Replaces everything by the attributes of another list, in its order; a list imported into itself stays
    /// as it is. Records of an indexed list are shared by an indexed list.
    /// @throws ExceptionDuplicateAttributeId when this list is indexed and an identifier comes twice,
    ///         ExceptionInvalidAttributeOperationParamter when it is raw and a text has more than 32,767 code
    ///         units; the attributes before it are there then
    void ImportFromOtherList(const AttributeBytesList& other);

protected:
    AttributeBytesList() = default;
    AttributeBytesList(const AttributeBytesList&) = default;
    AttributeBytesList(AttributeBytesList&&) = default;
    AttributeBytesList& operator=(const AttributeBytesList&) = default;
    AttributeBytesList& operator=(AttributeBytesList&&) = default;

    /// The attribute at the iterator, which is then advanced.
    virtual SharedPtr<AttributeBytes> GetNextAttributeBytesSharedPtr(
        AttributeBytesListIterator& iterator) const = 0;

    /// An iterator as the kind that this list makes.
    template <class OwnIterator, class Iterator>
    static auto& AsOwnIterator(Iterator& iterator) {
        using Own = std::conditional_t<std::is_const_v<Iterator>, const OwnIterator, OwnIterator>;
        auto* own = dynamic_cast<Own*>(&iterator);
        if (own == nullptr) ThrowForeignIterator();
        return *own;
    }

private:
    [[noreturn]] static void ThrowForeignIterator();
};
