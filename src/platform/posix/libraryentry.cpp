// The entries that the dynamic linker calls. Thread ends arrive through the thread-local slot.
#include "platform/libraryentry.h"

namespace platform {

namespace {

[[gnu::constructor]] void AttachProcess() {
    LibraryEntry(LibraryEntryReason::ProcessAttach, nullptr);
}

[[gnu::destructor]] void DetachProcess() {
    LibraryEntry(LibraryEntryReason::ProcessDetach, nullptr);
}

}  // namespace

}  // namespace platform
