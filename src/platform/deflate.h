// Deflate data walked through without expanding it.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "platform/internalapi.h"
#include "platform/types.h"

namespace platform {

/// What a walk through deflate data finds.
struct DeflateShape {
    std::size_t size = 0;  ///< Bytes that the data expands to.
    /// Whether every code uses all combinations of its bits. Deflate lets a block without matches leave the
    /// code of the distances empty, which some readers refuse.
    bool hasCompleteCodes = true;
};

/// Walks through deflate data.
///
/// @param data         bytes behind the end of the deflate data are ignored
/// @param history      bytes before the data that matches may refer to
/// @param largestSize  most bytes that the data may expand to
/// @return nothing when the data is cut or malformed, refers to bytes before the history, or is larger
NVUTIL_INTERNAL_API std::optional<DeflateShape> WalkDeflate(std::span<const BYTE> data, std::size_t history,
                                                            std::size_t largestSize);

}  // namespace platform
