// Folder: how it is moved, which is the same everywhere.
#include "platform/folder.h"

#include <utility>

namespace platform {

Folder::Folder(Folder&& other) noexcept
    : m_handle(std::exchange(other.m_handle, none)), m_path(std::move(other.m_path)) {}

Folder& Folder::operator=(Folder&& other) noexcept {
    std::swap(m_handle, other.m_handle);
    std::swap(m_path, other.m_path);
    return *this;
}

}  // namespace platform
