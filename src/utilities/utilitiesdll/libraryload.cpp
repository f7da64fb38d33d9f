// What is remembered of the library's load into the process.
#include "utilities/utilitiesdll/libraryload.h"

#include <chrono>

namespace {

// Written before the library's static objects are made, and so not one of them.
constinit LibraryLoad libraryLoad{};

}  // namespace

LibraryLoad GetLibraryLoad() {
    return libraryLoad;
}

void SetLibraryLoad(const LibraryLoad& load) {
    libraryLoad = load;
}

DWORD GetTickCountNow() {
    using namespace std::chrono;
    return static_cast<DWORD>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}
