// ProductData: cutting up the text of command files.
#include <algorithm>

#include "environment/pdlcommandfile.h"
#include "environment/productdata.h"
#include "environment/textview.h"

bool ProductData::GetPDLXMLFeature(CXString& text, CXString& feature) {
    TextView rest = ViewOf(text);
    TextView before;
    TextView content;
    if (!TakePdlElement(rest, NV_TEXT("FeatureSet"), before, content)) return false;
    const CXString following = StringOf(rest);
    const WChar* const begin = before.data() + before.size();
    feature = StringOf({begin, static_cast<std::size_t>(content.data() + content.size() - begin)});
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
    return nvutil::PdlTypeOf(text);
}
