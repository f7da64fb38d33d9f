// CabBufferAsFile: a virtual file whose bytes lie in memory.
#pragma once

#include <memory>

#include "platform/internalapi.h"
#include "utilities/compression/cababstractfile.h"
#include "utilities/utilitiesdll/bytebuffer.h"

/// Presents memory as a file. The memory must outlive the file.
class NVUTIL_INTERNAL_API CabBufferAsFile : public CabAbstractFile {
public:
    /// A file without any memory: it has a name, but opening it fails.
    explicit CabBufferAsFile(const char* pathAndName);
    /// A file that can only be read; null bytes make a file without memory.
    CabBufferAsFile(const char* pathAndName, const BYTE* bytes, DWORD size);
    /// A file that starts with the buffer's bytes. Writes behind its end grow the buffer; nothing, not even
    /// an open that asks for it, ever shortens it, since stores deliberately keep what a longer one left
    /// behind.
    CabBufferAsFile(const char* pathAndName, ByteBuffer& buffer);
    ~CabBufferAsFile() override;

    /// @return a file over a buffer of its own
    std::unique_ptr<CabAbstractFile> GetTempCabFile() const override;

protected:
    std::unique_ptr<CabOpenFile> DoOpenCabFile(int flags, int mode, int& error) override;

private:
    const BYTE* m_bytes = nullptr;
    DWORD m_size = 0;
    ByteBuffer* m_buffer = nullptr;
    std::unique_ptr<ByteBuffer> m_ownBuffer;  ///< Of temporary files.
};
