// NorvaUtilities: conversions between wide and 8-bit text, Base64, and names of the platform's constants.
#pragma once

#include <cstddef>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

struct HKEY__;  // what the platform's registry handles point to

namespace NorvaUtilities {

// Text. Nothing here throws; a conversion that fails gives an empty result.

/// The UTF-8 form of a terminated text, terminator included; a lone surrogate becomes U+FFFD.
/// @return empty when the text is null or memory runs out
NVUTIL_API ByteBuffer UTF8_Encode(const WChar* text);

/// The UTF-16 form of terminated UTF-8, terminator included; malformed bytes become U+FFFD.
///
/// Deliberately, a text of a single byte decodes to nothing, as the empty text does.
/// @return empty when the text is null or shorter than two bytes, or memory runs out
NVUTIL_API ByteBuffer UTF8_Decode(const char* text);

/// Converts a terminated text to the system's ANSI code page. A character that it lacks becomes one that
/// looks like it, if there is one ("L" for U+0141, "/" for U+FF0F), and else "?": two texts can have one
/// result.
/// @param out   receives the text and its terminator; the empty text when that does not fit
/// @param size  bytes available at `out`
/// @return whether the whole text fitted; false when a pointer is null
NVUTIL_API bool WideCharStrToMultiByteStr(const WChar* text, char* out, std::size_t size);

/// Converts a terminated text from the system's ANSI code page.
/// @param out   receives the text and its terminator; the empty text when that does not fit
/// @param size  code units available at `out`
/// @return whether the whole text fitted; false when a pointer is null
NVUTIL_API bool MultiByteStrToWideCharStr(const char* text, WChar* out, std::size_t size);

// Base64

/// Flags of the Base64 encoder.
enum Base64Flags : DWORD {
    Base64NoPadding = 1,     ///< The last group is not filled up with "=".
    Base64NoLineBreaks = 2,  ///< Without it, a line ends after each 76 characters.
};

/// The room that Base64Encode asks for, in characters: at least as many as it writes, and often more.
/// @param srcLength  bytes to encode; 0 is returned when it is negative
/// @param flags      Base64Flags
/// @throws ExceptionInvalidArgument when four times the length exceeds 0x7FFFFFFF
NVUTIL_API int Base64EncodeGetRequiredLength(int srcLength, DWORD flags = 0);

/// Encodes bytes as Base64 text, which is not terminated.
///
/// Deliberately, a text whose whole groups fill their last line ends with a line break, unless flags forbid
/// line breaks.
/// @param destLength  characters available at `dest`; receives the number written when that succeeds
/// @return 1; 0 when a pointer is null, `srcLength` is negative or there is less room than
///         Base64EncodeGetRequiredLength asks for
/// @throws ExceptionInvalidArgument when four times the length exceeds 0x7FFFFFFF
NVUTIL_API int Base64Encode(const BYTE* src, int srcLength, WChar* dest, int* destLength, DWORD flags = 0);

/// An upper bound of the bytes that as many characters decode to: their number.
NVUTIL_API int Base64DecodeGetRequiredLength(int srcLength);

/// Decodes Base64 text up to its length or a zero character. Characters that are not of the alphabet, "="
/// among them, are skipped.
/// @param dest        receives the bytes; null only to learn how many there are
/// @param destLength  bytes available at `dest`; receives the number of all decoded bytes, also of those
///                    that did not fit
/// @return 1 when all bytes were written; 0 when they were not, or `src` or `destLength` is null
NVUTIL_API int Base64Decode(const WChar* src, int srcLength, BYTE* dest, int* destLength);

// Names of the platform's published constants, for logs. A value without a name is given as "0x0000002A".

/// A query of DeviceCapabilities: "DC_PAPERS".
NVUTIL_API CXString DeviceCapabilitiesString(WORD capability);

/// An event of a print job's device context: "DOCUMENTEVENT_STARTPAGE"; followed by
/// " | DOCUMENTEVENT_SPOOLED" when that flag is set.
NVUTIL_API CXString DocumentEventString(int event);

/// An event of a print job in the form of an XPS document: "DOCUMENTEVENT_XPS_CANCELJOB".
NVUTIL_API CXString XpsDocumentEventString(int event);

/// The fields that a device mode says are set, lowest bit first: "DM_ORIENTATION | DM_COPIES"; "0" for none.
NVUTIL_API CXString DevmodeDmFieldString(DWORD fields);

/// What a call of DocumentProperties is asked to do, lowest bit first: "DM_OUT_BUFFER | DM_IN_BUFFER"; "0"
/// for none. Of names with one value it takes the one that documentation prefers.
NVUTIL_API CXString DevmodeModeString(DWORD mode);

/// A predefined key of the registry: "HKEY_LOCAL_MACHINE".
NVUTIL_API CXString HkeyString(const HKEY__* key);

}  // namespace NorvaUtilities
