// ReadCompressedBufferFooter: what the last bytes of a compressed buffer's state say.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "platform/internalapi.h"
#include "utilities/compression/compressedbuffer.h"

/// A footer. Older ones lack some of it.
struct CompressedBufferFooter {
    std::string_view signature;  ///< "COM5", "COM4" or "COMP".
    std::size_t size;            ///< Of the footer itself.
    LONG originalSize;           ///< Of the uncompressed data, as the footer claims.
    std::optional<CompressedBuffer::CompressionFormatEnum> format;
    std::optional<int> setting;
};

/// Reads the footer of a state; nothing when it ends in none.
NVUTIL_INTERNAL_API std::optional<CompressedBufferFooter> ReadCompressedBufferFooter(
    std::span<const BYTE> state);
