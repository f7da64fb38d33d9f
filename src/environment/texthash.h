// TextHash: spreads texts over the buckets of a table, in a way that no file can foresee.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <random>

#include "environment/textview.h"

/// The hash for tables that are filled from files: whoever wrote a file cannot know which texts collide.
struct TextHash {
    using is_transparent = void;

    std::size_t operator()(TextView text) const {
        static const std::uint64_t key =
            std::uint64_t{std::random_device()()} << 32 | std::random_device()() | 1;
        std::uint64_t hash = key ^ text.size();
        for (const WChar unit : text)
            hash = std::rotl((hash ^ unit) * key, 29);
        return static_cast<std::size_t>(hash ^ hash >> 32);
    }
};
