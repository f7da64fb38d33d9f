// What tests of the tool share: command lines, expectations and files.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/temporaryfolder.h"
#include "tools/toolruns.h"

/// The words of a command line; 'quotes' hold one together that has blanks, or none.
inline std::vector<std::string> Words(std::string_view line) {
    std::vector<std::string> words;
    while (!line.empty()) {
        const bool isQuoted = line.starts_with('\'');
        if (isQuoted) line.remove_prefix(1);
        const std::size_t end = line.find(isQuoted ? '\'' : ' ');
        words.emplace_back(line.substr(0, end));
        line.remove_prefix(std::min(words.back().size() + isQuoted, line.size()));
        line.remove_prefix(line.starts_with(' '));
    }
    return words;
}

inline ToolResult RunLine(std::string_view line, const std::string& input = {}) {
    return Nvutil(Words(line), input);
}

/// What is expected of a text: the whole of it, or behind a "*" a part.
inline bool Fits(const std::string& text, std::string_view expected) {
    return expected.starts_with('*') ? text.find(expected.substr(1)) != std::string::npos : text == expected;
}

inline void ExpectResult(const ToolResult& result, int status, std::string_view out, std::string_view error) {
    EXPECT_EQ(result.status, status) << result.error;
    EXPECT_TRUE(Fits(result.out, out)) << result.out << "\nbut expected\n" << out;
    EXPECT_TRUE(Fits(result.error, error)) << result.error << "\nbut expected\n" << error;
}

/// Expects a refusal whose line on the error stream has a text in it.
inline void ExpectRefused(const ToolResult& result, const std::string& text) {
    ExpectResult(result, 1, "", '*' + text);
}

/// A temporary folder whose names are in UTF-8.
class ToolFolder {
public:
    std::string GetPath() const { return m_folder.GetName(); }
    std::string operator/(std::string_view name) const { return m_folder.NameOf(InUtf8(name)); }
    std::filesystem::path PathOf(std::string_view name) const { return m_folder / InUtf8(name); }

    /// Adds a file, and the folders above it.
    /// @return its path
    std::string Write(std::string_view name, std::string_view content) const {
        m_folder.Write(InUtf8(name), content);
        return *this / name;
    }
    std::string Read(std::string_view name) const { return m_folder.Read(InUtf8(name)); }
    std::ptrdiff_t Count() const { return m_folder.CountEntries(); }

private:
    static std::u8string InUtf8(std::string_view name) { return {name.begin(), name.end()}; }

    TemporaryFolder m_folder;
};

/// Bytes or text with each bit wrong in turn.
template <class Bytes, class Use>
void ForEachWrongBit(const Bytes& sound, const Use& use) {
    for (std::size_t bit = 0; bit < sound.size() * 8 && !testing::Test::HasFatalFailure(); ++bit) {
        SCOPED_TRACE(bit);
        Bytes damaged = sound;
        damaged[bit / 8] = static_cast<typename Bytes::value_type>(damaged[bit / 8] ^ 1 << bit % 8);
        use(damaged);
    }
}
