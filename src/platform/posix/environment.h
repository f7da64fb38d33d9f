// Environment variables, for those who may set them.
#pragma once

namespace platform {

/// The value of an environment variable; null when there is none, and in a program that runs with more rights
/// than its caller has (set-user-id and the like), where the caller must not choose files and code pages.
const char* TrustedVariable(const char* name);

}  // namespace platform
