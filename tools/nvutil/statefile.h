// A persisted attribute state, taken apart for showing and comparing.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesnamespaces.h"
#include "utilities/attributebytes/attributebytesrawlist.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/driverversion.h"

/// One namespace of a state.
struct NameSpace {
    LONG number;
    BYTE listType;  ///< 0 in what this library writes.
    bool isSpecified;
    AttributeBytesRawList attributes;
};

/// What a state holds.
struct StateContents {
    PersistentAttributes::PersistentAttributesHeaderType header;
    std::size_t size;                   ///< Of the whole state, in bytes.
    ByteBuffer uncompressed;            ///< The namespaces' state.
    DriverVersion version;              ///< The version that the namespaces' state was written by.
    std::vector<NameSpace> nameSpaces;  ///< In the order of their numbers.
    AttributeBytesNameSpaces byNumber;  ///< The same, to be asked by number.
};

/// Reads a state and checks every record in it.
/// @throws ExceptionMissingOrBadPersistentAttributesFormat when it is damaged, and
///         ExceptionInappropriateAttributeId when it holds something other than namespaces
StateContents ReadState(const ByteBuffer& state);

/// Number of attributes of a list, nested ones not counted.
std::size_t CountAttributes(const AttributeBytesRawList& list);
/// A namespace's number of attributes, and what else its list has when that is unusual.
std::string DisplayOfNameSpace(const NameSpace& nameSpace);
/// Number of attributes of all namespaces, nested ones included.
std::size_t CountAllAttributes(const StateContents& contents);
