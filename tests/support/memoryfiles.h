// A set of files in memory behind the callbacks of the cabinet library, with a call that can be made to fail.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/cabinet.h"
#include "utilities/utilitiesdll/bytebuffer.h"

namespace cabinettest {

using platform::cabinet::FileHandle;

/// The callbacks of the library, as far as they can fail.
enum class Call { none, allocate, open, read, write, close, seek, openInfo, filePlaced, status, notify };

/// FDI's file callbacks receive no user pointer, so one set at a time is current: the one made last of those
/// alive.
class MemoryFiles {
public:
    static constexpr int callbackError = 77;
    static constexpr WORD fileDate = 0x226C;
    static constexpr WORD fileTime = 0x59BA;
    static constexpr WORD fileAttributes = 0x21;

    MemoryFiles() : m_previous(s_current) { s_current = this; }
    MemoryFiles(const MemoryFiles&) = delete;
    MemoryFiles& operator=(const MemoryFiles&) = delete;
    ~MemoryFiles() { s_current = m_previous; }

    static MemoryFiles& Current() { return *s_current; }

    void Put(const std::string& name, ByteBuffer bytes) {
        m_files[name] = std::make_shared<ByteBuffer>(std::move(bytes));
    }
    /// Nothing for a file that there is not.
    ByteBuffer Get(const std::string& name) const {
        const auto found = m_files.find(name);
        return found == m_files.end() ? ByteBuffer() : *found->second;
    }

    /// Makes the numbered callback call from now on fail, counted from 1 over all kinds that can fail.
    void FailCall(int number) { m_failingCall = number; }
    /// Which kind of call was made to fail; none when the failing number was not reached.
    Call FailedCall() const { return m_failedCall; }
    /// Whether every handle is closed and all memory given back.
    bool IsAllReleased() const { return m_handles.empty() && m_allocations == 0; }

    /// Counts one call; true when it is the one to fail.
    bool Fails(Call call) {
        if (++m_calls != m_failingCall) return false;
        m_failedCall = call;
        return true;
    }

    FileHandle Open(const std::string& name, int flags, Call call = Call::open) {
        constexpr int create = 0x100;
        constexpr int truncate = 0x200;
        if (Fails(call)) return platform::cabinet::invalidFileHandle;
        auto found = m_files.find(name);
        if (found == m_files.end()) {
            if ((flags & create) == 0) return platform::cabinet::invalidFileHandle;
            found = m_files.emplace(name, std::make_shared<ByteBuffer>()).first;
        }
        if ((flags & truncate) != 0) found->second->clear();
        m_handles[++m_lastHandle] = {found->second, 0};
        return m_lastHandle;
    }
    FileHandle OpenNamed(char* name, int flags, int /*mode*/) { return Open(name, flags); }

    unsigned Read(FileHandle handle, void* bytes, unsigned size) {
        if (Fails(Call::read) || !m_handles.contains(handle)) return failedTransfer;
        OpenFile& file = m_handles[handle];
        const std::size_t left = file.bytes->size() - std::min(file.position, file.bytes->size());
        const std::size_t count = std::min<std::size_t>(size, left);
        if (count != 0) std::memcpy(bytes, file.bytes->data() + file.position, count);
        file.position += count;
        return static_cast<unsigned>(count);
    }

    unsigned Write(FileHandle handle, void* bytes, unsigned size) {
        if (Fails(Call::write) || !m_handles.contains(handle)) return failedTransfer;
        OpenFile& file = m_handles[handle];
        if (file.bytes->size() < file.position + size) file.bytes->resize(file.position + size);
        if (size != 0) std::memcpy(file.bytes->data() + file.position, bytes, size);
        file.position += size;
        return size;
    }

    /// A close that fails has closed the file all the same.
    int Close(FileHandle handle) {
        const bool wasOpen = m_handles.erase(handle) != 0;
        return Fails(Call::close) || !wasOpen ? -1 : 0;
    }

    LONG Seek(FileHandle handle, LONG distance, int origin) {
        if (Fails(Call::seek) || !m_handles.contains(handle)) return -1;
        OpenFile& file = m_handles[handle];
        const std::size_t bases[] = {0, file.position, file.bytes->size()};
        const LONG target = static_cast<LONG>(bases[origin]) + distance;
        if (target < 0) return -1;
        file.position = static_cast<std::size_t>(target);
        return target;
    }

    static void* NV_CABINET_CALL Allocate(DWORD size) {
        if (Current().Fails(Call::allocate)) return nullptr;
        ++Current().m_allocations;
        return std::malloc(size);
    }
    static void NV_CABINET_CALL Free(void* memory) {
        if (memory != nullptr) --Current().m_allocations;
        std::free(memory);
    }
    static int NV_CABINET_CALL Delete(char* name, int* /*error*/, void* /*user*/) {
        return Current().m_files.erase(name) != 0 ? 0 : -1;
    }
    static BOOL NV_CABINET_CALL GetTempFile(char* name, int capacity, void* /*user*/) {
        const std::string unique = "temporary" + std::to_string(++Current().m_temporaryFiles);
        if (static_cast<std::size_t>(capacity) <= unique.size()) return 0;
        std::memcpy(name, unique.c_str(), unique.size() + 1);
        return 1;
    }
    static FileHandle NV_CABINET_CALL GetOpenInfo(char* name, WORD* date, WORD* time, WORD* attributes,
                                                  int* error, void* /*user*/) {
        *date = fileDate;
        *time = fileTime;
        *attributes = fileAttributes;
        const FileHandle handle = Current().Open(name, 0, Call::openInfo);
        if (handle == platform::cabinet::invalidFileHandle) *error = callbackError;
        return handle;
    }

private:
    struct OpenFile {
        std::shared_ptr<ByteBuffer> bytes;
        std::size_t position;
    };

    static constexpr unsigned failedTransfer = static_cast<unsigned>(-1);
    static inline MemoryFiles* s_current = nullptr;

    MemoryFiles* m_previous;
    std::map<std::string, std::shared_ptr<ByteBuffer>> m_files;
    std::map<FileHandle, OpenFile> m_handles;
    FileHandle m_lastHandle = 0;
    std::size_t m_allocations = 0;
    int m_temporaryFiles = 0;
    int m_calls = 0;
    int m_failingCall = 0;
    Call m_failedCall = Call::none;
};

/// The library's callback for a method: the reader's, and the writer's, which tells an error number too.
template <auto method>
struct Callback;
template <class Result, class... Arguments, Result (MemoryFiles::*method)(Arguments...)>
struct Callback<method> {
    static Result NV_CABINET_CALL Fdi(Arguments... arguments) {
        return (MemoryFiles::Current().*method)(arguments...);
    }
    static Result NV_CABINET_CALL Fci(Arguments... arguments, int* error, void* /*user*/) {
        const Result result = Fdi(arguments...);
        if (result == static_cast<Result>(-1)) *error = MemoryFiles::callbackError;
        return result;
    }
};

}  // namespace cabinettest
