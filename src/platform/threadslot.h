// A thread-local slot, allocated and freed at run time.
#pragma once

#include "platform/types.h"

namespace platform {

/// The number of a slot; `invalidThreadSlot` when none is allocated.
using ThreadSlot = DWORD;
inline constexpr ThreadSlot invalidThreadSlot = 0xFFFFFFFF;

/// Allocates a slot that holds a null pointer for every thread.
///
/// @param atThreadExit  called at the end of each thread whose slot is not null, where the platform tells of
///                      thread ends by the slot; where the library entry is told instead, it is ignored
/// @return the slot, or invalidThreadSlot when none is left
ThreadSlot AllocateThreadSlot(void (*atThreadExit)());

/// Frees a slot; no thread's pointer is followed.
void FreeThreadSlot(ThreadSlot slot);

/// The calling thread's pointer in the slot.
void* GetThreadSlot(ThreadSlot slot);

/// Sets the calling thread's pointer in the slot.
void SetThreadSlot(ThreadSlot slot, void* pointer);

}  // namespace platform
