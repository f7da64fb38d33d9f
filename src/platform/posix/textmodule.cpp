// The module "libnvtxt_b.so" beside the library.
#include "platform/textmodule.h"

#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/fork.h"

namespace platform {

namespace {

// Exported by the module: the text of an identifier, or null; the text lives as long as the module.
using TextFunction = const WChar* (*)(unsigned id);

// The library's folder, empty while it is not known. Text is asked for later, when a relative path could lead
// to another folder, perhaps by threads that outlive everything that has a destructor.
char folder[PATH_MAX];

[[gnu::constructor]] void RememberFolder() {
    Dl_info library;
    if (dladdr(reinterpret_cast<const void*>(&LoadTextFromModule), &library) == 0 ||
        library.dli_fname == nullptr) {
        return;
    }
    const char* const slash = std::strrchr(library.dli_fname, '/');
    if (slash == nullptr) return;  // a bare name would be searched for elsewhere
    const std::string path(library.dli_fname, static_cast<std::size_t>(slash - library.dli_fname) + 1);
    if (realpath(path.c_str(), folder) == nullptr) folder[0] = '\0';
}

TextFunction FindTextFunction() {
    if (folder[0] == '\0') return nullptr;
    void* module = dlopen((std::string(folder) + "/libnvtxt_b.so").c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return nullptr;
    return reinterpret_cast<TextFunction>(dlsym(module, "nvtxt_b_text"));
}

TextFunction GetTextFunction() {
    static const TextFunction function = FindTextFunction();
    return function;
}

[[maybe_unused]] const bool isMadeBeforeForks = MakeBeforeForks([] { GetTextFunction(); });

}  // namespace

bool LoadTextFromModule(unsigned id, Text& text) {
    const TextFunction textOf = GetTextFunction();
    const WChar* found = textOf != nullptr ? textOf(id) : nullptr;
    if (found == nullptr) return false;
    text = found;
    return true;
}

}  // namespace platform
