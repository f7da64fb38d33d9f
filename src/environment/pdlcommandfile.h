// PdlCommandFile: the instructions of a command file, in their order and by what they are asked for by.
#pragma once

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include "environment/productdata.h"
#include "environment/textview.h"
#include "platform/internalapi.h"
#include "utilities/utilitiesdll/cxstring.h"

/// One instruction of a command file. The views point into the file's text.
struct PdlInstruction {
    TextView feature;
    TextView option;  ///< Empty for a feature's own instructions.
    ProductData::PdlType type;
    TextView qualifier;    ///< Empty when it suits every one.
    CXString instruction;  ///< In AMP notation, without double quotes.
    TextView source;       ///< The instruction as the file has it.
};

/// Cuts the first element of a name out of a text: what lies between `<NAME>` and the next `</NAME>`.
/// @param before   receives what lies in front of it
/// @param content  receives what lies in it
/// @return false when there is none; nothing is changed then
NVUTIL_INTERNAL_API bool TakePdlElement(TextView& text, const WChar* name, TextView& before,
                                        TextView& content);

namespace nvutil {

/// The language of a name in any case; PdlTypeOther for any other text.
ProductData::PdlType PdlTypeOf(const CXString& name);

/// A command file that has been read; it does not change.
class NVUTIL_INTERNAL_API PdlCommandFile {
public:
    explicit PdlCommandFile(const CXString& text);
    PdlCommandFile(const PdlCommandFile&) = delete;
    PdlCommandFile& operator=(const PdlCommandFile&) = delete;
    ~PdlCommandFile() = default;

    TextView GetText() const { return ViewOf(m_text); }
    const std::vector<PdlInstruction>& GetInstructions() const { return m_instructions; }
    /// The first instruction in the order of the file with this feature, option and type, of which the
    /// qualifier is empty or, if one is asked for, that one. Null when there is none.
    const PdlInstruction* Find(TextView feature, TextView option, ProductData::PdlType type,
                               TextView qualifier) const;

private:
    using Position = std::size_t;
    using ByTypeAndQualifier = std::map<std::pair<ProductData::PdlType, TextView>, Position>;
    using ByOption = std::map<TextView, ByTypeAndQualifier>;

    void ReadFeature(TextView text);
    void ReadSets(TextView text, TextView feature, TextView option, ByTypeAndQualifier& index);

    CXString m_text;
    std::vector<PdlInstruction> m_instructions;
    std::map<TextView, ByOption> m_byFeature;  ///< To the first instruction of its kind.
};

}  // namespace nvutil
