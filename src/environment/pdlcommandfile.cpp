// PdlCommandFile: the instructions of a command file, in their order and by what they are asked for by.
#include "environment/pdlcommandfile.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "platform/text.h"

namespace {

constexpr std::pair<const WChar*, ProductData::PdlType> pdlTypes[] = {
    {NV_TEXT("PCL"), ProductData::PdlTypePcl},   {NV_TEXT("PCL5"), ProductData::PdlTypePcl5},
    {NV_TEXT("PCL6"), ProductData::PdlTypePcl6}, {NV_TEXT("PS"), ProductData::PdlTypePs},
    {NV_TEXT("PJL"), ProductData::PdlTypePjl},
};

/// The content of the first element of a name.
std::optional<TextView> FindElement(TextView text, const WChar* name) {
    TextView before;
    TextView content;
    if (!TakePdlElement(text, name, before, content)) return std::nullopt;
    return content;
}

}  // namespace

bool TakePdlElement(TextView& text, const WChar* name, TextView& before, TextView& content) {
    const platform::Text closing = platform::Text(NV_TEXT("</")).append(name).append(1, WChar{'>'});
    const platform::Text opening = platform::Text(closing).erase(1, 1);
    const std::size_t begin = text.find(opening);
    if (begin == TextView::npos) return false;
    const std::size_t end = text.find(closing, begin + opening.size());
    if (end == TextView::npos) return false;
    before = text.substr(0, begin);
    content = text.substr(begin + opening.size(), end - begin - opening.size());
    text.remove_prefix(end + closing.size());
    return true;
}

ProductData::PdlType nvutil::PdlTypeOf(const CXString& name) {
    const auto found = std::find_if(std::begin(pdlTypes), std::end(pdlTypes), [&name](const auto& each) {
        return name.CompareNoCase(each.first) == 0;
    });
    return found != std::end(pdlTypes) ? found->second : ProductData::PdlTypeOther;
}

nvutil::PdlCommandFile::PdlCommandFile(const CXString& text) : m_text(StringOf(ViewOf(text))) {
    TextView rest = ViewOf(m_text);
    TextView before;
    for (TextView feature; TakePdlElement(rest, NV_TEXT("FeatureSet"), before, feature);)
        ReadFeature(feature);
}

/// Reads the instructions of a feature set: its own, and then those of its items.
void nvutil::PdlCommandFile::ReadFeature(TextView text) {
    const TextView feature = FindElement(text, NV_TEXT("Description")).value_or(TextView());
    ByOption& options = m_byFeature[feature];
    TextView before;
    TextView item;
    TextView rest = text;
    while (TakePdlElement(rest, NV_TEXT("FeatureItem"), before, item))
        ReadSets(before, feature, {}, options[{}]);
    ReadSets(rest, feature, {}, options[{}]);

    rest = text;
    while (TakePdlElement(rest, NV_TEXT("FeatureItem"), before, item)) {
        const TextView option = FindElement(item, NV_TEXT("Description")).value_or(TextView());
        ReadSets(item, feature, option, options[option]);
    }
}

/// Reads every set of a language, its qualifier and instructions.
void nvutil::PdlCommandFile::ReadSets(TextView text, TextView feature, TextView option,
                                      ByTypeAndQualifier& index) {
    TextView before;
    TextView set;
    while (TakePdlElement(text, NV_TEXT("PDLSet"), before, set)) {
        const std::optional<TextView> language = FindElement(set, NV_TEXT("PDL"));
        if (!language) continue;
        const ProductData::PdlType type = PdlTypeOf(StringOf(*language));
        const TextView qualifier = FindElement(set, NV_TEXT("Qualifier")).value_or(TextView());
        for (TextView source; TakePdlElement(set, NV_TEXT("Instruction"), before, source);) {
            CXString instruction = StringOf(source);
            instruction.Remove(WChar{'"'});
            index.try_emplace({type, qualifier}, m_instructions.size());
            m_instructions.push_back({feature, option, type, qualifier, instruction, source});
        }
    }
}

const PdlInstruction* nvutil::PdlCommandFile::Find(TextView feature, TextView option,
                                                   ProductData::PdlType type, TextView qualifier) const {
    const auto options = m_byFeature.find(feature);
    if (options == m_byFeature.end()) return nullptr;
    const auto instructions = options->second.find(option);
    if (instructions == options->second.end()) return nullptr;

    const auto positionOf = [&](TextView wanted) {
        const auto found = instructions->second.find({type, wanted});
        return found != instructions->second.end() ? found->second : m_instructions.size();
    };
    const Position first = std::min(positionOf({}), positionOf(qualifier));
    return first < m_instructions.size() ? &m_instructions[first] : nullptr;
}
