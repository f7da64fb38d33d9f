// The throw protocol: format the message, offer the throw to the debug hook, build the exception, throw it.
//
// For the library's own sources; users catch exceptions and need not include it.
#pragma once

#include <string_view>
#include <utility>

#include "platform/internalapi.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/cxstring.h"

/// The file that a site reports. A source file that has moved defines it first, as users know the file.
#ifndef NV_SOURCE_FILE
#define NV_SOURCE_FILE __FILE__
#endif

/// Throws an exception of the family.
///
/// @param Class     a class with a factory `GetClass`
/// @param function  8-bit text that names the throwing function, "ByteBuffer::WalkBufferToGetLong"
/// @param line      `__LINE__`, or the number that users know this site by
/// @param ...       optionally a format text and its arguments; they are evaluated only once,
///                  and a fault while doing so becomes the message
#define NV_THROW(Class, function, line, ...)                                                               \
    throwprotocol::Throw(&Get##Class, #Class, {throwprotocol::SourceFile(NV_SOURCE_FILE), line, function}, \
                         [&] { return throwprotocol::FormatMessageOfSite(__VA_ARGS__); })

namespace throwprotocol {

/// Where an exception is thrown.
struct Site {
    std::string_view sourceFile;
    int line;
    const char* function;
};

/// A site's message, formatted.
struct Message {
    CXString text;
    bool hasArguments = false;  ///< Whether the site supplied arguments; the text must not be empty then.
};

/// The text that stands for a source file: its path from "src" on, without the extension.
constexpr std::string_view SourceFile(std::string_view path) {
    const std::size_t root = path.rfind("src/utilities/");
    const std::size_t begin = root != std::string_view::npos ? root : path.rfind("src/");
    if (begin != std::string_view::npos) path.remove_prefix(begin);
    return path.substr(0, path.rfind('.'));
}

/// Formats a site's message with the bounded formatter; a fault while formatting gives the empty text.
NVUTIL_INTERNAL_API CXString SafeFormat(const WChar* format, ...);

inline Message FormatMessageOfSite() {
    return {};
}

template <class... Arguments>
Message FormatMessageOfSite(const WChar* format, const Arguments&... arguments) {
    return {SafeFormat(format, FormatArgument(arguments)...), sizeof...(arguments) > 0};
}

/// What a site hands to the factory of its class.
struct Prepared {
    CXString message;
    CXString sourceFile;
    CXString function;
    ExecutionContextStack stack;  ///< A copy of the calling thread's contexts.
};

/// Settles the message, builds the throwing text and offers it to the debug hook.
/// @param message  the site's message; null when evaluating its arguments faulted
/// @throws std::bad_alloc when there is no memory even for the exception
NVUTIL_INTERNAL_API Prepared Prepare(const char* className, const Site& site, const Message* message);

template <class Factory, class FormatMessage>
[[noreturn]] void Throw(Factory factory, const char* className, const Site& site,
                        FormatMessage formatMessage) {
    const Prepared prepared = [&] {
        Message message;
        try {
            message = formatMessage();
        } catch (...) {
            return Prepare(className, site, nullptr);
        }
        return Prepare(className, site, &message);
    }();
    throw factory(prepared.message, prepared.sourceFile, site.line, prepared.function, prepared.stack);
}

}  // namespace throwprotocol
