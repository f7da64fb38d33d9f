// AMPCMD: an entity of the AMP notation, and the table of all of them.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/types.h"

/// How the value of an entity is written, always least significant byte first.
enum AmpType : LONG {
    AmpTypeNumber = 0,        ///< A 32-bit number of the context, in as many bytes as it needs.
    AmpTypeByte = 1,          ///< The value's low byte.
    AmpTypeWord = 2,          ///< The value's low two bytes.
    AmpTypeLong = 3,          ///< The value's four bytes.
    AmpTypeOrigin = 4,        ///< Two bytes each of the page's origin in the context, x and y.
    AmpTypePhysicalArea = 5,  ///< Two bytes each of the physical area in the context, x and y.
};

/// One entity. A type that is not of AmpType writes nothing.
struct AMPCMD {
    std::array<WChar, 32> name;  ///< With "&" and ";", terminated.
    LONG value;
    BYTE flag;  ///< 1 when a "#" and a number may follow and then take the place of the value.
    LONG type;  ///< An AmpType.
};

/// The number of entities.
constexpr std::size_t ampCommandCount = 221;

/// The table, in the order of the names' code units.
NVUTIL_API const std::array<AMPCMD, ampCommandCount>& GetAmpCommands();

/// The entity of a name with its "&" and ";"; null when there is none. Case matters.
NVUTIL_API const AMPCMD* FindAmpCommand(std::basic_string_view<WChar> name);
