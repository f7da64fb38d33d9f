// UTF-8 and UTF-16 both ways: what was decoded encodes to itself, and fast and careful conversions agree.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "expect.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

using Wide = std::basic_string<WChar>;

// In blocks of exactly their size, so that a read behind them is seen.
template <class Unit>
std::vector<Unit> Terminated(const std::basic_string<Unit>& text) {
    std::vector<Unit> units(text.begin(), text.end());
    units.push_back(Unit{0});
    units.shrink_to_fit();
    return units;
}

Wide Decode(const std::string& utf8) {
    const ByteBuffer bytes = NorvaUtilities::UTF8_Decode(Terminated(utf8).data());
    FUZZ_EXPECT(bytes.size() % sizeof(WChar) == 0);
    FUZZ_EXPECT(bytes.empty() == (utf8.size() < 2));
    if (bytes.empty()) return {};
    Wide wide(bytes.size() / sizeof(WChar), WChar{0});
    std::memcpy(wide.data(), bytes.data(), bytes.size());
    FUZZ_EXPECT(wide.back() == 0);
    wide.pop_back();
    return wide;
}

std::string Encode(const Wide& wide) {
    const ByteBuffer bytes = NorvaUtilities::UTF8_Encode(Terminated(wide).data());
    FUZZ_EXPECT(!bytes.empty() && bytes.back() == 0);
    return {bytes.begin(), bytes.end() - 1};
}

bool IsSurrogate(WChar unit) {
    return (unit & 0xF800) == 0xD800;
}

// The same text when each half is converted alone, if nothing was torn: blocks hide no error.
void CheckHalves(const Wide& wide) {
    const std::size_t middle = wide.size() / 2;
    if (middle > 0 && IsSurrogate(wide[middle - 1])) return;
    FUZZ_EXPECT(Encode(wide.substr(0, middle)) + Encode(wide.substr(middle)) == Encode(wide));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string utf8(reinterpret_cast<const char*>(data), size);
    utf8.resize(std::strlen(utf8.c_str()));
    const Wide decoded = Decode(utf8);
    const std::string valid = Encode(decoded);
    if (valid.size() >= 2) FUZZ_EXPECT(Decode(valid) == decoded);
    CheckHalves(decoded);

    Wide wide;
    for (std::size_t i = 0; i + 1 < size; i += 2) {
        const auto unit = static_cast<WChar>(data[i] | data[i + 1] << 8);
        if (unit == 0) break;
        wide += unit;
    }
    const std::string encoded = Encode(wide);
    if (encoded.size() >= 2) FUZZ_EXPECT(Encode(Decode(encoded)) == encoded);
    CheckHalves(wide);
    return 0;
}
