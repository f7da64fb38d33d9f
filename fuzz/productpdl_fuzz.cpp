// Any bytes as a command file: what the index finds is what a walk over the instructions finds first.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "environment/pdlcommandfile.h"
#include "environment/productfiles.h"
#include "expect.h"

namespace {

const PdlInstruction* Walk(const nvutil::PdlCommandFile& file, const PdlInstruction& wanted,
                           TextView qualifier) {
    for (const PdlInstruction& each : file.GetInstructions()) {
        if (each.feature == wanted.feature && each.option == wanted.option && each.type == wanted.type &&
            (each.qualifier.empty() || each.qualifier == qualifier))
            return &each;
    }
    return nullptr;
}

bool LiesIn(TextView part, TextView whole) {
    return part.empty() ||
           (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

/// What is cut out feature set by feature set is what is read at once.
void CheckFeatures(CXString text, const nvutil::PdlCommandFile& file) {
    std::vector<CXString> instructions;
    CXString feature;
    while (ProductData::GetPDLXMLFeature(text, feature)) {
        const nvutil::PdlCommandFile alone(feature + NV_TEXT("</FeatureSet>"));
        for (const PdlInstruction& each : alone.GetInstructions())
            instructions.push_back(each.instruction);
    }
    FUZZ_EXPECT(instructions.size() == file.GetInstructions().size());
    for (std::size_t i = 0; i < instructions.size(); ++i)
        FUZZ_EXPECT(instructions[i] == file.GetInstructions()[i].instruction);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 8192) return 0;
    const CXString text = productfiles::TextOf(ByteBuffer(data, static_cast<DWORD>(size)));
    const nvutil::PdlCommandFile file(text);
    for (const PdlInstruction& each : file.GetInstructions()) {
        FUZZ_EXPECT(LiesIn(each.feature, file.GetText()) && LiesIn(each.source, file.GetText()));
        FUZZ_EXPECT(each.instruction.Find(u'"') < 0);
        for (const TextView qualifier : {TextView(), each.qualifier, TextView(u"other")}) {
            FUZZ_EXPECT(file.Find(each.feature, each.option, each.type, qualifier) ==
                        Walk(file, each, qualifier));
        }
    }
    CheckFeatures(text, file);
    return 0;
}
