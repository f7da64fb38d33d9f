// CabBufferAsFile: reading, writing and growing memory through a file position.
#include "utilities/compression/cabbufferasfile.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <limits>
#include <span>

namespace {

constexpr std::int64_t largestPosition = std::numeric_limits<LONG>::max();

/// What both kinds of opening share: the position.
class OpenMemory : public CabOpenFile {
public:
    LONG Seek(LONG distance, int origin, int& error) override {
        const std::int64_t bases[] = {0, m_position, static_cast<std::int64_t>(GetBytes().size())};
        const bool knownOrigin = origin >= 0 && origin <= 2;
        const std::int64_t target = knownOrigin ? bases[origin] + distance : -1;
        if (target < 0 || target > largestPosition) {
            error = cabFileErrorInvalidArgument;
            return -1;
        }
        m_position = target;
        return static_cast<LONG>(target);
    }

    unsigned Read(void* out, unsigned bytes, int& /*error*/) override {
        const std::span<const BYTE> all = GetBytes();
        const auto begin = std::min(static_cast<std::size_t>(m_position), all.size());
        const std::size_t length = std::min<std::size_t>(bytes, all.size() - begin);
        if (length != 0) std::memcpy(out, all.data() + begin, length);
        m_position += static_cast<std::int64_t>(length);
        return static_cast<unsigned>(length);
    }

protected:
    virtual std::span<const BYTE> GetBytes() const = 0;

    std::int64_t m_position = 0;  ///< 0 to largestPosition.
};

class OpenReadOnlyMemory final : public OpenMemory {
public:
    explicit OpenReadOnlyMemory(std::span<const BYTE> bytes) : m_bytes(bytes) {}

    unsigned Write(const void* /*bytes*/, unsigned /*length*/, int& error) override {
        error = cabFileErrorAccessDenied;
        return cabFailedTransfer;
    }

private:
    std::span<const BYTE> GetBytes() const override { return m_bytes; }

    std::span<const BYTE> m_bytes;
};

class OpenByteBuffer final : public OpenMemory {
public:
    explicit OpenByteBuffer(ByteBuffer& buffer) : m_buffer(buffer) {}

    unsigned Write(const void* bytes, unsigned length, int& error) override {
        if (length > largestPosition - m_position) {
            error = cabFileErrorNoMemory;
            return cabFailedTransfer;
        }
        if (length == 0) return 0;
        const auto begin = static_cast<std::size_t>(m_position);
        if (begin > m_buffer.size()) m_buffer.resize(begin);
        const std::size_t inside = std::min<std::size_t>(length, m_buffer.size() - begin);
        const auto* source = static_cast<const BYTE*>(bytes);
        std::copy_n(source, inside, m_buffer.data() + begin);
        m_buffer.insert(m_buffer.end(), source + inside, source + length);
        m_position += length;
        return length;
    }

private:
    std::span<const BYTE> GetBytes() const override { return m_buffer; }

    ByteBuffer& m_buffer;
};

}  // namespace

CabBufferAsFile::CabBufferAsFile(const char* pathAndName) : CabAbstractFile(pathAndName) {}

CabBufferAsFile::CabBufferAsFile(const char* pathAndName, const BYTE* bytes, DWORD size)
    : CabAbstractFile(pathAndName), m_bytes(bytes), m_size(size) {}

CabBufferAsFile::CabBufferAsFile(const char* pathAndName, ByteBuffer& buffer)
    : CabAbstractFile(pathAndName), m_buffer(&buffer) {}

CabBufferAsFile::~CabBufferAsFile() = default;

std::unique_ptr<CabAbstractFile> CabBufferAsFile::GetTempCabFile() const {
    static std::atomic<unsigned> lastNumber{0};
    char name[40];
    std::snprintf(name, sizeof name, "//Temporary-Data-%u//", ++lastNumber);

    auto file = std::make_unique<CabBufferAsFile>(name);
    file->m_ownBuffer = std::make_unique<ByteBuffer>();
    file->m_buffer = file->m_ownBuffer.get();
    return file;
}

std::unique_ptr<CabOpenFile> CabBufferAsFile::DoOpenCabFile(int flags, int /*mode*/, int& error) {
    if (m_buffer != nullptr) return std::make_unique<OpenByteBuffer>(*m_buffer);
    if (m_bytes == nullptr) {
        AppendErrorDetails(
            NV_TEXT("CabBufferAsFile::DoOpenCabFile(): There's no buffer specified to serve as the "
                    "pseudo-file (all possible buffer pointers are NULL)!"));
        error = cabFileErrorNotFound;
        return nullptr;
    }
    if ((flags & cabOpenAccessMask) != cabOpenReadOnly) {
        AppendErrorDetails(NV_TEXT("CabBufferAsFile::DoOpenCabFile(): The memory can only be read. "));
        error = cabFileErrorAccessDenied;
        return nullptr;
    }
    return std::make_unique<OpenReadOnlyMemory>(std::span(m_bytes, m_size));
}
