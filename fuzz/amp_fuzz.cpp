// Any instruction in AMP notation, beside a conversion that follows the rules step by step.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "environment/ampcommand.h"
#include "environment/productdata.h"
#include "expect.h"

namespace {

using Text = std::u16string;

/// The conversion as it is described: search, look up by comparing with every entry, search on.
ByteBuffer ConvertSlowly(const Text& instruction, LONG* context) {
    ByteBuffer out;
    const auto write = [&out](const Text& text) {
        out.appendAscii({text.data(), static_cast<int>(text.size())});
    };
    std::size_t begin = instruction.find(u'&');
    write(instruction.substr(0, begin));
    while (begin != Text::npos) {
        const std::size_t end = instruction.find(u';', begin);
        if (end == Text::npos) break;
        const Text name = instruction.substr(begin, end + 1 - begin);
        std::size_t next = end + 1;
        if (name == u"&amp;" && next < instruction.size() && instruction[next] == u'#') {
            std::uint32_t number = 0;
            for (++next; next < instruction.size() && instruction[next] >= u'0' && instruction[next] <= u'9';
                 ++next)
                number = number * 10 + (instruction[next] - u'0');
            for (bool isFirst = true; isFirst || number != 0; isFirst = false, number >>= 8)
                out.push_back(static_cast<BYTE>(number));
        } else {
            for (const AMPCMD& command : GetAmpCommands()) {
                if (name == command.name.data()) ProductData::OutputAMPValue(out, &command, context);
            }
        }
        begin = instruction.find(u'&', next);
        write(instruction.substr(next, begin == Text::npos ? begin : begin - next));
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    LONG context[4] = {1, -2, 0x12345, 4};
    LONG* const given = data[0] % 4 == 0 ? nullptr : context;
    Text instruction;
    for (std::size_t i = 1; i < size; ++i)
        instruction += data[0] % 2 == 0 ? data[i] : static_cast<char16_t>(data[i] == 0xFF ? 0xD800 : data[i]);

    ByteBuffer out;
    FUZZ_EXPECT(ProductData::ConvertAmpCommands({instruction.data(), static_cast<int>(instruction.size())},
                                                out, given));
    FUZZ_EXPECT(out == ConvertSlowly(instruction, given));
    FUZZ_EXPECT(context[0] == 1 && context[3] == 4);
    return 0;
}
