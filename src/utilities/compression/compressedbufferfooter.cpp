// ReadCompressedBufferFooter: the newest footer first, which is told from older ones by its signature.
#include "utilities/compression/compressedbufferfooter.h"

#include <cstdint>

namespace {

LONG BigEndianAt(std::span<const BYTE> bytes) {
    std::uint32_t value = 0;
    for (const BYTE byte : bytes.first(4))
        value = value << 8 | byte;
    return static_cast<LONG>(value);
}

}  // namespace

std::optional<CompressedBufferFooter> ReadCompressedBufferFooter(std::span<const BYTE> state) {
    const auto& current = CompressedBuffer::m_skrchSignatureBytes;
    const auto& previous = CompressedBuffer::m_skrchSignatureBytes40;
    const auto& oldest = CompressedBuffer::m_skrchSignatureBytes37;
    const std::size_t oldestSize = CompressedBuffer::GetSizeOf37FooterInfo();
    if (state.size() < oldestSize) return std::nullopt;
    const auto ending = state.last(sizeof current);
    const std::string_view signature(reinterpret_cast<const char*>(ending.data()), ending.size());
    const auto is = [signature](const auto& known) {
        return signature == std::string_view(known, sizeof known);
    };
    if (!is(current) && !is(previous) && !is(oldest)) return std::nullopt;

    CompressedBufferFooter footer{signature, oldestSize, BigEndianAt(state.last(8)), {}, {}};
    // "COM5" and "COM4" in a state too short for their footers are deliberately read as the oldest one.
    const std::size_t size = is(current)    ? CompressedBuffer::GetSizeOfFooterInfo()
                             : is(previous) ? CompressedBuffer::GetSizeOf40FooterInfo()
                                            : oldestSize;
    if (size == oldestSize || state.size() < size) return footer;
    footer.size = size;
    footer.setting = BigEndianAt(state.last(12));
    footer.format = is(current) ? static_cast<CompressedBuffer::CompressionFormatEnum>(state.last(13)[0])
                                : CompressedBuffer::CF_ZLIB;
    return footer;
}
