// Fuzzes what reads stored bytes: compressed buffer states, bare cabinets and block payloads.
//
// The first byte chooses the reader; the rest is what it reads.
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "platform/deflate.h"
#include "utilities/compression/cabcompressedbuffer.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

/// Runs a reader, which may only fail with a documented exception.
template <class Read>
void ExpectDocumented(Read read) {
    try {
        read();
    } catch (const ExceptionMissingOrBadCompressedBufferFooter&) {
    } catch (const ExceptionIncompatibleCompressionFormat&) {
    } catch (const ExceptionCompression&) {
    }
}

void ReadState(const ByteBuffer& state) {
    const auto buffer = CabCompressedBuffer::CreateWithBufferState(state);
    ByteBuffer out;
    buffer->GetOriginalData(out);
    const LONG size = std::max<LONG>(buffer->GetOriginalDataSize(), 0);
    if (out.size() != static_cast<std::size_t>(size)) std::abort();
    // What was read can be stored and read again.
    CabCompressedBuffer again;
    again.Store(out);
    ByteBuffer copy;
    again.GetOriginalData(copy);
    if (copy != out) std::abort();
}

void UncompressCabinet(const ByteBuffer& cabinet) {
    ByteBuffer out;
    CabCompressedBuffer::UncompressBuffer(cabinet, out);
    if (out.size() > cabinet.size() / 10 * 32768) std::abort();
}

/// Gives bytes the wrapper of zlib data: a sound cabinet around any payload.
void ReadZlibState(const ByteBuffer& bytes) {
    ByteBuffer state = bytes;
    constexpr BYTE signature[] = {'C', 'O', 'M', '4'};
    state.appendLpbyte(signature, sizeof signature);
    ReadState(state);
}

/// The walk through a payload must agree with zlib on what is sound.
void WalkPayload(const ByteBuffer& bytes) {
    if (bytes.size() < 2) return;
    const std::size_t size = bytes[0] | static_cast<std::size_t>(bytes[1] & 0x7F) << 8;
    std::vector<Bytef> out(size + 1);
    z_stream stream{};
    stream.next_in = const_cast<Bytef*>(bytes.data() + 2);
    stream.avail_in = static_cast<uInt>(bytes.size() - 2);
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    inflateInit2(&stream, -15);
    const bool sound = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.total_out == size;
    inflateEnd(&stream);
    const auto found = platform::WalkDeflate({bytes.data() + 2, bytes.size() - 2}, 0, size);
    if ((found && found->size == size) != sound) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const BYTE* data, std::size_t size) {
    constexpr void (*readers[])(const ByteBuffer&) = {&ReadState, &UncompressCabinet, &ReadZlibState,
                                                      &WalkPayload};
    if (size == 0) return 0;
    const ByteBuffer bytes(data + 1, static_cast<DWORD>(size - 1));
    ExpectDocumented([&] { readers[*data % std::size(readers)](bytes); });
    return 0;
}
