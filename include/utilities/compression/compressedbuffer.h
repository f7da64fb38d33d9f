// CompressedBuffer: compressed bytes with a footer that tells what they are.
#pragma once

#include <memory>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"

/// Holds data in compressed form, followed by the 13-byte footer: together, the compressed buffer state.
///
/// The footer's fields, by their distance from the end of the state (integers are big-endian):
///
///     -13  1  format, a CompressionFormatEnum
///     -12  4  compression setting, signed; -1 when none was given
///      -8  4  size of the original data in bytes
///      -4  4  "COM5"
///
/// Older states end in "COM4" (12 bytes, without the format, which is zlib data) or in "COMP" (8 bytes,
/// without the setting either; such states can no longer be read). Loading a state always gives it a "COM5"
/// footer.
///
/// An object is used by one thread at a time.
class NVUTIL_API CompressedBuffer {
public:
    /// What compressed bytes are. A state may claim any other number, which no object can read.
    enum CompressionFormatEnum : int {
        CF_UNKNOWN = 0,  ///< Nothing is known; never written.
        CF_ZLIB = 1,     ///< Zlib data.
        CF_CABINET = 2,  ///< A cabinet.
    };

    static const char m_skrchSignatureBytes[4];    ///< "COM5", not terminated.
    static const char m_skrchSignatureBytes40[4];  ///< "COM4"
    static const char m_skrchSignatureBytes37[4];  ///< "COMP"

    static constexpr DWORD GetSizeOfFooterInfo() { return 13; }
    static constexpr DWORD GetSizeOf40FooterInfo() { return 12; }
    static constexpr DWORD GetSizeOf37FooterInfo() { return 8; }

    virtual ~CompressedBuffer();
    virtual std::unique_ptr<CompressedBuffer> Clone() const = 0;
    /// Does nothing.
    virtual void Dump() const;
    /// Compresses `size` bytes and writes the result over `out` from its first byte. `out` grows as needed
    /// and never becomes shorter.
    virtual void CompressData(const BYTE* data, DWORD size, ByteBuffer& out, int setting) = 0;
    /// Decompresses and writes the result over `out` in the same way.
    /// @param compressed    the compressed bytes; any that follow them are ignored
    /// @param originalSize  the exact size of the result when positive; otherwise the size is not known
    virtual void UncompressData(const ByteBuffer& compressed, LONG originalSize, ByteBuffer& out) = 0;
    /// Turns compressed bytes of another format into the object's own.
    /// @param data  changed in place
    /// @return whether it could be done; a failure is an ExceptionIncompatibleCompressionFormat instead when
    ///         `throwOnFailure`
    virtual bool ConvertCompressedDataToNativeFormat(CompressionFormatEnum format, int setting,
                                                     LONG originalSize, ByteBuffer& data,
                                                     bool throwOnFailure) = 0;
    /// Refuses compressed bytes that cannot expand to the size that is claimed, without expanding them. The
    /// base accepts all.
    /// @throws ExceptionCompression
    virtual void CheckCompressedData(const ByteBuffer& compressed, LONG originalSize) const;

    /// Compresses data and replaces the state.
    ///
    /// Bytes that a longer earlier state had behind the new compressed bytes deliberately stay between these
    /// and the footer. When compression fails the object may only be stored to again or destroyed.
    /// @throws ExceptionCompression when there are more than 2,147,483,647 bytes, and as CompressData
    void Store(const ByteBuffer& data);
    void Store(const unsigned char* data, unsigned long size);

    /// Decompresses the data.
    ///
    /// The footer is not trusted: before anything is allocated, an original size above 1,032 times the size
    /// of the state, which no compressed data can reach, is refused, and one above 16 MiB unless
    /// CheckCompressedData accepts it; `out` then stays as it was.
    /// @param out  receives exactly the original data; after any other failure it holds as many zero bytes as
    ///             the original size says, or what could be decompressed
    /// @throws ExceptionCompression when the state is damaged, and as UncompressData
    void GetOriginalData(ByteBuffer& out);

    /// Size of the original data in bytes, as the footer says.
    LONG GetOriginalDataSize() const { return m_originalSize; }
    /// The compressed bytes and the footer.
    ByteBuffer GetCompressedBufferState() const { return m_state; }
    /// The bytes of the state, valid until the object is changed or destroyed.
    const BYTE* GetCompressedBufferStateLpbyte() const { return m_state.getLpbyte(); }
    DWORD GetCompressedBufferStateDword() const { return m_state.getDword(); }

protected:
    /// An object without data.
    CompressedBuffer(CompressionFormatEnum format, int setting);
    CompressedBuffer(const CompressedBuffer& other);
    CompressedBuffer& operator=(const CompressedBuffer& other);

    /// Replaces `out` by the state less its footer.
    void GetCompressedData(ByteBuffer& out) const;

    /// Takes over a stored state and converts it to the object's own format.
    /// @throws ExceptionMissingOrBadCompressedBufferFooter when it ends in no known footer
    /// @throws ExceptionIncompatibleCompressionFormat when its format cannot be converted
    void InitializeWithCompressedBufferState(const ByteBuffer& state);
    /// The same with a result in place of the exceptions; the object is then unchanged but for its state.
    bool TryToInitializeWithCompressedBufferState(const ByteBuffer& state);

private:
    bool InitializeFromState(const ByteBuffer& state, bool throwOnFailure);
    void AddFooterInfo(LONG originalSize, int setting, CompressionFormatEnum format);
    static bool GetFooterInfo(const ByteBuffer& state, bool throwOnFailure, LONG& originalSize, int& setting,
                              CompressionFormatEnum& format, DWORD& footerSize);

    ByteBuffer m_state;  ///< Compressed bytes and footer; the footer alone while there is no data.
    LONG m_originalSize = 0;
    int m_setting;
    CompressionFormatEnum m_format;  ///< Of what this object writes.
};
