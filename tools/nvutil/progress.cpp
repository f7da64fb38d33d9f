// Progress over many files or over a large one, shown to a person who waits.
#include "nvutil/progress.h"

#include <algorithm>
#include <iostream>

#include "nvutil/platform/console.h"
#include "nvutil/text.h"

namespace {

constexpr std::size_t fewFiles = 3;
constexpr std::uint64_t largeFile = std::uint64_t{64} << 20;
constexpr int longestName = 60;  // characters; a longer line would wrap and could not be rewritten
constexpr unsigned longestBar = 20;
constexpr std::string_view wipeLine = "\r\x1B[K";

bool IsReadByAPerson(const std::ostream& error) {
    return &error == &std::cerr && console::IsErrorATerminal();
}

/// The end of a name in at most so many characters, fit for a line of a terminal.
std::string ShortName(std::string_view name, int longest) {
    return OneLine(ToUtf8(FromUtf8(name).Right(longest)));
}

}  // namespace

Progress::Progress(std::ostream& error, std::size_t total)
    : m_error(error), m_total(total), m_isShown(total > fewFiles && IsReadByAPerson(error)) {}

Progress::~Progress() {
    Wipe();
}

void Progress::Show(std::string_view name) {
    ++m_current;
    if (!m_isShown) return;
    Wipe();
    m_error << '[' << m_current << '/' << m_total << "] " << ShortName(name, longestName) << std::flush;
}

void Progress::Wipe() {
    if (m_isShown) m_error << wipeLine << std::flush;
}

ByteProgress::ByteProgress(std::ostream& error, std::string_view name, std::uint64_t total)
    : m_error(error),
      m_name(ShortName(name, longestName - static_cast<int>(longestBar))),
      m_total(total),
      m_isShown(total > largeFile && IsReadByAPerson(error)) {}

ByteProgress::~ByteProgress() {
    if (m_isShown) m_error << wipeLine << std::flush;
}

void ByteProgress::Advance(std::uint64_t count) {
    m_done += count;
    if (!m_isShown) return;
    const std::uint64_t done = std::min(m_done, m_total);  // the file may grow while it is read
    const auto percent = static_cast<unsigned>(done * 100 / m_total);
    if (percent == m_percent) return;
    m_percent = percent;
    m_error << wipeLine << BarText(percent, m_name) << std::flush;
}

std::string BarText(unsigned percent, std::string_view name) {
    const unsigned filled = longestBar * percent / 100;
    const std::string number = std::to_string(percent);
    std::string text = "[" + std::string(filled, '#') + std::string(longestBar - filled, ' ') + "] ";
    text.append(3 - std::min<std::size_t>(3, number.size()), ' ');
    return text + number + "% " + std::string(name);
}
