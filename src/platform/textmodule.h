// The module "nvtxt_b" beside the library, whose texts override the built-in ones.
#pragma once

#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// Loads a text from the module, which is looked for once, beside the library and nowhere else: in the folder
/// that the library was loaded from, wherever the process has gone since.
/// @return whether the module is there and has the text; `text` is unchanged otherwise
bool LoadTextFromModule(unsigned id, Text& text);

}  // namespace platform
