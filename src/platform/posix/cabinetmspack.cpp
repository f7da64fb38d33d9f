// MspackExtractor: libmspack's view of a cabinet and of the file that it extracts.
#include "platform/posix/cabinetmspack.h"

#include <mspack.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "platform/cabinet.h"
#include "platform/posix/cabinetmemory.h"

namespace platform::cabinet {

namespace {

// libmspack only passes these names back to the callbacks.
constexpr char cabinetName[] = "cabinet";
constexpr char targetName[] = "file";

int CodeOf(int mspackError) {
    switch (mspackError) {
        case MSPACK_ERR_NOMEMORY:
            return FDIERROR_ALLOC_FAIL;
        case MSPACK_ERR_WRITE:
            return FDIERROR_TARGET_FILE;
        case MSPACK_ERR_DECRUNCH:
            return FDIERROR_MDI_FAIL;
        default:
            return FDIERROR_CORRUPT_CABINET;
    }
}

}  // namespace

/// One cabinet that libmspack has open. Failures of the source and the target wait here while libmspack,
/// which knows no exceptions, comes to its end.
class MspackExtractor::Session {
public:
    explicit Session(CabinetSource& source) : m_source(source) {
        m_decompressor = mspack_create_cab_decompressor(&m_system);
        if (m_decompressor == nullptr) throw Failure{FDIERROR_ALLOC_FAIL};
        m_cabinet = m_decompressor->open(m_decompressor, cabinetName);
        if (m_cabinet != nullptr) {
            m_file = m_cabinet->files;
            return;
        }
        const int error = m_decompressor->last_error(m_decompressor);
        mspack_destroy_cab_decompressor(m_decompressor);
        Report(error);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        m_decompressor->close(m_decompressor, m_cabinet);
        mspack_destroy_cab_decompressor(m_decompressor);
    }

    void Extract(std::size_t number, const FileEntry& entry, FileTarget& target) {
        Find(number);
        if (m_file == nullptr || m_file->offset != entry.offset || m_file->length != entry.size)
            throw Failure{FDIERROR_CORRUPT_CABINET};
        m_target = &target;
        m_written = 0;
        const int error = m_decompressor->extract(m_decompressor, m_file, targetName);
        m_target = nullptr;
        if (error != MSPACK_ERR_OK) Report(error);
        if (m_written != entry.size) throw Failure{FDIERROR_MDI_FAIL};
    }

    std::size_t GetFurthestByte() const { return m_furthest; }

private:
    /// libmspack's functions, and the way from them back to the session.
    struct System : mspack_system {
        explicit System(Session& owner)
            : mspack_system{&Open,    &Close,    &Read, &Write, &Seek,  &Tell,
                            &Message, &Allocate, &Free, &Copy,  nullptr},
              session(owner) {}
        Session& session;
    };

    /// What libmspack knows as an mspack_file: the cabinet or, where that is null, the target.
    struct File {
        Session& session;
        bool isCabinet;
        off_t position = 0;
    };

    static File& FileOf(mspack_file* file) { return *reinterpret_cast<File*>(file); }

    static mspack_file* Open(mspack_system* self, const char*, int mode) {
        Session& session = static_cast<System*>(self)->session;
        File& file = mode == MSPACK_SYS_OPEN_READ ? session.m_cabinetFile : session.m_targetFile;
        file.position = 0;
        return reinterpret_cast<mspack_file*>(&file);
    }

    static void Close(mspack_file*) {}

    static int Read(mspack_file* file, void* buffer, int bytes) {
        File& source = FileOf(file);
        return source.isCabinet && bytes >= 0 ? source.session.ReadSource(source, buffer, bytes) : -1;
    }

    static int Write(mspack_file* file, void* buffer, int bytes) {
        const File& target = FileOf(file);
        return !target.isCabinet && bytes >= 0 ? target.session.WriteTarget(buffer, bytes) : -1;
    }

    static int Seek(mspack_file* file, off_t offset, int mode) {
        File& moved = FileOf(file);
        // Nobody needs the end: a cabinet's header tells its size.
        const off_t base = mode == MSPACK_SYS_SEEK_CUR ? moved.position : 0;
        if (mode == MSPACK_SYS_SEEK_END || base + offset < 0) return -1;
        moved.position = base + offset;
        return 0;
    }

    static off_t Tell(mspack_file* file) { return FileOf(file).position; }

    static void Message(mspack_file*, const char*, ...) {
    }  // NOLINT(cert-dcl50-cpp): as libmspack declares it

    // libmspack hands copies of the system to these, so that no way leads from them back to the session.
    // Cleared, since a match may reach back to before the data, into a window that nothing has been written
    // to.
    static void* Allocate(mspack_system*, std::size_t bytes) { return std::calloc(1, bytes); }
    static void Free(void* memory) { std::free(memory); }
    static void Copy(void* source, void* target, std::size_t bytes) { std::memcpy(target, source, bytes); }

    int ReadSource(File& file, void* buffer, int bytes) {
        try {
            const std::size_t count =
                m_source.ReadUpTo(static_cast<std::size_t>(file.position), static_cast<BYTE*>(buffer),
                                  static_cast<std::size_t>(bytes));
            file.position += static_cast<off_t>(count);
            m_furthest = std::max(m_furthest, static_cast<std::size_t>(file.position));
            return static_cast<int>(count);
        } catch (...) {
            m_failure = std::current_exception();
            return -1;
        }
    }

    int WriteTarget(const void* buffer, int bytes) {
        try {
            m_target->Write(static_cast<const BYTE*>(buffer), static_cast<std::size_t>(bytes));
            m_written += static_cast<std::size_t>(bytes);
            return bytes;
        } catch (...) {
            m_failure = std::current_exception();
            return -1;
        }
    }

    void Find(std::size_t number) {
        if (number < m_number) {
            m_file = m_cabinet->files;
            m_number = 0;
        }
        for (; m_number < number && m_file != nullptr; ++m_number)
            m_file = m_file->next;
    }

    [[noreturn]] void Report(int error) {
        if (m_failure) std::rethrow_exception(m_failure);
        throw Failure{CodeOf(error)};
    }

    CabinetSource& m_source;
    System m_system{*this};
    File m_cabinetFile{*this, true};
    File m_targetFile{*this, false};
    mscab_decompressor* m_decompressor = nullptr;
    mscabd_cabinet* m_cabinet = nullptr;
    mscabd_file* m_file = nullptr;  ///< The file of the number below.
    std::size_t m_number = 0;
    std::size_t m_furthest = 0;
    FileTarget* m_target = nullptr;
    std::size_t m_written = 0;
    std::exception_ptr m_failure;
};

MspackExtractor::MspackExtractor(CabinetSource& source) : m_source(source) {}

MspackExtractor::~MspackExtractor() = default;

void MspackExtractor::Extract(std::size_t number, const FileEntry& entry, FileTarget& target) {
    if (m_session == nullptr) m_session = std::make_unique<Session>(m_source);
    m_session->Extract(number, entry, target);
}

std::size_t MspackExtractor::GetFurthestByte() const {
    return m_session == nullptr ? 0 : m_session->GetFurthestByte();
}

}  // namespace platform::cabinet
