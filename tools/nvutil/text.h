// Text as the tool reads and prints it: UTF-8 outside, UTF-16 code units inside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/driverversion.h"

/// UTF-8 of a text; a lone surrogate becomes U+FFFD.
std::string ToUtf8(const CXString& text);
/// The code units of UTF-8; each byte that belongs to no valid sequence becomes U+FFFD.
CXString FromUtf8(std::string_view text);

/// A JSON string literal, quotes included. Control characters and lone surrogates are escaped, so that every
/// text has one literal of its own and none disturbs a terminal.
std::string QuotedText(const CXString& text);
/// The same for UTF-8.
std::string QuotedText(std::string_view text);
/// UTF-8 made safe for one line of a terminal: each control character becomes its escape.
std::string OneLine(std::string_view text);

/// Two upper-case digits a byte with `separator` between bytes.
std::string HexText(std::span<const BYTE> bytes, std::string_view separator = "");
/// An upper-case hexadecimal number of at least `digits` digits.
std::string HexNumber(std::uint64_t number, std::size_t digits);
/// A number with separated thousands: "1,234,567".
std::string Grouped(std::uint64_t number);
/// "1 byte", "2,345 bytes".
std::string CountText(std::uint64_t count, std::string_view noun);
/// `text` filled up with blanks to a width in characters.
std::string Padded(std::string_view text, std::size_t width);
/// "1.2.3.4"
std::string VersionText(const DriverVersion& version);

/// An exception in one line: its identifier, its class, what it is about and what was wrong.
std::string RefusalText(const std::exception& exception, std::string_view subject);
