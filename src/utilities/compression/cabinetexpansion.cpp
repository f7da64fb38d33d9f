// ExpandCabinet: a decompression context whose destination is each file of the staging folder in turn.
#include "utilities/compression/cabinetexpansion.h"

#include <algorithm>
#include <exception>
#include <memory>

#include "utilities/compression/cabbufferasfile.h"
#include "utilities/compression/cabdecompressioncontext.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace nvutil {

namespace {

namespace cabinet = platform::cabinet;

// Names that no file of a cabinet has, since a part of them is empty.
constexpr char sourceName[] = "//Cabinet//";
constexpr char outputName[] = "//Output//";

/// A file that the cabinet library writes from its beginning to its end.
class StagedFile final : public CabOpenFile {
public:
    StagedFile(StagingFolder& staging, std::size_t number, const CabinetFile& file) : m_file(file) {
        RequireUnpacking(staging.CreateOutput(number, m_output), file.path);
    }

    unsigned Read(void* /*out*/, unsigned /*bytes*/, int& /*error*/) override { return cabFailedTransfer; }
    LONG Seek(LONG /*distance*/, int /*origin*/, int& /*error*/) override { return -1; }
    unsigned Write(const void* bytes, unsigned length, int& /*error*/) override {
        if (length > m_file.size - m_written) return cabFailedTransfer;
        RequireUnpacking(m_output.Write({static_cast<const BYTE*>(bytes), length}), m_file.path);
        m_written += length;
        return length;
    }

    /// @return whether the file has got all its bytes
    bool Finish() {
        RequireUnpacking(m_output.Close(), m_file.path);
        return m_written == m_file.size;
    }

private:
    const CabinetFile& m_file;
    platform::OutputFile m_output;
    DWORD m_written = 0;
};

/// The destination: what is opened is the file whose turn it is.
class StagedOutput final : public CabAbstractFile {
public:
    StagedOutput(const std::vector<CabinetFile>& files, StagingFolder& staging)
        : CabAbstractFile(outputName), m_files(files), m_staging(staging) {}

    std::unique_ptr<CabAbstractFile> GetTempCabFile() const override { return nullptr; }

    std::size_t number = 0;  ///< Of the file in the cabinet.

private:
    std::unique_ptr<CabOpenFile> DoOpenCabFile(int /*flags*/, int /*mode*/, int& /*error*/) override {
        return std::make_unique<StagedFile>(m_staging, number, m_files[number]);
    }

    const std::vector<CabinetFile>& m_files;
    StagingFolder& m_staging;
};

/// Takes the files of one method at a time: not every library can change from one to another in a cabinet.
class Expansion final : public CabDecompressionContext {
public:
    Expansion(CabAbstractFile& source, StagedOutput& output, const std::vector<CabinetEntry>& entries)
        : CabDecompressionContext(source, output), m_output(output), m_entries(entries) {}

    void RunPass(WORD method, const CXString& name) {
        m_method = method;
        m_output.number = 0;
        const bool isCopied = CopyFiles();
        if (m_exceptionInCallback) std::rethrow_exception(m_exceptionInCallback);
        if (!isCopied) {
            NV_THROW(ExceptionCompression, "CabinetUnpacker::UnpackTo", __LINE__, NV_TEXT("%s: %ld: %s"),
                     name, static_cast<LONG>(m_errorInfo.erfOper), GetFdiErrorText(m_errorInfo.erfOper));
        }
    }

    /// How many files are complete.
    std::size_t GetFinished() const { return m_finished; }

    FileHandle DoFdiNotify(cabinet::FDINOTIFICATIONTYPE type,
                           cabinet::FDINOTIFICATION& notification) override {
        switch (type) {
            case cabinet::fdintCABINET_INFO:
            case cabinet::fdintENUMERATE:
                return 0;
            case cabinet::fdintCOPY_FILE:
                return Begin(notification.psz1);
            case cabinet::fdintCLOSE_FILE_INFO:
                return Finish(notification.hf) ? 1 : cabinet::invalidFileHandle;
            default:
                return cabinet::invalidFileHandle;
        }
    }

private:
    FileHandle Begin(const char* name) {
        // What the library reads must be what has been checked.
        if (m_output.number >= m_entries.size() || name != m_entries[m_output.number].name)
            return cabinet::invalidFileHandle;
        if (m_entries[m_output.number].method != m_method) {
            ++m_output.number;
            return 0;
        }
        int error = 0;
        m_staged = OpenCabFile(outputName, cabOpenWriteOnly, cabModeReadAndWrite, error);
        return m_staged;
    }

    bool Finish(FileHandle handle) {
        auto* const file =
            static_cast<StagedFile*>(handle == m_staged ? m_fileObjectManager.FindOpenFile(handle) : nullptr);
        const bool isComplete = file != nullptr && file->Finish();
        int error = 0;
        CloseCabFile(handle, error);
        ++m_output.number;
        ++m_finished;
        return isComplete;
    }

    StagedOutput& m_output;
    const std::vector<CabinetEntry>& m_entries;
    WORD m_method = 0;  ///< Of the files that the pass expands.
    FileHandle m_staged = cabinet::invalidFileHandle;
    std::size_t m_finished = 0;
};

}  // namespace

void ExpandCabinet(const CXString& name, const ByteBuffer& bytes, const std::vector<CabinetEntry>& entries,
                   const std::vector<CabinetFile>& files, StagingFolder& staging) {
    CabBufferAsFile source(sourceName, bytes.data(), static_cast<DWORD>(bytes.size()));
    StagedOutput output(files, staging);
    Expansion expansion(source, output, entries);
    for (WORD method = cabinet::tcompTYPE_NONE; method <= cabinet::tcompTYPE_LZX; ++method) {
        if (std::any_of(entries.begin(), entries.end(),
                        [method](const CabinetEntry& entry) { return entry.method == method; }))
            expansion.RunPass(method, name);
    }
    if (expansion.GetFinished() != files.size()) {
        NV_THROW(ExceptionCompression, "CabinetUnpacker::UnpackTo", __LINE__,
                 NV_TEXT("%s: only %I64d files were found"), name,
                 static_cast<std::int64_t>(expansion.GetFinished()));
    }
}

}  // namespace nvutil
