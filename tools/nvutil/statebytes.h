// The fields of a state, byte by byte: what `state show --bytes` prints.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"

/// A stretch of bytes and what it is.
struct StateField {
    std::size_t offset;
    std::size_t size;
    int depth;  ///< Of the list that it belongs to; 0 outside of all.
    std::string name;
    std::string meaning;
};

using FieldReport = std::function<void(const StateField&)>;

/// Reports the fields of the header that a persisted state begins with.
/// @throws ExceptionNotEnoughBytesForDesiredDataType when there are fewer bytes; the last report covers them
void ReportHeaderFields(std::span<const BYTE> state, const FieldReport& report);

/// Reports the fields of a namespaces' state from the first byte to the last, each byte once.
/// @throws what reading a damaged state throws; the bytes from there on are reported as one field
void ReportNameSpacesFields(std::span<const BYTE> state, const FieldReport& report);

/// The lines of one field: offset, bytes, name and meaning; a long field takes several.
std::string WriteField(std::span<const BYTE> state, const StateField& field);
