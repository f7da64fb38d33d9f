// CXString: the buffer and the operations on text.
#include "utilities/utilitiesdll/cxstring.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/codepage.h"
#include "platform/widechar.h"

namespace {

using Traits = std::char_traits<WChar>;
using TextView = std::basic_string_view<WChar>;

// Header and terminator in one object, laid out as in every other buffer.
struct EmptyBuffer {
    CXString::Data data;
    WChar terminator;
};

// Shared by all empty strings of all threads. It is never written, so its count stays negative.
constinit EmptyBuffer emptyBuffer{{-1, 0, 0}, 0};

TextView View(const CXString& text) {
    return {static_cast<const WChar*>(text), static_cast<std::size_t>(text.GetLength())};
}

TextView View(const WChar* text) {
    return text != nullptr ? TextView(text) : TextView();
}

int PositionOf(std::size_t found) {
    return found != TextView::npos ? static_cast<int>(found) : -1;
}

void Copy(WChar* destination, const WChar* source, int length) {
    Traits::move(destination, source, static_cast<std::size_t>(length));
}

bool PointsInto(const CXString& text, const WChar* pointer) {
    const WChar* characters = text;
    return !std::less<>()(pointer, characters) && !std::less<>()(characters + text.GetAllocLength(), pointer);
}

}  // namespace

// Construction and assignment

CXString::CXString() noexcept {
    Init();
}

CXString::CXString(const CXString& other) {
    Data* data = other.GetData();
    if (data->refs > 0) {
        ++data->refs;
        m_characters = other.m_characters;
    } else if (data == &emptyBuffer.data) {
        m_characters = other.m_characters;
    } else {
        Init();
        AssignCopy(data->length, other.m_characters);
    }
}

CXString::CXString(CXString&& other) noexcept : m_characters(other.m_characters) {
    other.Init();
}

CXString::CXString(const WChar* text) : CXString(text, SafeStrlen(text)) {}

CXString::CXString(const WChar* text, int length) {
    length = text != nullptr ? std::max(length, 0) : 0;
    AllocBuffer(length);
    Copy(m_characters, text, length);
}

CXString::CXString(WChar character, int count) {
    AllocBuffer(std::max(count, 0));
    std::fill_n(m_characters, GetLength(), character);
}

CXString::CXString(const char* text) {
    Init();
    *this = text;
}

CXString::CXString(const char* text, int length) {
    Init();
    AssignNarrow(text, length);
}

CXString::~CXString() {
    Release(GetData());
}

CXString& CXString::operator=(const CXString& other) {
    if (m_characters == other.m_characters) return *this;
    if (IsLocked()) {
        AssignCopy(other.GetLength(), other.m_characters);
    } else {
        CXString copy(other);
        Swap(copy);
    }
    return *this;
}

CXString& CXString::operator=(CXString&& other) noexcept {
    if (IsLocked() && other.GetLength() <= GetAllocLength()) {
        AssignCopy(other.GetLength(), other.m_characters);
    } else {
        Swap(other);
    }
    return *this;
}

CXString& CXString::operator=(const WChar* text) {
    AssignCopy(SafeStrlen(text), text);
    return *this;
}

CXString& CXString::operator=(WChar character) {
    AssignCopy(1, &character);
    return *this;
}

CXString& CXString::operator=(const char* text) {
    const std::size_t length = text != nullptr ? std::char_traits<char>::length(text) : 0;
    if (length > static_cast<std::size_t>(maxLength)) ThrowOutOfMemory();
    AssignNarrow(text, static_cast<int>(length));
    return *this;
}

CXString& CXString::operator+=(const CXString& text) {
    ConcatInPlace(text.GetLength(), text.m_characters);
    return *this;
}

CXString& CXString::operator+=(const WChar* text) {
    ConcatInPlace(SafeStrlen(text), text);
    return *this;
}

CXString& CXString::operator+=(WChar character) {
    ConcatInPlace(1, &character);
    return *this;
}

CXString operator+(const CXString& left, const CXString& right) {
    CXString result;
    result.ConcatCopy(left.GetLength(), left, right.GetLength(), right);
    return result;
}

CXString operator+(const CXString& left, const WChar* right) {
    CXString result;
    result.ConcatCopy(left.GetLength(), left, CXString::SafeStrlen(right), right);
    return result;
}

CXString operator+(const WChar* left, const CXString& right) {
    CXString result;
    result.ConcatCopy(CXString::SafeStrlen(left), left, right.GetLength(), right);
    return result;
}

CXString operator+(const CXString& left, WChar right) {
    CXString result;
    result.ConcatCopy(left.GetLength(), left, 1, &right);
    return result;
}

CXString operator+(WChar left, const CXString& right) {
    CXString result;
    result.ConcatCopy(1, &left, right.GetLength(), right);
    return result;
}

// Access and comparison

void CXString::SetAt(int index, WChar character) {
    if (index < 0 || index >= GetLength()) return;
    CopyBeforeWrite();
    m_characters[index] = character;
}

void CXString::Empty() {
    Release();
}

int CXString::Compare(const WChar* text) const {
    const TextView own = View(*this);
    return own.substr(0, own.find(WChar{0})).compare(View(text));
}

int CXString::Compare(const CXString& text) const {
    return m_characters == text.m_characters ? 0 : View(*this).compare(View(text));
}

int CXString::CompareNoCase(const WChar* text) const {
    return platform::CompareNoCase(m_characters, text != nullptr ? text : &emptyBuffer.terminator);
}

// Parts

CXString CXString::Mid(int first, int count) const {
    const int length = GetLength();
    first = std::clamp(first, 0, length);
    count = std::clamp(count, 0, length - first);
    if (count == length) return *this;
    CXString part;
    AllocCopy(part, count, first, 0);
    return part;
}

CXString CXString::Mid(int first) const {
    return Mid(first, GetLength());
}

CXString CXString::Left(int count) const {
    return Mid(0, count);
}

CXString CXString::Right(int count) const {
    count = std::clamp(count, 0, GetLength());
    return Mid(GetLength() - count, count);
}

CXString CXString::SpanIncluding(const WChar* set) const {
    const int end = PositionOf(View(*this).find_first_not_of(View(set)));
    return end >= 0 ? Left(end) : *this;
}

CXString CXString::SpanExcluding(const WChar* set) const {
    const int end = PositionOf(View(*this).find_first_of(View(set)));
    return end >= 0 ? Left(end) : *this;
}

// Changes in place

void CXString::MakeUpper() {
    CopyBeforeWrite();
    std::transform(m_characters, m_characters + GetLength(), m_characters, platform::ToUpper);
}

void CXString::MakeLower() {
    CopyBeforeWrite();
    std::transform(m_characters, m_characters + GetLength(), m_characters, platform::ToLower);
}

void CXString::MakeReverse() {
    CopyBeforeWrite();
    std::reverse(m_characters, m_characters + GetLength());
}

int CXString::Replace(WChar oldCharacter, WChar newCharacter) {
    const TextView text = View(*this);
    const auto occurrences = static_cast<int>(std::count(text.begin(), text.end(), oldCharacter));
    if (occurrences > 0 && oldCharacter != newCharacter) {
        CopyBeforeWrite();
        std::replace(m_characters, m_characters + GetLength(), oldCharacter, newCharacter);
    }
    return occurrences;
}

int CXString::Replace(const WChar* oldText, const WChar* newText) {
    const TextView text = View(*this);
    const TextView from = View(oldText);
    const TextView to = View(newText);
    if (from.empty()) return 0;

    std::size_t occurrences = 0;
    for (std::size_t at = text.find(from); at != TextView::npos; at = text.find(from, at + from.size()))
        ++occurrences;
    if (occurrences == 0) return 0;

    const std::size_t kept = text.size() - occurrences * from.size();
    if (to.size() > (static_cast<std::size_t>(maxLength) - kept) / occurrences) ThrowOutOfMemory();

    CXString result;
    result.AllocBuffer(static_cast<int>(kept + occurrences * to.size()));
    WChar* out = result.m_characters;
    std::size_t begin = 0;
    for (std::size_t at = text.find(from); at != TextView::npos; at = text.find(from, begin)) {
        out += text.copy(out, at - begin, begin);
        out += to.copy(out, to.size());
        begin = at + from.size();
    }
    text.copy(out, text.size() - begin, begin);
    Swap(result);
    return static_cast<int>(occurrences);
}

int CXString::Remove(WChar character) {
    if (Find(character) < 0) return 0;
    CopyBeforeWrite();
    const int oldLength = GetLength();
    SetLength(
        static_cast<int>(std::remove(m_characters, m_characters + oldLength, character) - m_characters));
    return oldLength - GetLength();
}

int CXString::Insert(int index, WChar character) {
    const WChar text[] = {character, 0};
    if (character != 0) return Insert(index, text);
    index = std::clamp(index, 0, GetLength());
    *this = Left(index) + character + Mid(index);
    return GetLength();
}

int CXString::Insert(int index, const WChar* text) {
    const int added = SafeStrlen(text);
    if (added == 0) return GetLength();
    const int length = GetLength();
    index = std::clamp(index, 0, length);
    CXString source;
    if (PointsInto(*this, text)) {
        source = text;
        text = source;
    }
    if (added > maxLength - length) ThrowOutOfMemory();
    if (!IsWritable() || GetAllocLength() < length + added) Reallocate(length + added);
    Copy(m_characters + index + added, m_characters + index, length - index);
    Copy(m_characters + index, text, added);
    SetLength(length + added);
    return GetLength();
}

int CXString::Delete(int index, int count) {
    const int length = GetLength();
    index = std::clamp(index, 0, length);
    count = std::clamp(count, 0, length - index);
    if (count == 0) return length;
    CopyBeforeWrite();
    Copy(m_characters + index, m_characters + index + count, length - index - count);
    SetLength(length - count);
    return GetLength();
}

void CXString::TrimLeft() {
    const TextView text = View(*this);
    const auto begin = std::find_if_not(text.begin(), text.end(), platform::IsSpace);
    Delete(0, static_cast<int>(begin - text.begin()));
}

void CXString::TrimLeft(WChar character) {
    const int begin = PositionOf(View(*this).find_first_not_of(character));
    Delete(0, begin >= 0 ? begin : GetLength());
}

void CXString::TrimLeft(const WChar* set) {
    const int begin = PositionOf(View(*this).find_first_not_of(View(set)));
    Delete(0, begin >= 0 ? begin : GetLength());
}

void CXString::TrimRight() {
    const TextView text = View(*this);
    const auto end = std::find_if_not(text.rbegin(), text.rend(), platform::IsSpace);
    Delete(static_cast<int>(text.rend() - end), GetLength());
}

void CXString::TrimRight(WChar character) {
    Delete(PositionOf(View(*this).find_last_not_of(character)) + 1, GetLength());
}

void CXString::TrimRight(const WChar* set) {
    Delete(PositionOf(View(*this).find_last_not_of(View(set))) + 1, GetLength());
}

// Search

int CXString::Find(WChar character, int start) const {
    return PositionOf(View(*this).find(character, static_cast<std::size_t>(std::max(start, 0))));
}

int CXString::Find(const WChar* text, int start) const {
    return PositionOf(View(*this).find(View(text), static_cast<std::size_t>(std::max(start, 0))));
}

int CXString::ReverseFind(WChar character) const {
    return PositionOf(View(*this).rfind(character));
}

bool CXString::IsBlank() const {
    // An embedded zero ends the scan and a tab is not blank, both deliberate.
    const TextView text = View(*this);
    const std::size_t end = text.find_first_not_of(NV_TEXT(' '));
    return end == TextView::npos || text[end] == 0;
}

bool CXString::IsContainNumericCharsOnly() const {
    const TextView text = View(*this);
    return !text.empty() && std::all_of(text.begin(), text.end(), [](WChar character) {
        return character >= NV_TEXT('0') && character <= NV_TEXT('9');
    });
}

std::vector<CXString> CXString::Tokenize(WChar separator) const {
    // Ends a piece where it lies, in a buffer that copies may share: deliberate, and restored at once.
    struct TerminatedHere {
        TerminatedHere(WChar* position, WChar separator) : m_position(position), m_separator(separator) {
            *m_position = 0;
        }
        ~TerminatedHere() { *m_position = m_separator; }
        TerminatedHere(const TerminatedHere&) = delete;
        TerminatedHere& operator=(const TerminatedHere&) = delete;

        WChar* m_position;
        WChar m_separator;
    };

    std::vector<CXString> pieces;
    int begin = 0;
    for (int end = Find(separator); end >= 0; end = Find(separator, begin)) {
        const TerminatedHere terminated(m_characters + end, separator);
        pieces.emplace_back(m_characters + begin);
        begin = end + 1;
    }
    pieces.emplace_back(m_characters + begin);
    return pieces;
}

// Direct access to the buffer

WChar* CXString::GetBuffer(int minimumLength) {
    if (!IsWritable() || minimumLength > GetAllocLength()) Reallocate(std::max(minimumLength, GetLength()));
    return m_characters;
}

WChar* CXString::GetBufferSetLength(int length) {
    GetBuffer(length);
    SetLength(std::max(length, 0));
    return m_characters;
}

void CXString::ReleaseBuffer(int length) {
    CopyBeforeWrite();
    const int allocLength = GetAllocLength();
    if (length < 0) {
        length =
            static_cast<int>(std::find(m_characters, m_characters + allocLength, WChar{0}) - m_characters);
    }
    SetLength(std::min(length, allocLength));
}

void CXString::FreeExtra() {
    if (GetLength() == GetAllocLength()) return;
    CXString exact(m_characters, GetLength());
    Swap(exact);
}

WChar* CXString::LockBuffer() {
    GetBuffer(0);
    GetData()->refs = -1;
    return m_characters;
}

void CXString::UnlockBuffer() {
    if (IsLocked()) GetData()->refs = 1;
}

// Conversion to 8-bit text

int CXString::GetAsMultiByte(char* buffer, int size) const {
    if (size < 0 || (size == 0) != (buffer == nullptr)) return 0;
    const int written =
        platform::NarrowFromWide(platform::CodePage::Ansi, m_characters, GetLength() + 1, buffer, size);
    if (buffer != nullptr && written > 0) buffer[written - 1] = '\0';
    return written;
}

std::vector<char> CXString::GetAsMultiByte() const {
    std::vector<char> bytes(static_cast<std::size_t>(GetAsMultiByte(nullptr, 0)));
    GetAsMultiByte(bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
}

int CXString::SafeStrlen(const WChar* text) {
    const std::size_t length = View(text).size();
    if (length > static_cast<std::size_t>(maxLength)) ThrowOutOfMemory();
    return static_cast<int>(length);
}

// The buffer

/// Takes the buffer of all empty strings; the former one must have been released.
void CXString::Init() {
    m_characters = &emptyBuffer.terminator;
}

/// Makes a new buffer of exactly this length; the former one must have been released. Its text is
/// indeterminate.
void CXString::AllocBuffer(int length) {
    Init();
    if (length > 0) Reallocate(length);
    SetLength(length);
}

/// Gives `destination` a part of this text, followed by room for more.
void CXString::AllocCopy(CXString& destination, int copyLength, int copyIndex, int extraLength) const {
    CXString copy;
    copy.AllocBuffer(copyLength + extraLength);
    Copy(copy.m_characters, m_characters + copyIndex, copyLength);
    destination.Swap(copy);
}

/// Makes the buffer private and large enough; the text is lost when that takes a new one.
void CXString::AllocBeforeWrite(int length) {
    if (IsWritable() && length <= GetAllocLength()) return;
    CXString fresh;
    fresh.AllocBuffer(length);
    Swap(fresh);
}

/// Replaces the text, also by a part of itself.
void CXString::AssignCopy(int length, const WChar* text) {
    if (IsWritable() && length <= GetAllocLength()) {
        Copy(m_characters, text, length);
        SetLength(length);
    } else {
        CXString copy(text, length);
        Swap(copy);
    }
}

void CXString::AssignNarrow(const char* text, int length) {
    using platform::CodePage;
    length = text != nullptr ? std::max(length, 0) : 0;
    const int needed = length > 0 ? platform::WideFromNarrow(CodePage::Ansi, text, length, nullptr, 0) : 0;
    AllocBeforeWrite(needed);
    if (needed > 0) platform::WideFromNarrow(CodePage::Ansi, text, length, m_characters, needed);
    SetLength(needed);
}

/// Makes a new buffer of two texts; the former one must have been released.
void CXString::ConcatCopy(int firstLength, const WChar* first, int secondLength, const WChar* second) {
    AllocBuffer(firstLength + secondLength);
    Copy(m_characters, first, firstLength);
    Copy(m_characters + firstLength, second, secondLength);
}

/// Appends a text, also a part of this one. A buffer that is too short grows by half, so that a text which is
/// built up piece by piece is copied only a few times.
void CXString::ConcatInPlace(int length, const WChar* text) {
    if (length == 0) return;
    const int oldLength = GetLength();
    const int newLength = oldLength + length;
    if (IsWritable() && newLength <= GetAllocLength()) {
        Copy(m_characters + oldLength, text, length);
    } else {
        const int roomy = oldLength <= maxLength / 3 * 2 ? oldLength + oldLength / 2 : newLength;
        CXString grown;
        grown.Reallocate(std::max(newLength, roomy));
        Copy(grown.m_characters, m_characters, oldLength);
        Copy(grown.m_characters + oldLength, text, length);
        Swap(grown);
    }
    SetLength(newLength);
}

void CXString::CopyBeforeWrite() {
    if (!IsWritable() && GetData() != &emptyBuffer.data) Reallocate(GetLength());
}

/// Moves the text to a new private buffer, which must have room for it.
void CXString::Reallocate(int allocLength) {
    if (allocLength > maxLength) ThrowOutOfMemory();
    const std::size_t bytes = sizeof(Data) + (static_cast<std::size_t>(allocLength) + 1) * sizeof(WChar);
    auto* data = static_cast<Data*>(std::malloc(bytes));
    if (data == nullptr) ThrowOutOfMemory();
    *data = {1, GetLength(), allocLength};
    auto* characters = reinterpret_cast<WChar*>(data + 1);
    Copy(characters, m_characters, GetLength() + 1);
    Release(GetData());
    m_characters = characters;
}

/// Sets the length and the terminator in a private buffer; the empty buffer already has both.
void CXString::SetLength(int length) {
    if (GetData() == &emptyBuffer.data) return;
    GetData()->length = length;
    m_characters[length] = 0;
}

void CXString::Swap(CXString& other) noexcept {
    std::swap(m_characters, other.m_characters);
}

void CXString::Release() {
    Release(GetData());
    Init();
}

void CXString::Release(Data* data) {
    if (data == &emptyBuffer.data) return;
    if (data->refs <= 1) {
        FreeData(data);
    } else {
        --data->refs;
    }
}

void CXString::FreeData(Data* data) {
    std::free(data);
}

/// Whether no other string may see a change of the buffer.
bool CXString::IsWritable() const {
    return GetData()->refs == 1 || IsLocked();
}

bool CXString::IsLocked() const {
    return GetData()->refs < 0 && GetData() != &emptyBuffer.data;
}
