// Base64 both ways: any bytes come back in every form, and any text decodes as a plain reading of it says.
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "expect.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

std::vector<WChar> Encode(const std::vector<BYTE>& bytes, DWORD flags) {
    const int size = static_cast<int>(bytes.size());
    int length = NorvaUtilities::Base64EncodeGetRequiredLength(size, flags);
    std::vector<WChar> text(static_cast<std::size_t>(length) + 1);
    FUZZ_EXPECT(NorvaUtilities::Base64Encode(bytes.data(), size, text.data(), &length, flags) == 1);
    text.resize(static_cast<std::size_t>(length));
    text.shrink_to_fit();
    return text;
}

// Decodes into exactly so much room; what was written is cut to what the decoder counted.
std::vector<BYTE> Decode(const std::vector<WChar>& text, std::size_t room, int& count, int& result) {
    std::vector<BYTE> bytes(room + 1, 0xEE);
    count = static_cast<int>(room);
    result = NorvaUtilities::Base64Decode(text.data(), static_cast<int>(text.size()), bytes.data(), &count);
    FUZZ_EXPECT(bytes.back() == 0xEE);
    bytes.pop_back();
    if (static_cast<std::size_t>(count) < bytes.size()) bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

// One character after the other, bits in a row.
std::vector<BYTE> DecodePlainly(const std::vector<WChar>& text) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<BYTE> bytes;
    unsigned bits = 0;
    int count = 0;
    for (const WChar character : text) {
        if (character == 0) break;
        const std::size_t value =
            character < 0x80 ? alphabet.find(static_cast<char>(character)) : std::string_view::npos;
        if (value == std::string_view::npos) continue;
        bits = bits << 6 | static_cast<unsigned>(value);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<BYTE>(bits >> count));
    }
    return bytes;
}

void CheckRoundTrip(const std::vector<BYTE>& bytes) {
    for (DWORD flags = 0; flags < 4; ++flags) {
        int count = 0;
        int result = 0;
        FUZZ_EXPECT(Decode(Encode(bytes, flags), bytes.size(), count, result) == bytes);
        FUZZ_EXPECT(result == 1);
    }
}

void CheckDecoding(const std::vector<WChar>& text) {
    const std::vector<BYTE> expected = DecodePlainly(text);
    int count = 0;
    int result = 0;
    FUZZ_EXPECT(Decode(text, expected.size(), count, result) == expected);
    FUZZ_EXPECT(result == 1);
    if (expected.empty()) return;
    const std::size_t room = expected.size() / 2;
    const std::vector<BYTE> part = Decode(text, room, count, result);
    FUZZ_EXPECT(result == 0 && count == static_cast<int>(expected.size()));
    // A group of three is not torn.
    const std::size_t whole = room / 3 * 3;
    for (std::size_t i = 0; i < room; ++i)
        FUZZ_EXPECT(part[i] == (i < whole ? expected[i] : 0xEE));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    CheckRoundTrip(std::vector<BYTE>(data, data + size));
    CheckDecoding(std::vector<WChar>(data, data + size));
    std::vector<WChar> pairs;
    for (std::size_t i = 0; i + 1 < size; i += 2)
        pairs.push_back(static_cast<WChar>(data[i] | data[i + 1] << 8));
    if (!pairs.empty()) CheckDecoding(pairs);
    return 0;
}
