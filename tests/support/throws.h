// EXPECT_THROWS: an exception of the library with the line and the function that users know it by.
#pragma once

#include <gtest/gtest.h>

#include "support/narrow.h"
#include "utilities/debuggingandexceptions/exceptions.h"

/// Expects that a statement throws a class of the family, from a certain line and function.
#define EXPECT_THROWS(statement, Class, line, function)                                       \
    try {                                                                                     \
        static_cast<void>(statement);                                                         \
        ADD_FAILURE() << "nothing was thrown by " #statement;                                 \
    } catch (const Class& thrown) {                                                           \
        EXPECT_EQ(thrown.GetExceptionLocationLineNumber(), line) << #statement;               \
        EXPECT_EQ(Narrow(thrown.GetExceptionLocationFunctionName()), function) << #statement; \
    } catch (const NorvaException& thrown) {                                                  \
        ADD_FAILURE() << #statement " threw " << Narrow(thrown.GetExceptionType());           \
    }
