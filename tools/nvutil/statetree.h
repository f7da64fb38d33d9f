// The tree that `state show` prints.
#pragma once

#include <string>

#include "nvutil/statefile.h"

/// What a state holds, for people: sizes and versions, then one line an attribute, lists indented.
/// @throws ExceptionInvalidArgument when lists are nested more than `deepestNesting` deep
std::string WriteStateTree(const StateContents& contents);
