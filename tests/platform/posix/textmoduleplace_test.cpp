// Where the module of texts is looked for: beside the library, however that was named when it was loaded.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

#include "support/platform/posix/process.h"
#include "utilities/utilitiesdll/textresourceloader.h"

namespace {

namespace fs = std::filesystem;

/// Another copy of the library, loaded from "library" in the current folder, is asked for a text in
/// "elsewhere".
/// @param place  where a module lies that has the text
/// @return whether it was found
bool IsFoundByCopy(const fs::path& place) {
    Dl_info own;
    if (dladdr(reinterpret_cast<const void*>(&TextResourceLoader::GetText), &own) == 0) return false;
    const fs::path original = own.dli_fname;
    const fs::path folder =
        fs::temp_directory_path() / ("nvutil_place_" + std::to_string(std::random_device()()));
    fs::create_directories(folder / "library");
    fs::create_directories(folder / "elsewhere" / "library");
    fs::copy_file(original, folder / "library" / "copy.so");
    fs::copy_file(original.parent_path() / "libnvtxt_b.so", folder / place / "libnvtxt_b.so");
    Child child([&] {
        fs::current_path(folder);
        void* const copy = dlopen("library/copy.so", RTLD_NOW | RTLD_LOCAL);
        fs::current_path(folder / "elsewhere");
        void* const found = dlsym(copy, "_ZN18TextResourceLoader7GetTextEj");
        const auto getText = reinterpret_cast<decltype(&TextResourceLoader::GetText)>(found);
        if (getText == nullptr || getText == &TextResourceLoader::GetText) return false;
        const auto* const text = new CXString(getText(40001));  // which only the copy could destroy
        return text->GetLength() > 0;
    });
    const bool isFound = child.Succeeds();
    fs::remove_all(folder);
    return isFound;
}

TEST(TextModule, IsTheOneBesideTheLibraryWhereverTheProcessHasGone) {
    EXPECT_TRUE(IsFoundByCopy("library"));
    EXPECT_FALSE(IsFoundByCopy("elsewhere/library"));
}

}  // namespace
