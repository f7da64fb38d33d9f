// EXPECT_THROWS: an exception of the library with the line and the function that users know it by.
#pragma once

#include <gtest/gtest.h>

#include <string>

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

/// What an exception of a class says that an action throws.
template <class Exception, class Action>
std::string MessageOf(const Action& action) {
    try {
        action();
    } catch (const Exception& thrown) {
        return Narrow(thrown.GetExceptionMesage());
    }
    return "nothing was thrown";
}
