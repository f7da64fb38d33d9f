// CabCompressedBuffer: cabinets in memory, and zlib data of earlier versions turned into them.
#include "utilities/compression/cabcompressedbuffer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "utilities/compression/cabbufferasfile.h"
#include "utilities/compression/cabcompressioncontext.h"
#include "utilities/compression/cabdecompressioncontext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr char uncompressedName[] = "//Uncompressed-Data//";
constexpr char compressedName[] = "//Compressed-Data//";
constexpr LONG largestZlibOriginal = 32767;

/// A cabinet as a file. Even one without bytes has a memory, so that the fault is in what it holds.
CabBufferAsFile CabinetFile(const ByteBuffer& cabinet) {
    static constexpr BYTE nothing = 0;
    return {compressedName, cabinet.empty() ? &nothing : cabinet.getLpbyte(), cabinet.getDword()};
}

}  // namespace

CabCompressedBuffer::CabCompressedBuffer() : CompressedBuffer(CF_CABINET, -1) {}

CabCompressedBuffer::CabCompressedBuffer(const ByteBuffer& state) : CabCompressedBuffer() {
    InitializeWithCompressedBufferState(state);
}

CabCompressedBuffer::CabCompressedBuffer(const ByteBuffer& state, bool& success) : CabCompressedBuffer() {
    success = TryToInitializeWithCompressedBufferState(state);
}

CabCompressedBuffer::CabCompressedBuffer(const CabCompressedBuffer& other) = default;
CabCompressedBuffer& CabCompressedBuffer::operator=(const CabCompressedBuffer& other) = default;
CabCompressedBuffer::~CabCompressedBuffer() = default;

std::unique_ptr<CabCompressedBuffer> CabCompressedBuffer::CreateWithBufferState(const ByteBuffer& state) {
    return std::unique_ptr<CabCompressedBuffer>(new CabCompressedBuffer(state));
}

bool CabCompressedBuffer::TryToUncompressStateData(ByteBuffer& data) {
    bool success = false;
    CabCompressedBuffer buffer(data, success);
    if (!success) return false;
    try {
        buffer.GetOriginalData(data);
    } catch (...) {
        return false;
    }
    return true;
}

std::unique_ptr<CabCompressedBuffer> CabCompressedBuffer::CreateWithUncompressedData(const ByteBuffer& data,
                                                                                     int size) {
    // Zero bytes never end in a footer, however many they are; no more are needed to find that out.
    const int length = std::clamp(size, 0, static_cast<int>(GetSizeOfFooterInfo()));
    const ByteBuffer state(static_cast<std::size_t>(length));
    std::unique_ptr<CabCompressedBuffer> buffer(new CabCompressedBuffer(state));
    buffer->Store(data);
    return buffer;
}

std::unique_ptr<CabCompressedBuffer> CabCompressedBuffer::CreateWithCompressedData(
    const ByteBuffer& cabinet) {
    ByteBuffer data;
    UncompressBuffer(cabinet, data);
    return CreateWithUncompressedData(data, -1);
}

void CabCompressedBuffer::GetCompressedData(ByteBuffer& out) const {
    CompressedBuffer::GetCompressedData(out);
}

void CabCompressedBuffer::CompressBuffer(const BYTE* data, DWORD size, ByteBuffer& out, int /*setting*/) {
    // Cabinet libraries differ over a cabinet without data; a state without data has no cabinet.
    if (size == 0) {
        NV_THROW(ExceptionCompression, "CabCompressedBuffer::CompressBuffer", __LINE__,
                 NV_TEXT("there is nothing to compress"));
    }
    const OwnedCriticalResource lock(CabContext::GetOperationLock());
    CabBufferAsFile source(uncompressedName, data, size);
    CabBufferAsFile destination(compressedName, out);
    CabCompressionContext(source, destination).CompressSourceFile();
}

void CabCompressedBuffer::UncompressBuffer(const ByteBuffer& in, ByteBuffer& out) {
    UncompressBuffer(in, 0, out);
}

void CabCompressedBuffer::UncompressBuffer(const ByteBuffer& in, LONG originalSize, ByteBuffer& out) {
    if (&in == &out) return UncompressBuffer(ByteBuffer(in), originalSize, out);
    const OwnedCriticalResource lock(CabContext::GetOperationLock());
    CabBufferAsFile source = CabinetFile(in);
    CabBufferAsFile destination(uncompressedName, out);
    CabDecompressionContext context(source, destination);
    if (originalSize > 0) context.ExpectFileSize(static_cast<DWORD>(originalSize));
    context.DecompressSourceFile();
}

std::unique_ptr<CompressedBuffer> CabCompressedBuffer::Clone() const {
    return std::make_unique<CabCompressedBuffer>(*this);
}

void CabCompressedBuffer::CompressData(const BYTE* data, DWORD size, ByteBuffer& out, int setting) {
    CompressBuffer(data, size, out, setting);
}

void CabCompressedBuffer::UncompressData(const ByteBuffer& compressed, LONG originalSize, ByteBuffer& out) {
    if (originalSize > 0) out.reserve(static_cast<std::size_t>(originalSize));
    UncompressBuffer(compressed, originalSize, out);
}

bool CabCompressedBuffer::ConvertCompressedDataToNativeFormat(CompressionFormatEnum format, int setting,
                                                              LONG originalSize, ByteBuffer& data,
                                                              bool throwOnFailure) {
    if (format == CF_CABINET) return true;
    if (format == CF_ZLIB && originalSize <= largestZlibOriginal &&
        TryToConvertZlibData(setting, originalSize, data))
        return true;
    if (throwOnFailure)
        NV_THROW(ExceptionIncompatibleCompressionFormat,
                 "CabCompressedBuffer::ConvertCompressedDataToNativeFormat", __LINE__);
    return false;
}

void CabCompressedBuffer::CheckCompressedData(const ByteBuffer& compressed, LONG originalSize) const {
    const OwnedCriticalResource lock(CabContext::GetOperationLock());
    ByteBuffer nothing;
    CabBufferAsFile source = CabinetFile(compressed);
    CabBufferAsFile destination(uncompressedName, nothing);
    CabDecompressionContext context(source, destination);
    if (originalSize > 0) context.ExpectFileSize(static_cast<DWORD>(originalSize));
    context.CheckSourceFile();
}

bool CabCompressedBuffer::TryToConvertZlibData(int setting, LONG originalSize, ByteBuffer& data) {
    try {
        ByteBuffer cabinet;
        MakeZlibDataLookLikeCabinetData(data, originalSize, cabinet);
        ByteBuffer original;
        UncompressBuffer(cabinet, original);
        data.clear();
        if (original.empty()) return true;  // as Store does: no compressor runs for no data
        CompressBuffer(original.getLpbyte(), original.getDword(), data, setting);
        return true;
    } catch (...) {
        const CXString text = throwprotocol::SafeFormat(
            NV_TEXT(
                "Exception thrown while trying to convert the ZLIB data into CAB format. Original data size "
                "was %ld bytes. Note that original Zlib data > 32K (%ld) bytes will always fail when trying "
                "to use CabCompressedBuffer."),
            originalSize, largestZlibOriginal);
        // Debug messages go to the one channel there is: the hook that is offered every throw.
        NorvaException::AllowForExceptionDebug(
            NV_TEXT("ExceptionIncompatibleCompressionFormat"), text,
            NV_TEXT("src/utilities/compression/cabcompressedbuffer"), __LINE__,
            NV_TEXT("CabCompressedBuffer::ConvertCompressedDataToNativeFormat"), ExecutionContextStack(), 0);
        return false;
    }
}

void CabCompressedBuffer::MakeZlibDataLookLikeCabinetData(const ByteBuffer& zlibData, LONG originalSize,
                                                          ByteBuffer& out) {
    constexpr std::size_t zlibHeaderSize = 2;
    constexpr int bytesBeforePayload = 91;
    constexpr BYTE blockSignature[] = {'C', 'K'};
    const std::size_t kept = zlibData.size() > zlibHeaderSize ? zlibData.size() - zlibHeaderSize : 0;
    const std::size_t payload = sizeof blockSignature + kept;
    if (payload > 0xFFFF || static_cast<DWORD>(originalSize) > 0xFFFF) return;
    const auto payloadSize = static_cast<short>(payload);
    const auto blockSize = static_cast<short>(originalSize);

    out.reserve(bytesBeforePayload + payload);
    // Header.
    constexpr BYTE cabinetSignature[] = {'M', 'S', 'C', 'F'};
    out.appendLpbyte(cabinetSignature, sizeof cabinetSignature);
    out.appendIntValue(0);
    out.appendIntValue(bytesBeforePayload + static_cast<int>(payload));
    out.appendIntValue(0);
    out.appendIntValue(44);  // offset of the file entry
    out.appendIntValue(0);
    out.appendByteValue(3);  // minor and major version
    out.appendByteValue(1);
    out.appendShortValue(1);  // folders
    out.appendShortValue(1);  // files
    out.appendShortValue(0);  // flags
    out.appendShortValue(0);  // set identifier
    out.appendShortValue(0);  // index of the cabinet
    // Folder entry.
    out.appendIntValue(83);   // offset of the block
    out.appendShortValue(1);  // blocks
    out.appendShortValue(platform::cabinet::tcompTYPE_MSZIP);
    // File entry.
    out.appendIntValue(originalSize);
    out.appendIntValue(0);         // offset in the folder
    out.appendShortValue(0);       // folder
    out.appendShortValue(0x226C);  // 12 March 1997
    out.appendShortValue(0x59BA);  // 11:13:52
    out.appendShortValue(0);       // attributes
    out.insert(out.end(), std::begin(uncompressedName), std::end(uncompressedName));
    out.appendByteValue(0);  // the field of the name is a byte longer
    // Block.
    out.appendIntValue(0);  // no checksum
    out.appendShortValue(payloadSize);
    out.appendShortValue(blockSize);
    out.appendLpbyte(blockSignature, sizeof blockSignature);
    out.insert(out.end(), zlibData.end() - static_cast<std::ptrdiff_t>(kept), zlibData.end());
}
