// The locks of the library's process-wide state.
#include "utilities/utilitiesdll/ownedcriticalresource.h"

#include <array>
#include <new>

#include "platform/fork.h"

namespace {

template <ProcessLock lock>
constexpr platform::ForkHandlers handlersOf = {
    [] { GetProcessLock(lock).lock(); }, [] { GetProcessLock(lock).unlock(); },
    // The lock belongs to a thread of the parent, which is not there to give it back.
    [] { new (&GetProcessLock(lock)) CriticalResource; }};

// At the load of the library, before a process can have two threads in it.
[[maybe_unused]] const bool takesPartInForks = [] {
    using platform::ForkedPart;
    platform::TakePartInForks(ForkedPart::ProductData, handlersOf<ProcessLock::ProductData>);
    platform::TakePartInForks(ForkedPart::Cabinets, handlersOf<ProcessLock::Cabinets>);
    platform::TakePartInForks(ForkedPart::ThreadStorage, handlersOf<ProcessLock::ThreadStorage>);
    return true;
}();

}  // namespace

CriticalResource& GetProcessLock(ProcessLock lock) {
    static auto& locks = *new std::array<CriticalResource, 3>;
    return locks[static_cast<std::size_t>(lock)];
}
