// Folding for the CRC-32, on processors that multiply without carry.
#include "platform/crcfolding.h"

#ifdef __x86_64__

#include <immintrin.h>

namespace platform {

namespace {

constexpr std::size_t laneSize = sizeof(__m128i);
static_assert(laneSize == sizeof(FoldedBytes));
constexpr std::size_t laneCount = 4;  // that do not wait for each other
constexpr std::size_t blockSize = laneCount * laneSize;

/// What half a lane is multiplied by to be added so many bits further on: that power of x, doubled, since a
/// product of polynomials whose highest power is the lowest bit lies one bit too low.
constexpr long long FactorFor(unsigned bits) {
    std::uint32_t power = 0x80000000;  // x to the power of 0
    for (; bits > 0; --bits)
        power = TimesX(power);
    return static_cast<long long>(power) << 1;
}

static_assert(FactorFor(544) == 0x154442BD4 && FactorFor(96) == 0x0CCAA009E);

__m128i LaneAt(const BYTE* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

/// The factors for a distance in bytes between lanes. The first half of a lane has further to go.
template <std::size_t distance>
__m128i FactorsOver() {
    constexpr auto bits = static_cast<unsigned>(8 * distance);
    constexpr long long first = FactorFor(bits + 32);
    constexpr long long second = FactorFor(bits - 32);
    return _mm_set_epi64x(second, first);
}

/// Adds a lane to the bytes of one further on.
[[gnu::target("pclmul")]] __m128i Fold(__m128i lane, __m128i factors, __m128i bytes) {
    const __m128i first = _mm_clmulepi64_si128(lane, factors, 0x00);
    const __m128i second = _mm_clmulepi64_si128(lane, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(first, second), bytes);
}

/// Folds whole blocks, at least one.
[[gnu::target("pclmul")]] void FoldBlocks(std::uint32_t value, const BYTE* bytes, std::size_t length,
                                          FoldedBytes& folded) {
    const __m128i overBlock = FactorsOver<blockSize>();
    const __m128i overLane = FactorsOver<laneSize>();
    __m128i lanes[laneCount];
    for (std::size_t i = 0; i < laneCount; ++i)
        lanes[i] = LaneAt(bytes + i * laneSize);
    lanes[0] = _mm_xor_si128(lanes[0], _mm_cvtsi32_si128(static_cast<int>(value)));
    for (std::size_t at = blockSize; at < length; at += blockSize) {
        for (std::size_t i = 0; i < laneCount; ++i)
            lanes[i] = Fold(lanes[i], overBlock, LaneAt(bytes + at + i * laneSize));
    }
    __m128i joined = lanes[0];
    for (std::size_t i = 1; i < laneCount; ++i)
        joined = Fold(joined, overLane, lanes[i]);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(folded.data()), joined);
}

}  // namespace

std::size_t FoldForCrc(std::uint32_t value, const BYTE* bytes, std::size_t length, FoldedBytes& folded) {
    const std::size_t whole = length - length % blockSize;
    if (whole == 0 || __builtin_cpu_supports("pclmul") == 0) return 0;
    FoldBlocks(value, bytes, whole, folded);
    return whole;
}

}  // namespace platform

#else

std::size_t platform::FoldForCrc(std::uint32_t /*value*/, const BYTE* /*bytes*/, std::size_t /*length*/,
                                 FoldedBytes& /*folded*/) {
    return 0;
}

#endif
