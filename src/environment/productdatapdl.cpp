// ProductData: commands from the model's command file.
#include <algorithm>
#include <iterator>
#include <utility>

#include "environment/pdlcommandfile.h"
#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "environment/textview.h"

namespace {

constexpr std::pair<const WChar*, ProductData::PdlType> pdlTypes[] = {
    {NV_TEXT("PCL"), ProductData::PdlTypePcl},   {NV_TEXT("PCL5"), ProductData::PdlTypePcl5},
    {NV_TEXT("PCL6"), ProductData::PdlTypePcl6}, {NV_TEXT("PS"), ProductData::PdlTypePs},
    {NV_TEXT("PJL"), ProductData::PdlTypePjl},
};

}  // namespace

bool ProductData::GetPDLCommand(const CXString& feature, const CXString& option, PdlType type,
                                ByteBuffer& out, void* context, const CXString& qualifier, bool reload) {
    const OwnedCriticalResource lock(GetLock());
    if (reload) m_commands.reset();
    if (m_commands == nullptr) ReadCommands();
    return FindPDLInstruction(feature, option, type, qualifier, out, context);
}

/// Reads the model's command file. A file without any instruction is not kept, and so read again next time.
void ProductData::ReadCommands() {
    ByteBuffer bytes;
    if (!LoadFile(InfoTypePdl, bytes)) return;
    auto commands = std::make_shared<const nvutil::PdlCommandFile>(productfiles::TextOf(bytes));
    if (!commands->GetInstructions().empty()) m_commands = std::move(commands);
}

bool ProductData::FindPDLInstruction(const CXString& feature, const CXString& option, PdlType type,
                                     const CXString& qualifier, ByteBuffer& out, void* context) {
    const OwnedCriticalResource lock(GetLock());
    if (m_commands == nullptr) return false;
    const PdlInstruction* const found =
        m_commands->Find(ViewOf(feature), ViewOf(option), type, ViewOf(qualifier));
    if (found == nullptr) return false;
    out.clear();
    return ConvertAmpCommands(found->instruction, out, context);
}

bool ProductData::GetPDLXMLFeature(CXString& text, CXString& feature) {
    TextView rest = ViewOf(text);
    TextView before;
    TextView content;
    if (!TakePdlElement(rest, NV_TEXT("FeatureSet"), before, content)) return false;
    const CXString following = StringOf(rest);
    feature =
        StringOf({before.data() + before.size(), static_cast<std::size_t>(content.data() + content.size() -
                                                                          (before.data() + before.size()))});
    text = following;
    return true;
}

bool ProductData::GetPDLLine(CXString& text, CXString& line) {
    if (text.IsEmpty()) return false;
    const TextView all = ViewOf(text);
    const std::size_t end = std::min(all.find(WChar{'\n'}), all.size());
    TextView first = all.substr(0, end);
    if (first.ends_with(WChar{'\r'})) first.remove_suffix(1);
    const CXString following = StringOf(all.substr(std::min(end + 1, all.size())));
    line = StringOf(first);
    text = following;
    return true;
}

ProductData::PdlType ProductData::GetPDLType(const CXString& text) {
    const auto found = std::find_if(std::begin(pdlTypes), std::end(pdlTypes), [&text](const auto& each) {
        return text.CompareNoCase(each.first) == 0;
    });
    return found != std::end(pdlTypes) ? found->second : PdlTypeOther;
}
