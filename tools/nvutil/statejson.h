// The JSON form of a state: printed by `state show --json`, read by `state build`.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "nvutil/statefile.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesnamespaces.h"
#include "utilities/attributebytes/attributebytesvalue.h"
#include "utilities/utilitiesdll/driverversion.h"

/// The largest document that is read, in bytes. What is parsed takes some twenty times as much.
constexpr std::size_t largestDocument = 64 * 1024 * 1024;

/// A document, read.
struct StateDocument {
    std::optional<DriverVersion> version;
    AttributeBytesNameSpaces nameSpaces;
};

/// Reads a document in UTF-8.
/// @throws ExceptionInvalidArgument with the path of the member at fault, "namespaces.1[3].value: ..."
StateDocument ReadStateJson(std::string_view json);

/// Whether a document is one attribute and not a whole state: an object with an identifier.
/// @throws ExceptionInvalidArgument when it is not JSON
bool IsAttributeJson(std::string_view json);

/// Reads one attribute, as the document of a state has it.
/// @throws ExceptionInvalidArgument with the path of the member at fault
AttributeBytes ReadAttributeJson(std::string_view json);

/// Reads an identifier, `{"feature": 12}`; a number alone stands for that feature.
/// @throws ExceptionInvalidArgument with the path of the member at fault
std::unique_ptr<AttributeBytesId> ReadIdJson(std::string_view json);

/// A state's document: one attribute a line, members always in the same order.
/// @throws ExceptionInvalidArgument when lists are nested more than `deepestNesting` deep
std::string WriteStateJson(const StateContents& contents);

/// The JSON of one attribute, on one line.
std::string WriteAttributeJson(const AttributeBytes& attribute);

/// The JSON of one value, on one line. Two values have the same JSON exactly when they have the same bytes.
std::string WriteValueJson(const AttributeBytesValue& value);
