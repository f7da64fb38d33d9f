// DataObscurer: makes strings unreadable at a glance.
#pragma once

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// Transformations of characters that are their own inverse: applied twice they give the input back.
///
/// A character's nibbles are swapped in each of its bytes and combined with a mask of its position. Zero and
/// the double quote stay as they are, and no other character becomes one of them. None of the functions
/// fails.
class NVUTIL_API DataObscurer {
public:
    DataObscurer() = default;
    DataObscurer(const DataObscurer&) = default;
    DataObscurer& operator=(const DataObscurer&) = default;
    virtual ~DataObscurer();

    /// @param index  any position; every sixteenth has the same mask
    static char ObscureUnobscureChar(char character, int index);
    /// @param index  any position; every sixteenth has the same mask
    static WChar ObscureUnobscureWchar(WChar character, int index);
    /// Transforms each code unit. The first has the position 5. The result may hold lone surrogates.
    static CXString ObscureUnobscureCXString(CXString text);
};
