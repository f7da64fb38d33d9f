// FolderWalk and StagingFolder: both go by plain names, so that no link leads out of the target folder.
#include "utilities/compression/unpackingfolders.h"

#include <algorithm>
#include <new>
#include <random>
#include <string>
#include <utility>

#include "utilities/compression/cabinetentrypath.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace nvutil {

using platform::EntryKind;
using platform::Text;

namespace {

constexpr auto stagingName = NV_TEXT(".unpack-%08lX%08lX");

Text NameOf(std::size_t file) {
    const std::string digits = std::to_string(file);
    return {digits.begin(), digits.end()};
}

}  // namespace

Text TextOf(const CXString& text) {
    return {static_cast<const WChar*>(text), static_cast<std::size_t>(text.GetLength())};
}

std::vector<Text> NamesOf(const CXString& path) {
    const Text text = TextOf(path);
    std::vector<Text> names;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(cabinetPathSeparator, begin), text.size());
        names.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

void RequireUnpacking(const std::error_code& error, const CXString& path) {
    if (error) {
        NV_THROW(ExceptionFileOperationCompression, "CabinetUnpacker::UnpackTo", __LINE__, NV_TEXT("%s: %s"),
                 path, CXString(error.message().c_str()));
    }
}

const platform::Folder* FolderWalk::GoTo(const CXString& path) {
    std::vector<Text> names = NamesOf(path);
    names.pop_back();
    if (names == m_names && m_isThere) return GetCurrent();
    m_names = std::move(names);
    m_folder.reset();
    m_isThere = true;
    for (const Text& name : m_names)
        m_isThere = m_isThere && Enter(name, path);
    return GetCurrent();
}

const platform::Folder* FolderWalk::GetCurrent() const {
    if (!m_isThere) return nullptr;
    return m_folder ? &*m_folder : &m_root;
}

bool FolderWalk::Enter(const Text& name, const CXString& path) {
    const platform::Folder& parent = *GetCurrent();
    EntryKind kind = EntryKind::None;
    std::uint64_t size = 0;
    RequireUnpacking(parent.Describe(name, kind, size), path);
    if (kind == EntryKind::None) {
        if (m_missing == Missing::Stop) return false;
        // Somebody else may create it meanwhile: what counts is whether it can be opened.
        static_cast<void>(parent.CreateSubfolder(name));
    } else if (kind != EntryKind::Folder) {
        NV_THROW(ExceptionFileOperationCompression, "CabinetUnpacker::UnpackTo", __LINE__,
                 NV_TEXT("%s: a file or a link is in the place of a folder"), path);
    }
    platform::Folder next;
    RequireUnpacking(next.OpenIn(parent, name), path);
    m_folder = std::move(next);
    return true;
}

StagingFolder::StagingFolder(const platform::Folder& target, const CXString& path) : m_target(target) {
    std::random_device random;
    CXString name;
    name.Format(stagingName, static_cast<DWORD>(random()), static_cast<DWORD>(random()));
    m_name = TextOf(name);
    RequireUnpacking(target.CreateSubfolder(m_name), path);
    const std::error_code error = m_folder.OpenIn(target, m_name);
    if (error) static_cast<void>(target.RemoveEmptySubfolder(m_name));
    RequireUnpacking(error, path);
}

StagingFolder::~StagingFolder() {
    try {
        for (std::size_t file = 0; file < m_created; ++file)
            static_cast<void>(m_folder.RemoveEntry(NameOf(file)));  // most have been moved away
        m_folder = platform::Folder();
        static_cast<void>(m_target.RemoveEmptySubfolder(m_name));
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the folder stays where it is
    }
}

std::error_code StagingFolder::CreateOutput(std::size_t file, platform::OutputFile& output) {
    m_created = std::max(m_created, file + 1);
    return m_folder.CreateOutput(NameOf(file), output);
}

std::error_code StagingFolder::Move(std::size_t file, const platform::Folder& folder,
                                    const Text& name) const {
    return m_folder.Rename(NameOf(file), folder, name);
}

}  // namespace nvutil
