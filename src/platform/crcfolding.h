// Folding for the CRC-32: many bytes become a few with the same check, as fast as the processor multiplies.
//
// The check is the remainder of a division of polynomials, and stays the same when the first bytes are taken
// away and a multiple of them is added further on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/types.h"

namespace platform {

using FoldedBytes = std::array<BYTE, 16>;

/// A polynomial times x, modulo that of the CRC-32. The highest power is the lowest bit.
constexpr std::uint32_t TimesX(std::uint32_t value) {
    constexpr std::uint32_t reflectedPolynomial = 0xEDB88320;
    return (value >> 1) ^ ((value & 1) != 0 ? reflectedPolynomial : 0);
}

/// Replaces the first bytes and the register's value before them by bytes that leave the same in a register
/// of 0.
/// @return how many were replaced; 0 when there are few or the processor cannot
std::size_t FoldForCrc(std::uint32_t value, const BYTE* bytes, std::size_t length, FoldedBytes& folded);

}  // namespace platform
