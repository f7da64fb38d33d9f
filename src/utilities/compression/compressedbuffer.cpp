// CompressedBuffer: the state and its footers.
#include "utilities/compression/compressedbuffer.h"

#include <cstdint>
#include <iterator>
#include <limits>

#include "utilities/compression/compressedbufferfooter.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr DWORD largestOriginalSize = std::numeric_limits<LONG>::max();
constexpr std::uint64_t largestExpansion = 1032;  // of deflate: 258 bytes in 2 bits
constexpr LONG largestBelievedSize = 16 * 1024 * 1024;

void AppendBigEndian(ByteBuffer& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<BYTE>(value >> shift));
}

}  // namespace

const char CompressedBuffer::m_skrchSignatureBytes[4] = {'C', 'O', 'M', '5'};
const char CompressedBuffer::m_skrchSignatureBytes40[4] = {'C', 'O', 'M', '4'};
const char CompressedBuffer::m_skrchSignatureBytes37[4] = {'C', 'O', 'M', 'P'};

CompressedBuffer::CompressedBuffer(CompressionFormatEnum format, int setting)
    : m_setting(setting), m_format(format) {
    m_state.reserve(GetSizeOfFooterInfo());
    AddFooterInfo(0, setting, format);
}

CompressedBuffer::CompressedBuffer(const CompressedBuffer& other) = default;
CompressedBuffer& CompressedBuffer::operator=(const CompressedBuffer& other) = default;
CompressedBuffer::~CompressedBuffer() = default;

void CompressedBuffer::Dump() const {}

void CompressedBuffer::CheckCompressedData(const ByteBuffer& /*compressed*/, LONG /*originalSize*/) const {}

void CompressedBuffer::Store(const ByteBuffer& data) {
    if (data.size() > largestOriginalSize) {
        NV_THROW(ExceptionCompression, "CompressedBuffer::Store", __LINE__,
                 NV_TEXT("The data is too large to be compressed"));
    }
    Store(data.getLpbyte(), data.getDword());
}

void CompressedBuffer::Store(const unsigned char* data, unsigned long size) {
    if (size > largestOriginalSize) {
        NV_THROW(ExceptionCompression, "CompressedBuffer::Store", __LINE__,
                 NV_TEXT("The data is too large to be compressed"));
    }
    const auto originalSize = static_cast<LONG>(size);
    if (size != 0) {
        CompressData(data, static_cast<DWORD>(size), m_state, m_setting);
    } else {
        m_state.clear();
    }
    AddFooterInfo(originalSize, m_setting, m_format);
    m_originalSize = originalSize;
    Dump();
}

void CompressedBuffer::GetOriginalData(ByteBuffer& out) {
    Dump();
    if (m_originalSize < 1) {
        out.clear();
        return;
    }
    const auto originalSize = static_cast<std::size_t>(m_originalSize);
    if (originalSize > m_state.size() * largestExpansion) {
        NV_THROW(ExceptionCompression, "CompressedBuffer::GetOriginalData", __LINE__,
                 NV_TEXT("A state of %I64d bytes cannot hold %ld bytes of data"),
                 static_cast<std::int64_t>(m_state.size()), m_originalSize);
    }
    if (m_originalSize > largestBelievedSize) CheckCompressedData(m_state, m_originalSize);
    out.assign(originalSize, 0);
    UncompressData(m_state, m_originalSize, out);
}

void CompressedBuffer::GetCompressedData(ByteBuffer& out) const {
    out.assign(m_state.begin(), m_state.end() - GetSizeOfFooterInfo());
}

void CompressedBuffer::InitializeWithCompressedBufferState(const ByteBuffer& state) {
    InitializeFromState(state, true);
}

bool CompressedBuffer::TryToInitializeWithCompressedBufferState(const ByteBuffer& state) {
    return InitializeFromState(state, false);
}

bool CompressedBuffer::InitializeFromState(const ByteBuffer& state, bool throwOnFailure) {
    LONG originalSize = 0;
    int setting = 0;
    CompressionFormatEnum format = CF_UNKNOWN;
    DWORD footerSize = 0;
    if (!GetFooterInfo(state, throwOnFailure, originalSize, setting, format, footerSize)) return false;

    ByteBuffer compressed;
    compressed.reserve(state.size() - footerSize + GetSizeOfFooterInfo());
    compressed.assign(state.begin(), state.end() - footerSize);
    if (!ConvertCompressedDataToNativeFormat(format, setting, originalSize, compressed, throwOnFailure))
        return false;

    m_state = std::move(compressed);
    m_originalSize = originalSize;
    m_setting = setting;
    AddFooterInfo(m_originalSize, m_setting, m_format);
    return true;
}

void CompressedBuffer::AddFooterInfo(LONG originalSize, int setting, CompressionFormatEnum format) {
    m_state.push_back(static_cast<BYTE>(format));
    AppendBigEndian(m_state, static_cast<std::uint32_t>(setting));
    AppendBigEndian(m_state, static_cast<std::uint32_t>(originalSize));
    m_state.insert(m_state.end(), std::begin(m_skrchSignatureBytes), std::end(m_skrchSignatureBytes));
}

bool CompressedBuffer::GetFooterInfo(const ByteBuffer& state, bool throwOnFailure, LONG& originalSize,
                                     int& setting, CompressionFormatEnum& format, DWORD& footerSize) {
    const auto footer = ReadCompressedBufferFooter(state);
    if (!footer) {
        if (throwOnFailure) {
            NV_THROW(ExceptionMissingOrBadCompressedBufferFooter, "CompressedBuffer::GetFooterInfo",
                     __LINE__);
        }
        return false;
    }
    originalSize = footer->originalSize;
    setting = footer->setting.value_or(-1);
    if (footer->format) format = *footer->format;
    footerSize = static_cast<DWORD>(footer->size);
    return true;
}
