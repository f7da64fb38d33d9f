// What the bytes of a character set stand for, by the platform's own tables.
#pragma once

#include <string_view>

#include "platform/types.h"

namespace platform {

/// A character set by the names that the platforms have for it.
struct CharacterSet {
    const char* name;   ///< iconv's
    unsigned codePage;  ///< the number of the platform's code page
};

/// Reads single characters of a set.
class CharacterSetReader {
public:
    explicit CharacterSetReader(const CharacterSet& set);
    ~CharacterSetReader();
    CharacterSetReader(const CharacterSetReader&) = delete;
    CharacterSetReader& operator=(const CharacterSetReader&) = delete;

    /// Whether the platform knows the set.
    bool IsKnown() const;
    /// The code unit that a sequence stands for.
    /// @return 0 when it is not one sound sequence that stands for one code unit
    WChar Read(std::string_view sequence);

private:
    void* m_handle;  ///< iconv's, or the number of the code page.
};

}  // namespace platform
