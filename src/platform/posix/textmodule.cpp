// The module "libnvtxt_b.so" beside the library.
#include "platform/textmodule.h"

#include <dlfcn.h>

#include <string>

namespace platform {

namespace {

// Exported by the module: the text of an identifier, or null; the text lives as long as the module.
using TextFunction = const WChar* (*)(unsigned id);

// Path of a file beside the library; empty when the library's own path is not known.
std::string PathBesideLibrary(const char* name) {
    Dl_info library;
    if (dladdr(reinterpret_cast<const void*>(&LoadTextFromModule), &library) == 0 ||
        library.dli_fname == nullptr) {
        return {};
    }
    std::string path(library.dli_fname);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return {};  // a bare name would be searched for elsewhere
    return path.replace(slash + 1, std::string::npos, name);
}

TextFunction FindTextFunction() {
    const std::string path = PathBesideLibrary("libnvtxt_b.so");
    if (path.empty()) return nullptr;
    void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return nullptr;
    return reinterpret_cast<TextFunction>(dlsym(module, "nvtxt_b_text"));
}

}  // namespace

bool LoadTextFromModule(unsigned id, Text& text) {
    static const TextFunction textOf = FindTextFunction();
    const WChar* found = textOf != nullptr ? textOf(id) : nullptr;
    if (found == nullptr) return false;
    text = found;
    return true;
}

}  // namespace platform
