// What a profile (INI) file holds, as text: finds, lists and changes sections and keys.
#include "platform/posix/profiletext.h"

#include <algorithm>

namespace platform::profiletext {

namespace {

// The platform counts the old mark of a text's end among the blanks.
bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r') || c == '\x1A';
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsSameName(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return Lower(a) == Lower(b); });
}

std::string_view TrimmedFront(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    return text;
}

std::string_view Trimmed(std::string_view text) {
    text = TrimmedFront(text);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// A line as the platform reads it: what follows a zero byte does not count.
std::string_view Content(std::string_view line) {
    return Trimmed(line.substr(0, line.find('\0')));
}

/// Walks over the lines of a text.
class Lines {
public:
    explicit Lines(std::string_view text) : m_text(text) {}

    /// Steps to the next line; false when there is none.
    bool Step() {
        m_begin = m_next;
        if (m_begin == m_text.size()) return false;
        m_end = std::min(Find('\n', m_lineFeed), Find('\r', m_carriageReturn));
        m_next = m_end;
        if (m_next < m_text.size() && m_text[m_next] == '\r') ++m_next;
        if (m_next < m_text.size() && m_text[m_next] == '\n') ++m_next;
        return true;
    }

    std::string_view GetLine() const { return m_text.substr(m_begin, m_end - m_begin); }
    /// CR LF, LF or CR; empty at the end of a text that lacks it.
    std::string_view GetLineEnd() const { return m_text.substr(m_end, m_next - m_end); }
    std::size_t GetBegin() const { return m_begin; }
    std::size_t GetEnd() const { return m_end; }
    /// Where the next line begins; before the first step, the first one.
    std::size_t GetNext() const { return m_next; }

private:
    /// Finds a character at or behind the line's begin.
    /// @param last  where it was found last, so that a text with few of them is not searched again and again
    std::size_t Find(char c, std::size_t& last) const {
        if (last == unknown || last < m_begin) last = std::min(m_text.find(c, m_begin), m_text.size());
        return last;
    }

    static constexpr std::size_t unknown = std::string_view::npos;

    std::string_view m_text;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_next = 0;
    std::size_t m_lineFeed = unknown;
    std::size_t m_carriageReturn = unknown;
};

/// The name that a header holds; none when the line is not one.
std::optional<std::string_view> SectionOf(std::string_view line) {
    line = TrimmedFront(line);
    if (!line.starts_with('[')) return std::nullopt;
    const std::string_view content = Content(line);
    const std::size_t close = content.rfind(']');
    if (close == std::string_view::npos) return std::nullopt;
    return Trimmed(content.substr(1, close - 1));
}

struct Entry {
    std::string_view key;
    std::optional<std::string_view> value;  ///< None when the line has no "=".

    bool IsBlankLine() const { return key.empty() && !value; }
    bool IsComment() const { return key.starts_with(';'); }
};

Entry EntryOf(std::string_view line) {
    const std::string_view content = Content(line);
    const std::size_t equals = content.find('=');
    if (equals == std::string_view::npos) return {content, std::nullopt};
    return {Trimmed(content.substr(0, equals)), Trimmed(content.substr(equals + 1))};
}

/// The entry in a line if its key is this one. Most lines are told apart by their first characters.
std::optional<Entry> EntryOf(std::string_view line, std::string_view key) {
    if (!IsSameName(TrimmedFront(line).substr(0, key.size()), key)) return std::nullopt;
    const Entry entry = EntryOf(line);
    if (entry.IsBlankLine() || !IsSameName(entry.key, key)) return std::nullopt;
    return entry;
}

/// Steps to a section's header; the unnamed section needs none.
bool StepToSection(Lines& lines, std::string_view section) {
    if (section.empty()) return true;
    while (lines.Step()) {
        const auto name = SectionOf(lines.GetLine());
        if (name && IsSameName(*name, section)) return true;
    }
    return false;
}

/// Steps to the next line of the same section.
bool StepInSection(Lines& lines) {
    return lines.Step() && !SectionOf(lines.GetLine());
}

void AppendToList(std::string& list, std::string_view text) {
    list.append(text) += '\0';
}

std::string EntryLine(std::string_view key, std::string_view value) {
    return std::string(key).append("=").append(value);
}

/// How the lines of a text end.
std::string LineEndOf(std::string_view text) {
    Lines lines(text);
    return std::string(lines.Step() && !lines.GetLineEnd().empty() ? lines.GetLineEnd() : "\r\n");
}

/// Inserts whole lines where a line begins, or at the end of a text whose last line may lack its end.
void InsertLines(std::string& text, std::size_t position, std::string lines, const std::string& lineEnd) {
    const bool isInLine = position > 0 && text[position - 1] != '\n' && text[position - 1] != '\r';
    if (isInLine) lines.insert(0, lineEnd);
    text.insert(position, lines);
}

void AppendSection(std::string& text, std::string_view section, const std::string& lines) {
    const std::string lineEnd = LineEndOf(text);
    const std::string header = "[" + std::string(TrimmedFront(section)) + "]";
    InsertLines(text, text.size(), header + lineEnd + lines, lineEnd);
}

}  // namespace

bool HasByteOrderMark(std::string_view text) {
    return text.starts_with("\xEF\xBB\xBF") || text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF");
}

std::optional<std::string_view> FindValue(std::string_view text, std::string_view section,
                                          std::string_view key) {
    key = Trimmed(key);
    Lines lines(text);
    if (!StepToSection(lines, Trimmed(section))) return std::nullopt;
    while (StepInSection(lines)) {
        if (const auto entry = EntryOf(lines.GetLine(), key)) return entry->value;
    }
    return std::nullopt;
}

std::string_view Unquoted(std::string_view value) {
    while (!value.empty() && IsBlank(value.back()))
        value.remove_suffix(1);
    const bool isQuoted =
        value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.front() == value.back();
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

std::string ListSections(std::string_view text) {
    std::string list;
    for (Lines lines(text); lines.Step();) {
        const auto name = SectionOf(lines.GetLine());
        if (name && !name->empty()) AppendToList(list, *name);
    }
    return list;
}

std::string ListKeys(std::string_view text, std::string_view section) {
    std::string list;
    Lines lines(text);
    if (!StepToSection(lines, section)) return list;
    while (StepInSection(lines)) {
        const Entry entry = EntryOf(lines.GetLine());
        if (entry.value && !entry.IsComment()) AppendToList(list, entry.key);
    }
    return list;
}

std::string ListEntries(std::string_view text, std::string_view section) {
    std::string list;
    Lines lines(text);
    if (!StepToSection(lines, section)) return list;
    while (StepInSection(lines)) {
        const Entry entry = EntryOf(lines.GetLine());
        if (entry.IsBlankLine() || entry.IsComment()) continue;
        AppendToList(list, entry.value ? EntryLine(entry.key, *entry.value) : entry.key);
    }
    return list;
}

void SetValue(std::string& text, std::string_view section, std::string_view key, std::string_view value) {
    value = TrimmedFront(value);
    const std::string line = EntryLine(TrimmedFront(key), value);
    key = Trimmed(key);
    const std::string lineEnd = LineEndOf(text);
    Lines lines(text);
    if (!StepToSection(lines, Trimmed(section))) return AppendSection(text, section, line + lineEnd);
    std::size_t behindLast = lines.GetNext();
    while (StepInSection(lines)) {
        if (const auto entry = EntryOf(lines.GetLine(), key)) {
            const std::size_t begin = entry->value
                                          ? static_cast<std::size_t>(entry->value->data() - text.data())
                                          : lines.GetBegin();
            const std::string replacement = entry->value ? std::string(value) : EntryLine(entry->key, value);
            text.replace(begin, lines.GetEnd() - begin, replacement);
            return;
        }
        if (!Content(lines.GetLine()).empty()) behindLast = lines.GetNext();
    }
    InsertLines(text, behindLast, line + lineEnd, lineEnd);
}

void RemoveKey(std::string& text, std::string_view section, std::string_view key) {
    Lines lines(text);
    if (!StepToSection(lines, section)) return;
    while (StepInSection(lines)) {
        if (!EntryOf(lines.GetLine(), key)) continue;
        text.erase(lines.GetBegin(), lines.GetNext() - lines.GetBegin());
        return;
    }
}

void RemoveSection(std::string& text, std::string_view section) {
    Lines lines(text);
    if (!StepToSection(lines, section)) return;
    const std::size_t begin = section.empty() ? lines.GetNext() : lines.GetBegin();
    while (StepInSection(lines)) {
    }
    text.erase(begin, lines.GetBegin() - begin);
}

void ReplaceSection(std::string& text, std::string_view section, const char* entries) {
    const std::string lineEnd = LineEndOf(text);
    std::string replacement;
    for (std::string_view line(entries); !line.empty(); line = line.data() + line.size() + 1) {
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view key = TrimmedFront(line.substr(0, equals));
        replacement += EntryLine(key, TrimmedFront(line.substr(equals + 1))) + lineEnd;
    }
    // Deliberate: the platform then removes no lines, as it does not find them, and adds the new ones.
    const bool keepsLines = section != Trimmed(section);
    Lines lines(text);
    if (!StepToSection(lines, Trimmed(section))) {
        if (!replacement.empty()) AppendSection(text, section, replacement);
        return;
    }
    const std::size_t begin = lines.GetNext();
    std::size_t behindLast = begin;
    while (StepInSection(lines)) {
        if (!Content(lines.GetLine()).empty()) behindLast = lines.GetNext();
    }
    if (!keepsLines) text.erase(begin, behindLast - begin);
    InsertLines(text, keepsLines ? behindLast : begin, replacement, lineEnd);
}

}  // namespace platform::profiletext
