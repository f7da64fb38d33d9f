// CXString: the library's wide string, with value semantics over a shared, copy-on-write buffer.
#pragma once

#include <compare>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/types.h"

/// A counted, terminated string of UTF-16 code units.
///
/// Copies share one buffer until one of them is modified. The count of sharers is a plain integer: strings
/// that share a buffer may be used by several threads only while no thread modifies any of them.
///
/// Every member that takes a wide pointer accepts null as the empty string, and a pointer into the string
/// that it modifies. Members that grow the buffer throw `ExceptionOutOfMemory` when the memory cannot be had
/// or the text would be longer than `maxLength`. Positions and lengths count code units.
class NVUTIL_API CXString {
public:
    /// The longest text that a string holds; two lengths can be added without overflow.
    static constexpr int maxLength = 0x3FFFFFFF;

    /// The empty string.
    CXString() noexcept;
    CXString(std::nullptr_t) noexcept : CXString() {}
    CXString(const CXString& other);
    CXString(CXString&& other) noexcept;
    /// A copy of a terminated wide string.
    CXString(const WChar* text);
    /// A copy of `length` code units, which may contain zeros. A negative length is taken as 0.
    CXString(const WChar* text, int length);
    /// The character repeated `count` times; empty when `count` is not positive.
    explicit CXString(WChar character, int count = 1);
    /// A terminated 8-bit string, converted from the ANSI code page. Null is the empty string.
    explicit CXString(const char* text);
    /// `length` bytes, converted from the ANSI code page. A negative length is taken as 0.
    CXString(const char* text, int length);
    ~CXString();

    CXString& operator=(const CXString& other);
    CXString& operator=(CXString&& other) noexcept;
    CXString& operator=(const WChar* text);
    CXString& operator=(std::nullptr_t) {
        Empty();
        return *this;
    }
    CXString& operator=(WChar character);
    /// Replaces the text by a terminated 8-bit string, converted from the ANSI code page. Null empties.
    CXString& operator=(const char* text);

    CXString& operator+=(const CXString& text);
    CXString& operator+=(const WChar* text);
    CXString& operator+=(WChar character);

    /// The code unit at a position; 0 at the terminator and anywhere outside of the text.
    WChar operator[](int index) const {
        return index >= 0 && index < GetLength() ? m_characters[index] : WChar{0};
    }
    /// Same as operator[].
    WChar GetAt(int index) const { return (*this)[index]; }
    /// Replaces the code unit at a position below the length; any other position is ignored.
    void SetAt(int index, WChar character);

    /// Number of code units, without the terminator.
    int GetLength() const { return GetData()->length; }
    bool IsEmpty() const { return GetLength() == 0; }
    /// Makes the string empty and gives up its buffer.
    void Empty();
    /// The terminated code units, valid until the string is modified or destroyed.
    operator const WChar*() const { return m_characters; }

    /// What lies in front of the characters.
    struct Data {
        std::int32_t refs;  ///< String objects that share the buffer; negative when it is not to be counted:
                            ///< while it is locked, and always for the one buffer of all empty strings.
        std::int32_t length;       ///< Code units in use, without the terminator.
        std::int32_t allocLength;  ///< Code units available, without the terminator.
    };
    /// The header of the buffer.
    Data* GetData() const { return reinterpret_cast<Data*>(m_characters) - 1; }

    /// Ordinal comparison of code units: below, equal to or above zero. Ends at the first zero unit.
    int Compare(const WChar* text) const;
    /// Ordinal comparison of all code units, embedded zeros included.
    int Compare(const CXString& text) const;
    /// Comparison without regard to case, by the C library's wide rule.
    /// Case means the letters of ASCII, whichever locale the program has chosen for its C library.
    int CompareNoCase(const WChar* text) const;
    /// Same as Compare.
    int compare(const WChar* text) const { return Compare(text); }

    /// `count` code units from `first`; negative numbers are taken as 0, a longer stretch ends at the end.
    CXString Mid(int first, int count) const;
    /// Everything from `first`.
    CXString Mid(int first) const;
    CXString Left(int count) const;
    CXString Right(int count) const;
    /// The longest beginning made only of characters of the set.
    CXString SpanIncluding(const WChar* set) const;
    /// The longest beginning without any character of the set.
    CXString SpanExcluding(const WChar* set) const;

    void MakeUpper();
    void MakeLower();
    void MakeReverse();
    /// Replaces every occurrence; returns how many there were.
    int Replace(WChar oldCharacter, WChar newCharacter);
    /// Replaces every occurrence from left to right; an empty `oldText` replaces nothing.
    int Replace(const WChar* oldText, const WChar* newText);
    /// Removes every occurrence of a character; returns how many there were.
    int Remove(WChar character);
    /// Inserts before a position, which is cut to the range from 0 to the length; returns the new length.
    int Insert(int index, WChar character);
    int Insert(int index, const WChar* text);
    /// Deletes `count` code units from a position, as far as there are any; returns the new length.
    int Delete(int index, int count = 1);

    /// Position of the first occurrence at or after `start`, or -1.
    int Find(WChar character, int start = 0) const;
    int Find(const WChar* text, int start = 0) const;
    /// Position of the last occurrence, or -1.
    int ReverseFind(WChar character) const;

    /// Replaces the text by the formatted one. The format and its arguments may point into this string
    /// itself.
    ///
    /// Conversions have the Windows C library's sizes on every platform: `%ld` takes a LONG, `%I64d` 64 bits,
    /// `%s` a wide string, `%S` and `%hs` an 8-bit string. A null string prints as "(null)". `%n` stores
    /// nothing. A zero code unit that an argument puts in ends the text.
    /// @throws ExceptionOutOfMemory when the text could be longer than 0x0FFFFFFF code units
    void Format(const WChar* format, ...);
    void FormatV(const WChar* format, va_list arguments);
    /// Replaces the text by the platform's message for a text with numbered inserts: "%1" to "%99" stand for
    /// the arguments, wide strings unless a conversion follows ("%2!d!"); "%n" is a line end, "%0" ends the
    /// message without one. There must be as many arguments as the highest number says.
    /// @throws ExceptionOperatingSystemFailure when the text is malformed, a conversion is one of floating
    /// point
    ///         numbers or "n", or the message would be longer than 0x00FFFFFF code units
    void FormatMessageW(const WChar* format, ...);

    /// Removes white space (by the C library's wide test) from the beginning.
    void TrimLeft();
    void TrimLeft(WChar character);
    void TrimLeft(const WChar* set);
    /// Removes white space (by the C library's wide test) from the end.
    void TrimRight();
    void TrimRight(WChar character);
    void TrimRight(const WChar* set);

    /// Loads a text resource of the library; see TextResourceLoader.
    /// @return whether there is a text of that identifier; the string is empty otherwise
    bool LoadStringW(unsigned id);
    /// Takes the text of a window; empty where the platform has no windows.
    void GetWindowTextW(HWND window);
    /// Gives a window this text; does nothing where the platform has no windows.
    void SetWindowTextW(HWND window) const;

    /// A private buffer of at least `minimumLength` code units and a terminator, to be written to directly;
    /// call ReleaseBuffer afterwards.
    WChar* GetBuffer(int minimumLength);
    /// A private buffer with its length already set; what lies beyond the former text is indeterminate.
    WChar* GetBufferSetLength(int length);
    /// Sets the length after writing to the buffer, up to what it has room for; -1 (or any negative number)
    /// takes it from the first zero unit.
    void ReleaseBuffer(int length = -1);
    /// Gives back what the buffer has beyond the length.
    void FreeExtra();
    /// Code units available without growing.
    int GetAllocLength() const { return GetData()->allocLength; }
    /// A private buffer that copies of this string do not share until UnlockBuffer. Assignments write to it
    /// as long as the text fits; whatever gives the string another buffer ends the lock.
    WChar* LockBuffer();
    void UnlockBuffer();

    /// Converts to the ANSI code page, terminator included. A character that it lacks becomes one that looks
    /// like it, if there is one, and else "?".
    ///
    /// @param buffer  receives the bytes; null with a size of 0 asks for the size needed
    /// @param size    bytes available
    /// @return the number of bytes, terminator included; 0 when the buffer is too small or nothing can be
    /// done
    int GetAsMultiByte(char* buffer, int size) const;
    /// The string in the ANSI code page, terminator included, in exactly the size needed.
    std::vector<char> GetAsMultiByte() const;

    /// Whether there is nothing but spaces before the end or the first zero unit. Tabs are not blank.
    bool IsBlank() const;
    /// Whether every code unit lies in "0" to "9"; false for the empty string.
    bool IsContainNumericCharsOnly() const;
    /// Splits at every occurrence of the separator; empty pieces, the last one included, are kept. A piece
    /// ends at a zero unit in it.
    ///
    /// Writes to the shared buffer while it runs and restores it: no copy may be read by another thread.
    std::vector<CXString> Tokenize(WChar separator) const;

    /// Length of a terminated string; 0 for null.
    static int SafeStrlen(const WChar* text);

private:
    void Init();
    void AllocBuffer(int length);
    void AllocCopy(CXString& destination, int copyLength, int copyIndex, int extraLength) const;
    void AllocBeforeWrite(int length);
    void AssignCopy(int length, const WChar* text);
    void AssignNarrow(const char* text, int length);
    void ConcatCopy(int firstLength, const WChar* first, int secondLength, const WChar* second);
    void ConcatInPlace(int length, const WChar* text);
    void CopyBeforeWrite();
    void Reallocate(int allocLength);
    void SetLength(int length);
    void Swap(CXString& other) noexcept;
    void Release();
    static void Release(Data* data);
    static void FreeData(Data* data);
    bool IsWritable() const;
    bool IsLocked() const;
    [[noreturn]] static void ThrowOutOfMemory();

    friend NVUTIL_API CXString operator+(const CXString& left, const CXString& right);
    friend NVUTIL_API CXString operator+(const CXString& left, const WChar* right);
    friend NVUTIL_API CXString operator+(const WChar* left, const CXString& right);
    friend NVUTIL_API CXString operator+(const CXString& left, WChar right);
    friend NVUTIL_API CXString operator+(WChar left, const CXString& right);

    WChar* m_characters;  ///< The code units; a Data lies directly in front of them.
};

inline bool operator==(const CXString& left, const CXString& right) {
    const int length = left.GetLength();
    return length == right.GetLength() &&
           std::memcmp(static_cast<const WChar*>(left), static_cast<const WChar*>(right),
                       static_cast<std::size_t>(length) * sizeof(WChar)) == 0;
}
inline bool operator==(const CXString& left, const WChar* right) {
    return left.Compare(right) == 0;
}
inline std::strong_ordering operator<=>(const CXString& left, const CXString& right) {
    return left.Compare(right) <=> 0;
}
inline std::strong_ordering operator<=>(const CXString& left, const WChar* right) {
    return left.Compare(right) <=> 0;
}
