// UTF8Ini: the platform's profile (INI) functions with wide arguments, over files that hold UTF-8 text.
#pragma once

#include "platform/types.h"

/// Each member takes the arguments of the platform function of its name, the file last, and never throws.
///
/// Sections and keys are found without regard to the case of ASCII letters. A value loses the blanks and one
/// pair of quotes around it. What is set keeps everything else in the file, comments included; on the
/// platform itself its own functions may lay it out anew. A missing file is as good as an empty one, and is
/// created when something is set; its folder is not.
///
/// A file name without a folder means the Windows folder on Windows, as it does to the platform's functions,
/// and the working folder elsewhere: give the folder. On Windows a file must have a name in the ANSI code
/// page, elsewhere one in UTF-8; any other is the name of no file. Off Windows files are replaced in one
/// step, while a lock keeps other writers waiting.
///
/// A file that begins with a byte-order mark, of UTF-8 or UTF-16, is refused: it reads as if it were empty,
/// and every change of it fails and leaves it as it is.
class NVUTIL_API UTF8Ini {
public:
    /// The number that a value begins with, modulo 2^32: an optional sign, then decimal digits, or
    /// hexadecimal ones behind "0x", octal ones behind "0o", binary ones behind "0b". 0 when it begins with
    /// none.
    /// @return the default when an argument is null, there is no such key, or its value is empty
    static unsigned GetPrivateProfileIntW(const WChar* section, const WChar* key, int defaultValue,
                                          const WChar* file);

    /// Lists the lines of a section as "key=value" texts, without comments; each ends with a zero, and
    /// another one follows the last.
    /// @param size  code units available at `out`
    /// @return the units written, without the last zero; size − 2 when the list had to be cut; 0 when an
    ///         argument is null or 0
    static DWORD GetPrivateProfileSectionW(const WChar* section, WChar* out, DWORD size, const WChar* file);

    /// Lists the names of all sections, in the form of GetPrivateProfileSectionW.
    static DWORD GetPrivateProfileSectionNamesW(WChar* out, DWORD size, const WChar* file);

    /// The value of a key, or else the default.
    /// @param defaultValue  null stands for the empty text
    /// @param out           receives the value, cut if need be, and a zero; untouched when an argument is
    /// null
    /// @param size          code units available at `out`
    /// @return the units written, without the zero; 0 when section, key, out, size or file is null or 0
    static DWORD GetPrivateProfileStringW(const WChar* section, const WChar* key, const WChar* defaultValue,
                                          WChar* out, DWORD size, const WChar* file);

    /// Reads the bytes that WritePrivateProfileStructW wrote.
    /// @return 1; 0 when an argument is null, or there are not `size` bytes with their checksum behind them:
    ///         what is then in `out` is not to be used
    static BOOL GetPrivateProfileStructW(const WChar* section, const WChar* key, void* out, unsigned size,
                                         const WChar* file);

    // Setting. The result is 1, or 0 when section or file is null or the file cannot be written.

    /// Sets a key to a decimal number.
    static BOOL WritePrivateProfileInt(const WChar* section, const WChar* key, int value, const WChar* file);

    /// Replaces all lines of a section, comments included, by "key=value" texts, each with a zero at its end
    /// and another one behind the last. A text without "=" is left out. Null removes the section.
    static BOOL WritePrivateProfileSectionW(const WChar* section, const WChar* entries, const WChar* file);

    /// Sets a key, behind the other lines of its section. A null value removes the key, a null key the
    /// section. Blanks around a value are lost unless it is given in quotes; a line break in it ends it.
    static BOOL WritePrivateProfileStringW(const WChar* section, const WChar* key, const WChar* value,
                                           const WChar* file);

    /// Sets a key to bytes in hexadecimal, with a checksum. Null removes the key.
    static BOOL WritePrivateProfileStructW(const WChar* section, const WChar* key, const void* data,
                                           unsigned size, const WChar* file);
};
