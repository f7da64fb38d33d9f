// The check that the payload of a cabinet block expands to exactly what the block's header says.
#pragma once

#include <cstddef>
#include <span>

#include "platform/types.h"

/// Walks through deflate data without expanding it.
///
/// @param payload  the block's payload behind its "CK"; bytes behind the end of the deflate data are ignored
/// @param history  bytes of earlier blocks that matches may refer to
/// @param size     bytes that the deflate data must expand to
/// @return false when the data is cut or malformed, refers to bytes before the history, or has another size
NVUTIL_API bool MszipPayloadFillsBlock(std::span<const BYTE> payload, std::size_t history, std::size_t size);
