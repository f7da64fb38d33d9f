// MSZIP over libdeflate, and zlib for blocks that libdeflate gives a code not every reader takes.
#include "platform/posix/cabinetmszip.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include "platform/deflate.h"

namespace platform::cabinet {

namespace {

constexpr int compressionLevel = 6;
// A stored deflate block is one byte of flags, its length, the length's complement and the bytes themselves.
constexpr std::size_t storedBlockHead = 5;
static_assert(maxMszipOverhead == sizeof(blockSignature) + storedBlockHead);

void EncodeStoredBlockHead(bool isLast, std::size_t size, BYTE* head) {
    const auto length = static_cast<std::uint16_t>(size);
    head[0] = isLast ? 1 : 0;
    head[1] = static_cast<BYTE>(length);
    head[2] = static_cast<BYTE>(length >> 8);
    head[3] = static_cast<BYTE>(~length);
    head[4] = static_cast<BYTE>(~length >> 8);
}

libdeflate_compressor* AllocateCompressor() {
    return libdeflate_alloc_compressor(compressionLevel);
}

// A compressor or decompressor for one block. Making one costs more than compressing a small block (a
// compressor is about 1 MB), so the process keeps one spare; threads that find it taken make their own.
template <class Engine, Engine* (*Allocate)(), void (*Free)(Engine*)>
class Borrowed {
public:
    Borrowed() : m_engine(s_spare.exchange(nullptr, std::memory_order_acquire)) {
        if (m_engine == nullptr) m_engine = Allocate();
        if (m_engine == nullptr) throw std::bad_alloc();
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    ~Borrowed() { Free(s_spare.exchange(m_engine, std::memory_order_acq_rel)); }

    Engine* Get() const { return m_engine; }

private:
    // Never freed: threads may go on while the process ends.
    static inline constinit std::atomic<Engine*> s_spare{nullptr};

    Engine* m_engine;
};

using Compressor = Borrowed<libdeflate_compressor, AllocateCompressor, libdeflate_free_compressor>;
using Decompressor =
    Borrowed<libdeflate_decompressor, libdeflate_alloc_decompressor, libdeflate_free_decompressor>;

/// Encoders give the size of the deflate data, or 0 when it does not fit into the room.
std::size_t EncodeWithLibdeflate(std::span<const BYTE> data, std::span<BYTE> room) {
    return libdeflate_deflate_compress(Compressor().Get(), data.data(), data.size(), room.data(),
                                       room.size());
}

std::size_t EncodeWithZlib(std::span<const BYTE> data, std::span<BYTE> room) {
    constexpr int rawDeflate = -15;  // negative: neither a header nor a trailer; a window of 32 KiB
    constexpr int usualMemory = 8;
    z_stream stream{};
    if (deflateInit2(&stream, compressionLevel, Z_DEFLATED, rawDeflate, usualMemory, Z_DEFAULT_STRATEGY) !=
        Z_OK)
        throw std::bad_alloc();
    stream.next_in = const_cast<BYTE*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = room.data();
    stream.avail_out = static_cast<uInt>(room.size());
    const bool isWhole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    deflateEnd(&stream);
    return isWhole ? stream.total_out : 0;
}

/// libmspack, and with it cabextract, refuses codes that leave combinations of bits unused.
bool HasCompleteCodes(std::span<const BYTE> deflateData, std::size_t size) {
    const auto found = WalkDeflate(deflateData, 0, size);
    return found && found->size == size && found->hasCompleteCodes;
}

}  // namespace

std::size_t EncodeMszipBlock(std::span<const BYTE> data, BYTE* payload) {
    std::memcpy(payload, blockSignature, sizeof(blockSignature));
    const std::span<BYTE> stream(payload + sizeof(blockSignature), storedBlockHead + data.size());
    // libdeflate is faster and writes less, but leaves the code of the distances empty in blocks without
    // matches. zlib never does.
    for (const auto encode : {&EncodeWithLibdeflate, &EncodeWithZlib}) {
        const std::size_t size = encode(data, stream);
        if (size == 0) break;
        if (HasCompleteCodes(stream.first(size), data.size())) return sizeof(blockSignature) + size;
    }
    EncodeStoredBlockHead(true, data.size(), stream.data());
    std::memcpy(stream.data() + storedBlockHead, data.data(), data.size());
    return sizeof(blockSignature) + stream.size();
}

// libdeflate knows no history before a stream. So a block that has one is decoded as a longer stream: a
// stored block that spells the history out, which is laid down right before the block's own stream, over its
// "CK".
constexpr std::size_t historyRoom = storedBlockHead + maxBlockSize - sizeof(blockSignature);

BYTE* MszipDecoder::PayloadRoom(std::size_t payloadSize) {
    return m_stream.Reserve(historyRoom + payloadSize) + historyRoom;
}

const BYTE* MszipDecoder::Decode(std::size_t payloadSize, std::size_t uncompressedSize) {
    BYTE* payload = PayloadRoom(payloadSize);
    if (payloadSize < sizeof(blockSignature)) return nullptr;
    if (std::memcmp(payload, blockSignature, sizeof(blockSignature)) != 0) return nullptr;
    BYTE* stream = payload + sizeof(blockSignature);
    std::size_t streamSize = payloadSize - sizeof(blockSignature);

    const std::size_t historySize = std::min(m_outputSize, maxBlockSize);
    if (historySize != 0) {
        stream -= historySize;
        std::memcpy(stream, m_output.Get() + m_outputSize - historySize, historySize);
        stream -= storedBlockHead;
        EncodeStoredBlockHead(false, historySize, stream);
        streamSize += storedBlockHead + historySize;
    }

    m_outputSize = historySize + uncompressedSize;
    BYTE* output = m_output.Reserve(m_outputSize);
    std::size_t consumed =
        0;  // Bytes after the stream's end are allowed: some writers leave a trailer there.
    const libdeflate_result result = libdeflate_deflate_decompress_ex(
        Decompressor().Get(), stream, streamSize, output, m_outputSize, &consumed, nullptr);
    return result == LIBDEFLATE_SUCCESS ? output + historySize : nullptr;
}

}  // namespace platform::cabinet
