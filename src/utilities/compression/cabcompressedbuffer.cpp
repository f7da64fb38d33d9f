// CabCompressedBuffer: cabinets in memory, and zlib data of earlier versions turned into them.
#include "utilities/compression/cabcompressedbuffer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/cabinetformat.h"
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
    try {
        bool success = false;
        CabCompressedBuffer buffer(data, success);
        if (success) buffer.GetOriginalData(data);
        return success;
    } catch (...) {
        return false;
    }
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
    if (throwOnFailure) {
        NV_THROW(ExceptionIncompatibleCompressionFormat,
                 "CabCompressedBuffer::ConvertCompressedDataToNativeFormat", __LINE__);
    }
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
    using namespace platform::cabinet;
    constexpr std::size_t zlibHeaderSize = 2;
    constexpr std::size_t nameSize = sizeof uncompressedName + 1;  // the field is a byte longer than the name
    constexpr auto fileOffset = encodedSize<Header> + encodedSize<FolderEntry>;
    constexpr auto blockOffset = fileOffset + encodedSize<FileEntry> + nameSize;
    const std::size_t kept = zlibData.size() > zlibHeaderSize ? zlibData.size() - zlibHeaderSize : 0;
    const std::size_t payload = sizeof blockSignature + kept;
    if (payload > 0xFFFF || static_cast<DWORD>(originalSize) > 0xFFFF) return;

    const Header header{
        .signature = headerSignature,
        .cabinetSize = static_cast<std::uint32_t>(blockOffset + encodedSize<DataHeader> + payload),
        .firstFileOffset = fileOffset,
        .minorVersion = formatMinor,
        .majorVersion = formatMajor,
        .folderCount = 1,
        .fileCount = 1};
    const FolderEntry folder{.dataOffset = blockOffset, .blockCount = 1, .compression = tcompTYPE_MSZIP};
    // 12 March 1997, 11:13:52
    const FileEntry file{.size = static_cast<std::uint32_t>(originalSize), .date = 0x226C, .time = 0x59BA};
    const DataHeader block{.payloadSize = static_cast<std::uint16_t>(payload),
                           .uncompressedSize = static_cast<std::uint16_t>(originalSize)};
    const auto append = [&out]<class Structure>(const Structure& structure) {
        BYTE bytes[encodedSize<Structure>];
        Encode(structure, bytes);
        out.appendLpbyte(bytes, sizeof bytes);
    };
    out.reserve(header.cabinetSize);
    append(header);
    append(folder);
    append(file);
    out.insert(out.end(), std::begin(uncompressedName), std::end(uncompressedName));
    out.appendByteValue(0);
    append(block);
    out.appendLpbyte(blockSignature, sizeof blockSignature);
    out.insert(out.end(), zlibData.end() - static_cast<std::ptrdiff_t>(kept), zlibData.end());
}
