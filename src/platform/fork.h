// What keeps the library usable in a child of fork. Where processes do not fork, nothing.
#pragma once

namespace platform {

/// The parts of the library that hold locks, in the order in which a thread that needs several takes them.
enum class ForkedPart { ProductData, Printers, PrinterLocks, Cabinets, ThreadStorage, Converters };
inline constexpr int forkedPartCount = 6;

/// What a part does around a fork, in the thread that forks.
struct ForkHandlers {
    void (*prepare)();       ///< Before: takes the part's locks, so that no other thread is at work in it.
    void (*goOnInParent)();  ///< Behind, in the parent: gives them back.
    void (*goOnInChild)();   ///< The same in the child, where no other thread exists.
};

/// Has a part's handlers called around every fork from now on.
void TakePartInForks(ForkedPart part, const ForkHandlers& handlers);

/// Has something that is made once, on its first use, made before every fork from now on: a child would wait
/// for ever for a thread of its parent that was making it. To be called while the library is loaded.
/// @return true, for the initialiser of a static object
bool MakeBeforeForks(void (*make)());

}  // namespace platform
