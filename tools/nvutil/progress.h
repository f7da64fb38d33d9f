// Progress over many files, shown to a person who waits.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string_view>

/// A line on a terminal that is rewritten for every file and wiped at the end. Elsewhere, and for few files,
/// nothing is shown.
class Progress {
public:
    /// @param error  shown there only when it is the process's own error stream and that is a terminal
    Progress(std::ostream& error, std::size_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// Tells which file comes next.
    void Show(std::string_view name);
    /// Clears the line, so that something else can be printed.
    void Wipe();

private:
    std::ostream& m_error;
    std::size_t m_total;
    std::size_t m_current = 0;
    bool m_isShown;
};
