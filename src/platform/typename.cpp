// Run-time type names: a matter of the compiler, so that one source serves every operating system.
#include "platform/typename.h"

#include <memory>
#include <string_view>

#if !defined(_MSC_VER)
#include <cxxabi.h>

#include <cstdlib>
#endif

namespace platform {

#if defined(_MSC_VER)

std::string TypeName(const std::type_info& type) {
    return type.name();
}

#else

namespace {

// Inline namespaces of the standard libraries, which are no part of a name that anyone would write.
constexpr std::string_view inlineNamespaces[] = {"__cxx11::", "__1::"};

void Remove(std::string& text, std::string_view part) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at))
        text.erase(at, part.size());
}

}  // namespace

std::string TypeName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    std::string name = demangled != nullptr ? demangled.get() : type.name();
    for (const std::string_view part : inlineNamespaces)
        Remove(name, part);
    return "class " + name;
}

#endif

}  // namespace platform
