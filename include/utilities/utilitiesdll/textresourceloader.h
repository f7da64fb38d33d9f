// TextResourceLoader: the texts that the library shows to its users, by identifier.
#pragma once

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// Loads texts from the module "nvtxt_b" beside the library, and those that it lacks from a built-in table.
///
/// The module makes translations: a library of string resources on Windows ("nvtxt_b.dll"), elsewhere a
/// shared library ("libnvtxt_b.so") that exports `const char16_t* nvtxt_b_text(unsigned id)`. It is looked
/// for once.
class NVUTIL_API TextResourceLoader {
public:
    /// Loads a text.
    /// @return whether there is one; `text` is empty otherwise
    static bool LoadText(unsigned id, CXString& text);

    /// A text; empty when there is none of that identifier.
    static CXString GetText(unsigned id);
};
