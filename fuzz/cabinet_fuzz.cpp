// Fuzzes the reading side of the cabinet library: the input is a cabinet in memory.
//
// Whatever the bytes: every file is closed once, never receives more than its notified size, and receives
// exactly that when the library says that all went well.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/cabinet.h"
#include "platform/module.h"

namespace {

using namespace platform::cabinet;

constexpr FileHandle cabinetHandle = 1;
constexpr FileHandle targetHandle = 2;
// Enough to cross many blocks; a small input can ask for gigabytes.
constexpr std::size_t maxWritten = std::size_t{4} << 20;

struct Run {
    const std::uint8_t* bytes = nullptr;
    std::size_t size = 0;
    std::size_t position = 0;
    bool cabinetIsOpen = false;
    bool targetIsOpen = false;
    std::size_t targetSize = 0;
    std::size_t targetWritten = 0;
    std::size_t written = 0;
};
Run* run = nullptr;

void Require(bool condition) {
    if (!condition) std::abort();
}

void* NV_CABINET_CALL Allocate(DWORD size) {
    return std::malloc(size);
}

void NV_CABINET_CALL Free(void* memory) {
    std::free(memory);
}

FileHandle NV_CABINET_CALL Open(char*, int, int) {
    run->cabinetIsOpen = true;
    run->position = 0;
    return cabinetHandle;
}

unsigned NV_CABINET_CALL Read(FileHandle handle, void* bytes, unsigned size) {
    Require(handle == cabinetHandle);
    const std::size_t left = run->size - std::min(run->position, run->size);
    const std::size_t count = std::min<std::size_t>(size, left);
    std::memset(bytes, 0xA5, size);  // The room was really there.
    if (count != 0) std::memcpy(bytes, run->bytes + run->position, count);
    run->position += count;
    return static_cast<unsigned>(count);
}

unsigned NV_CABINET_CALL Write(FileHandle handle, void* bytes, unsigned size) {
    Require(handle == targetHandle && run->targetIsOpen);
    static std::uint8_t lastWrite[32768];
    Require(size != 0 && size <= sizeof(lastWrite));
    std::memcpy(lastWrite, bytes, size);  // Lets the sanitizer see that the bytes are there.
    run->targetWritten += size;
    run->written += size;
    Require(run->targetWritten <= run->targetSize);
    return run->written <= maxWritten ? size : 0;
}

int NV_CABINET_CALL Close(FileHandle handle) {
    bool& isOpen = handle == cabinetHandle ? run->cabinetIsOpen : run->targetIsOpen;
    Require(isOpen);
    isOpen = false;
    return 0;
}

LONG NV_CABINET_CALL Seek(FileHandle handle, LONG distance, int origin) {
    Require(handle == cabinetHandle && origin == SEEK_SET && distance >= 0);
    run->position = static_cast<std::size_t>(distance);
    return distance;
}

FileHandle NV_CABINET_CALL Notify(FDINOTIFICATIONTYPE type, FDINOTIFICATION* notification) {
    switch (type) {
        case fdintCOPY_FILE:
            Require(std::strlen(notification->psz1) < 256 && notification->cb >= 0);
            if ((notification->attribs & 1) != 0) return 0;
            run->targetIsOpen = true;
            run->targetSize = static_cast<std::size_t>(notification->cb);
            run->targetWritten = 0;
            return targetHandle;
        case fdintCLOSE_FILE_INFO:
            Require(run->targetIsOpen && run->targetWritten == run->targetSize);
            run->targetIsOpen = false;
            return 1;
        default:
            return 0;
    }
}

template <class Function>
Function Find(const char* name) {
    static const platform::Module module = platform::LoadModule("cabinet.dll");
    return reinterpret_cast<Function>(platform::FindModuleFunction(module, name));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto create = Find<FdiCreateFunction>("FDICreate");
    static const auto isCabinet = Find<FdiIsCabinetFunction>("FDIIsCabinet");
    static const auto copy = Find<FdiCopyFunction>("FDICopy");
    static const auto destroy = Find<FdiDestroyFunction>("FDIDestroy");

    Run thisRun{data, size};
    run = &thisRun;
    ERF errors{};
    const HFDI context = create(&Allocate, &Free, &Open, &Read, &Write, &Close, &Seek, -1, &errors);
    FDICABINETINFO info{};
    const bool recognised = isCabinet(context, cabinetHandle, &info) != 0;
    Require(recognised == (errors.fError == 0));
    char name[] = "fuzzed.cab";
    char path[] = "";
    const bool copied = copy(context, name, path, 0, &Notify, nullptr, nullptr) != 0;
    Require(recognised || !copied);
    Require(copied || (errors.fError != 0 && errors.erfOper != FDIERROR_NONE));
    Require(!run->cabinetIsOpen && !run->targetIsOpen);
    destroy(context);
    return 0;
}
