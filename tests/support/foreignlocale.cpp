// Runs a program's tests in the locale that NVUTIL_TEST_LOCALE names, as a host of the library may choose
// one.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

[[maybe_unused]] const bool isChosen = [] {
    const char* name = std::getenv("NVUTIL_TEST_LOCALE");
    if (name == nullptr) return false;
    if (std::setlocale(LC_ALL, name) != nullptr && std::string_view(std::localeconv()->decimal_point) == ",")
        return true;
    std::fprintf(stderr, "%s is no locale with a decimal comma\n", name);
    std::_Exit(1);
}();

}  // namespace
