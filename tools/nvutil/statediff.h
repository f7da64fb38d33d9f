// The differences between two states.
#pragma once

#include <cstddef>
#include <iosfwd>

#include "nvutil/statefile.h"

/// Prints a line for each namespace or attribute that was added ("+"), removed ("-") or changed ("~"), with
/// its path, and one for each list whose attributes are only in another order.
/// @return number of lines
/// @throws ExceptionInvalidArgument when lists are nested more than `deepestNesting` deep
std::size_t WriteStateDiff(const StateContents& before, const StateContents& after, std::ostream& out);
