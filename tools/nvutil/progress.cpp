// Progress over many files, shown to a person who waits.
#include "nvutil/progress.h"

#include <iostream>

#include "nvutil/platform/console.h"
#include "nvutil/text.h"

namespace {

constexpr std::size_t fewFiles = 3;
constexpr int longestName = 60;  // characters; a longer line would wrap and could not be rewritten

}  // namespace

Progress::Progress(std::ostream& error, std::size_t total)
    : m_error(error),
      m_total(total),
      m_isShown(total > fewFiles && &error == &std::cerr && console::IsErrorATerminal()) {}

Progress::~Progress() {
    Wipe();
}

void Progress::Show(std::string_view name) {
    ++m_current;
    if (!m_isShown) return;
    const CXString shown = FromUtf8(name).Right(longestName);
    Wipe();
    m_error << '[' << m_current << '/' << m_total << "] " << OneLine(ToUtf8(shown)) << std::flush;
}

void Progress::Wipe() {
    if (m_isShown) m_error << "\r\x1B[K" << std::flush;
}
