// CabCompressedBuffer: a compressed buffer whose compressed bytes are a cabinet.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/compression/compressedbuffer.h"
#include "utilities/utilitiesdll/bytebuffer.h"

/// Compresses data into a cabinet in memory. Equal data gives equal bytes on every run of a build.
///
/// One lock serialises all cabinet work of the process: it is held for the whole of each CompressBuffer and
/// UncompressBuffer call.
class NVUTIL_API CabCompressedBuffer : public CompressedBuffer {
public:
    /// A buffer without data, with the cabinet format and no setting.
    CabCompressedBuffer();
    CabCompressedBuffer(const CabCompressedBuffer& other);
    CabCompressedBuffer& operator=(const CabCompressedBuffer& other);
    ~CabCompressedBuffer() override;

    /// A buffer made from a stored state. Zlib data of fewer than 32,768 original bytes becomes a cabinet.
    /// @throws ExceptionMissingOrBadCompressedBufferFooter when it ends in no known footer
    /// @throws ExceptionIncompatibleCompressionFormat when its format cannot be converted
    static std::unique_ptr<CabCompressedBuffer> CreateWithBufferState(const ByteBuffer& state);

    /// Replaces a stored state by its original data.
    /// @return false when the state cannot be read. Its bytes are untouched when the footer, the format or a
    ///         size beyond what they could hold is at fault; otherwise they are as GetOriginalData left them.
    static bool TryToUncompressStateData(ByteBuffer& data);

    /// Always fails: it builds the object from a state of `size` zero bytes, which never has a footer, or of
    /// none when `size` is negative. Kept so deliberately.
    /// @throws ExceptionMissingOrBadCompressedBufferFooter always
    static std::unique_ptr<CabCompressedBuffer> CreateWithUncompressedData(const ByteBuffer& data, int size);
    /// Decompresses a cabinet and hands the result to CreateWithUncompressedData, which always fails.
    static std::unique_ptr<CabCompressedBuffer> CreateWithCompressedData(const ByteBuffer& cabinet);

    /// Replaces `out` by the cabinet, with whatever an earlier store left between it and the footer.
    void GetCompressedData(ByteBuffer& out) const;

    /// Writes a cabinet of the data over `out` from its first byte. `out` grows as needed and never becomes
    /// shorter.
    /// @param setting  has no effect
    /// @throws ExceptionCompression when there is no data, and the exceptions of CabCompressionContext
    static void CompressBuffer(const BYTE* data, DWORD size, ByteBuffer& out, int setting);
    /// Writes the data of a cabinet over `out` in the same way.
    /// @param in  a cabinet; any bytes that follow it are ignored
    /// @throws ExceptionCompression and the other exceptions of CabDecompressionContext
    static void UncompressBuffer(const ByteBuffer& in, ByteBuffer& out);

    std::unique_ptr<CompressedBuffer> Clone() const override;
    void CompressData(const BYTE* data, DWORD size, ByteBuffer& out, int setting) override;
    void UncompressData(const ByteBuffer& compressed, LONG originalSize, ByteBuffer& out) override;
    bool ConvertCompressedDataToNativeFormat(CompressionFormatEnum format, int setting, LONG originalSize,
                                             ByteBuffer& data, bool throwOnFailure) override;
    void CheckCompressedData(const ByteBuffer& compressed, LONG originalSize) const override;

private:
    friend struct CabCompressedBufferTestAccess;

    explicit CabCompressedBuffer(const ByteBuffer& state);
    CabCompressedBuffer(const ByteBuffer& state, bool& success);

    static void UncompressBuffer(const ByteBuffer& in, LONG originalSize, ByteBuffer& out);
    static bool TryToConvertZlibData(int setting, LONG originalSize, ByteBuffer& data);
    static void MakeZlibDataLookLikeCabinetData(const ByteBuffer& zlibData, LONG originalSize,
                                                ByteBuffer& out);
};
