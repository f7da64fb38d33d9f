// What the parts of the comparison share: numbers that are the same in every build, and hashes of results.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

namespace comparison {

/// Numbers from a seed. The library's own distributions differ between standard libraries; this does not.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_engine(seed) {}

    std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(m_engine() % limit); }
    std::uint64_t Bits() { return m_engine(); }

private:
    std::mt19937_64 m_engine;
};

/// FNV-1a in hexadecimal.
inline std::string HashOf(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    std::string text;
    for (int shift = 60; shift >= 0; shift -= 4)
        text += "0123456789abcdef"[hash >> shift & 15];
    return text;
}

struct InputsOptions {
    std::uint64_t seed = 1;
    std::size_t count = 0;
    std::string seeds;     ///< a folder with the folders "cabinet", "state", "xml" and "ini"
    std::string scratch;   ///< a folder to write to
    std::size_t only = 0;  ///< the one input to run, or 0
    std::string save;      ///< where that input is written to
};

void WriteText(std::uint64_t seed, std::ostream& out);
void WriteInputs(const InputsOptions& options, std::ostream& out);

}  // namespace comparison
