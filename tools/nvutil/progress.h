// Progress over many files or over a large one, shown to a person who waits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

/// A line on a terminal that is rewritten for every file and wiped at the end. Nothing is shown for few files
/// or where no terminal is.
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

/// A bar on a terminal that fills while a file of more than 64 MiB is read, and is wiped at the end. Nothing
/// is shown for smaller files or where no terminal is.
class ByteProgress {
public:
    /// @param error  shown there only when it is the process's own error stream and that is a terminal
    /// @param total  the file's size in bytes; 0 when it is not known
    ByteProgress(std::ostream& error, std::string_view name, std::uint64_t total);
    ByteProgress(const ByteProgress&) = delete;
    ByteProgress& operator=(const ByteProgress&) = delete;
    ~ByteProgress();

    /// Tells that so many more bytes have been read.
    void Advance(std::uint64_t count);

private:
    std::ostream& m_error;
    std::string m_name;  ///< Fit to be shown.
    std::uint64_t m_total;
    std::uint64_t m_done = 0;
    unsigned m_percent = 0;  ///< What the bar shows.
    bool m_isShown;
};

/// The bar as it is printed: "[####      ]  40% name".
std::string BarText(unsigned percent, std::string_view name);
