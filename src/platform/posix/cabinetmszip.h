// MSZIP, the cabinet format's deflate compression: "CK" and one deflate stream a block.
#pragma once

#include <cstddef>
#include <span>

#include "platform/cabinetformat.h"
#include "platform/posix/cabinetmemory.h"

namespace platform::cabinet {

/// How much larger than its data an encoded block can become.
inline constexpr std::size_t maxMszipOverhead = 7;
static_assert(maxMszipOverhead <= maxBlockOverhead);

/// Encodes one block, independent of any other. All its codes are complete, as some readers demand.
/// @param data 1 to maxBlockSize bytes
/// @param payload room for the data and maxMszipOverhead bytes
/// @return the size of the payload
/// @throws std::bad_alloc
std::size_t EncodeMszipBlock(std::span<const BYTE> data, BYTE* payload);

/// Decodes the blocks of one folder in order; a block may refer to the 32 KiB before it.
class MszipDecoder {
public:
    explicit MszipDecoder(const Memory& memory) : m_stream(memory), m_output(memory) {}

    /// Forgets the blocks before, at the start of a folder.
    void Restart() { m_outputSize = 0; }

    /// Where to put the next block's payload. Valid until the next call.
    BYTE* PayloadRoom(std::size_t payloadSize);

    /// Decodes the payload in PayloadRoom.
    /// @return exactly uncompressedSize bytes that stay valid until the next block, or null when the payload
    /// is damaged
    const BYTE* Decode(std::size_t payloadSize, std::size_t uncompressedSize);

private:
    Scratch m_stream;
    Scratch m_output;
    std::size_t m_outputSize = 0;
};

}  // namespace platform::cabinet
