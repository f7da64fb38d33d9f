// A thread-local slot, allocated and freed at run time.
#pragma once

#include "platform/types.h"

namespace platform {

/// The number of a slot; `invalidThreadSlot` when none is allocated.
using ThreadSlot = DWORD;
inline constexpr ThreadSlot invalidThreadSlot = 0xFFFFFFFF;

/// Allocates a slot that holds a null pointer for every thread.
///
/// @param atThreadExit  called at the end of each thread whose slot is not null, with the pointer that the
///                      slot held and no longer holds; ignored where the library entry is told of thread ends
/// @return the slot, or invalidThreadSlot when none is left
ThreadSlot AllocateThreadSlot(void (*atThreadExit)(void* pointer));

/// Frees a slot; no thread's pointer is followed.
void FreeThreadSlot(ThreadSlot slot);

/// The calling thread's pointer in the slot.
void* GetThreadSlot(ThreadSlot slot);

/// Sets the calling thread's pointer in the slot.
/// @return whether there was memory to do so
bool SetThreadSlot(ThreadSlot slot, void* pointer);

}  // namespace platform
