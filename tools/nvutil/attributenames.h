// What people read in place of numbers: the names of kinds and namespaces, and values with their units.
#pragma once

#include <string>
#include <string_view>

#include "platform/types.h"
#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesvalue.h"
#include "utilities/utilitiesdll/dimension.h"

/// How deep lists may be nested in what the tool shows and builds. The library itself sets no limit.
constexpr int deepestNesting = 100;

/// "integer", "date-time"; "unknown" for a number that is no kind.
std::string_view NameOfValueKind(AttributeBytesValue::AttributeBytesValueEnum kind);
/// "document properties"; "unnamed" for one that the library gives no name.
std::string_view NameOfNameSpace(LONG number);

/// `feature 12`, `new capability "X", type 3`.
std::string DisplayOfId(const AttributeBytesId& id);
/// One line: `300`, `215.9 mm (8.5 in)`, `of type 0, 2 items`.
std::string DisplayOfValue(const AttributeBytesValue& value);

/// A stored length, in thousandths of a millimetre.
LONG ThousandthsOf(const Dimension& dimension);
/// "215.9 mm (8.5 in)"
std::string DisplayOfLength(LONG thousandths);
/// A number without exponent, with at most `decimals` decimals and no zeros at their end.
std::string DisplayOfNumber(double number, int decimals);
