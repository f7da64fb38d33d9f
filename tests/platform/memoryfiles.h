// A set of files in memory behind the callbacks of the cabinet library, with a call that can be made to fail.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/cabinet.h"

namespace cabinettest {

using Bytes = std::vector<BYTE>;

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

    void Put(const std::string& name, Bytes bytes) {
        m_files[name] = std::make_shared<Bytes>(std::move(bytes));
    }
    std::optional<Bytes> Get(const std::string& name) const {
        const auto found = m_files.find(name);
        return found == m_files.end() ? std::nullopt : std::optional<Bytes>(*found->second);
    }

    /// Makes the numbered callback call from now on fail, counted from 1 over all kinds that can fail.
    void FailCall(int number) { m_failingCall = number; }
    /// Which kind of call was made to fail; none when the failing number was not reached.
    Call FailedCall() const { return m_failedCall; }

    std::size_t OpenHandles() const { return m_handles.size(); }
    std::size_t Allocations() const { return m_allocations; }

    /// Counts one call; true when it is the one to fail.
    bool Fails(Call call) {
        if (++m_calls != m_failingCall) return false;
        m_failedCall = call;
        return true;
    }

    platform::cabinet::FileHandle Open(const std::string& name, int flags, Call call = Call::open) {
        constexpr int create = 0x100;
        constexpr int truncate = 0x200;
        if (Fails(call)) return platform::cabinet::invalidFileHandle;
        auto found = m_files.find(name);
        if (found == m_files.end()) {
            if ((flags & create) == 0) return platform::cabinet::invalidFileHandle;
            found = m_files.emplace(name, std::make_shared<Bytes>()).first;
        }
        if ((flags & truncate) != 0) found->second->clear();
        m_handles[++m_lastHandle] = {found->second, 0};
        return m_lastHandle;
    }

    unsigned Read(platform::cabinet::FileHandle handle, void* bytes, unsigned size) {
        if (Fails(Call::read) || !m_handles.contains(handle)) return failedTransfer;
        OpenFile& file = m_handles[handle];
        const std::size_t left = file.bytes->size() - std::min(file.position, file.bytes->size());
        const std::size_t count = std::min<std::size_t>(size, left);
        if (count != 0) std::memcpy(bytes, file.bytes->data() + file.position, count);
        file.position += count;
        return static_cast<unsigned>(count);
    }

    unsigned Write(platform::cabinet::FileHandle handle, const void* bytes, unsigned size) {
        if (Fails(Call::write) || !m_handles.contains(handle)) return failedTransfer;
        OpenFile& file = m_handles[handle];
        if (file.bytes->size() < file.position + size) file.bytes->resize(file.position + size);
        if (size != 0) std::memcpy(file.bytes->data() + file.position, bytes, size);
        file.position += size;
        return size;
    }

    /// A close that fails has closed the file all the same.
    int Close(platform::cabinet::FileHandle handle) {
        const bool wasOpen = m_handles.erase(handle) != 0;
        return Fails(Call::close) || !wasOpen ? -1 : 0;
    }

    LONG Seek(platform::cabinet::FileHandle handle, LONG distance, int origin) {
        if (Fails(Call::seek) || !m_handles.contains(handle)) return -1;
        OpenFile& file = m_handles[handle];
        const auto position = static_cast<LONG>(file.position);
        const auto size = static_cast<LONG>(file.bytes->size());
        const LONG target = distance + (origin == SEEK_SET ? 0 : origin == SEEK_CUR ? position : size);
        if (target < 0) return -1;
        file.position = static_cast<std::size_t>(target);
        return target;
    }

    static void* NV_CABINET_CALL AllocateCallback(DWORD size) {
        if (Current().Fails(Call::allocate)) return nullptr;
        ++Current().m_allocations;
        return std::malloc(size);
    }
    static void NV_CABINET_CALL FreeCallback(void* memory) {
        if (memory != nullptr) --Current().m_allocations;
        std::free(memory);
    }

    static platform::cabinet::FileHandle NV_CABINET_CALL FciOpen(char* name, int flags, int, int* error,
                                                                 void*) {
        return Reported(Current().Open(name, flags), error);
    }
    static unsigned NV_CABINET_CALL FciRead(platform::cabinet::FileHandle handle, void* bytes, unsigned size,
                                            int* error, void*) {
        return Reported(Current().Read(handle, bytes, size), error);
    }
    static unsigned NV_CABINET_CALL FciWrite(platform::cabinet::FileHandle handle, void* bytes, unsigned size,
                                             int* error, void*) {
        return Reported(Current().Write(handle, bytes, size), error);
    }
    static int NV_CABINET_CALL FciClose(platform::cabinet::FileHandle handle, int* error, void*) {
        return Reported(Current().Close(handle), error);
    }
    static LONG NV_CABINET_CALL FciSeek(platform::cabinet::FileHandle handle, LONG distance, int origin,
                                        int* error, void*) {
        return Reported(Current().Seek(handle, distance, origin), error);
    }
    static int NV_CABINET_CALL FciDelete(char* name, int*, void*) {
        return Current().m_files.erase(name) != 0 ? 0 : -1;
    }
    static BOOL NV_CABINET_CALL FciGetTempFile(char* name, int capacity, void*) {
        const std::string unique = "temporary" + std::to_string(++Current().m_temporaryFiles);
        if (static_cast<std::size_t>(capacity) <= unique.size()) return 0;
        std::memcpy(name, unique.c_str(), unique.size() + 1);
        return 1;
    }
    static platform::cabinet::FileHandle NV_CABINET_CALL FciGetOpenInfo(char* name, WORD* date, WORD* time,
                                                                        WORD* attributes, int* error, void*) {
        *date = fileDate;
        *time = fileTime;
        *attributes = fileAttributes;
        return Reported(Current().Open(name, 0, Call::openInfo), error);
    }

    static platform::cabinet::FileHandle NV_CABINET_CALL FdiOpen(char* name, int flags, int) {
        return Current().Open(name, flags);
    }
    static unsigned NV_CABINET_CALL FdiRead(platform::cabinet::FileHandle handle, void* bytes,
                                            unsigned size) {
        return Current().Read(handle, bytes, size);
    }
    static unsigned NV_CABINET_CALL FdiWrite(platform::cabinet::FileHandle handle, void* bytes,
                                             unsigned size) {
        return Current().Write(handle, bytes, size);
    }
    static int NV_CABINET_CALL FdiClose(platform::cabinet::FileHandle handle) {
        return Current().Close(handle);
    }
    static LONG NV_CABINET_CALL FdiSeek(platform::cabinet::FileHandle handle, LONG distance, int origin) {
        return Current().Seek(handle, distance, origin);
    }

private:
    struct OpenFile {
        std::shared_ptr<Bytes> bytes;
        std::size_t position;
    };

    static constexpr unsigned failedTransfer = static_cast<unsigned>(-1);

    template <class Result>
    static Result Reported(Result result, int* error) {
        if (result == static_cast<Result>(-1)) *error = callbackError;
        return result;
    }

    static inline MemoryFiles* s_current = nullptr;

    MemoryFiles* m_previous;
    std::map<std::string, std::shared_ptr<Bytes>> m_files;
    std::map<platform::cabinet::FileHandle, OpenFile> m_handles;
    platform::cabinet::FileHandle m_lastHandle = 0;
    std::size_t m_allocations = 0;
    int m_temporaryFiles = 0;
    int m_calls = 0;
    int m_failingCall = 0;
    Call m_failedCall = Call::none;
};

}  // namespace cabinettest
