// MicrosoftComLibrary: COM, initialised on this thread for as long as the object lives.
#pragma once

#include "platform/types.h"

/// Initialises COM apartment-threaded. Made and destroyed on the same thread.
class NVUTIL_API MicrosoftComLibrary {
public:
    /// A thread that already has another apartment model keeps it.
    /// @throws ExceptionOutOfMemory
    /// @throws NpifParseException (ComInitializationFailure)
    MicrosoftComLibrary();
    ~MicrosoftComLibrary();
    MicrosoftComLibrary(const MicrosoftComLibrary&) = delete;
    MicrosoftComLibrary& operator=(const MicrosoftComLibrary&) = delete;

private:
    bool initialized = false;  ///< Whether the destructor has an initialisation to balance.
};
