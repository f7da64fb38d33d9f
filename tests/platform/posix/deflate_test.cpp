// WalkDeflate against what another library compressed: every length of a match, and distances of all sizes.
#include "platform/deflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/cabinetbuilder.h"

namespace {

/// Deflate data without a frame.
std::vector<BYTE> Deflate(const std::string& text, int strategy) {
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, -15, 9, strategy);
    std::vector<BYTE> out(deflateBound(&stream, static_cast<uLong>(text.size())));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

TEST(WalkDeflate, TellsTheSizeOfEveryMatch) {
    std::vector<std::pair<std::size_t, std::size_t>> matches;  // distance and length
    for (std::size_t length = 3; length <= 258; ++length)
        matches.emplace_back(400, length);
    for (std::size_t distance = 1; distance <= 32000; distance += 1 + distance / 3)
        matches.emplace_back(distance, 100);
    const ByteBuffer bytes = cabinettest::Noise(33000);
    const std::string noise(bytes.begin(), bytes.end());
    for (const auto& [distance, length] : matches) {
        std::string text = noise.substr(0, std::max(distance, std::size_t{400}));
        for (std::size_t i = 0; i < length; ++i)
            text += text[text.size() - distance];
        text += "end";
        for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FIXED}) {
            const std::vector<BYTE> data = Deflate(text, strategy);
            const auto found = platform::WalkDeflate(data, 0, text.size());
            ASSERT_TRUE(found) << distance << ' ' << length;
            EXPECT_EQ(found->size, text.size()) << distance << ' ' << length;
            EXPECT_FALSE(platform::WalkDeflate(data, 0, text.size() - 1));
        }
    }
}

TEST(WalkDeflate, KnowsHowFarBackAMatchReaches) {
    // One match of length 3, fixed codes: the distance codes of 5 bits, then the bits beside them. After the
    // first two each pair of codes has a bit more, and each code begins where the one before ends.
    unsigned base = 1;
    for (unsigned code = 0; code < 30; ++code) {
        const unsigned bits = code < 2 ? 0 : code / 2 - 1;
        std::vector<BYTE> data;
        unsigned used = 0;
        const auto put = [&](unsigned bit) {
            if (used++ % 8 == 0) data.push_back(0);
            data.back() = static_cast<BYTE>(data.back() | bit << (used - 1) % 8);
        };
        const auto putCode = [&](unsigned value, int length) {  // most significant bit first
            while (length-- > 0)
                put(value >> length & 1);
        };
        put(1);  // the last block,
        put(1);  // with fixed codes
        put(0);
        putCode(1, 7);
        putCode(code, 5);
        for (unsigned i = 0; i < bits; ++i)
            put(1);
        putCode(0, 7);
        const unsigned distance = base + (1U << bits) - 1;
        EXPECT_TRUE(platform::WalkDeflate(data, distance, 3)) << code;
        EXPECT_FALSE(platform::WalkDeflate(data, distance - 1, 3)) << code;
        base = distance + 1;
    }
}

}  // namespace
