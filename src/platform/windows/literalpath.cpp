// The literal form of paths.
#include "platform/windows/literalpath.h"

#include <windows.h>

namespace platform {

namespace {

constexpr wchar_t literalPrefix[] = L"\\\\?\\";
constexpr wchar_t networkPrefix[] = L"\\\\?\\UNC\\";

}  // namespace

Text LiteralPath(const Text& path) {
    if (path.starts_with(literalPrefix)) return path;
    const DWORD capacity = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    Text full(capacity, L'\0');
    full.resize(capacity == 0 ? 0 : GetFullPathNameW(path.c_str(), capacity, full.data(), nullptr));
    if (full.empty() || full.starts_with(literalPrefix)) return full;
    return full.starts_with(L"\\\\") ? networkPrefix + full.substr(2) : literalPrefix + full;
}

Text PlainPath(const Text& literal) {
    const Text network = networkPrefix;
    if (literal.starts_with(network)) return L"\\\\" + literal.substr(network.size());
    const Text prefix = literalPrefix;
    const bool hasDrive = literal.starts_with(prefix) && literal.find(L":\\") == prefix.size() + 1;
    return hasDrive ? literal.substr(prefix.size()) : literal;
}

}  // namespace platform
