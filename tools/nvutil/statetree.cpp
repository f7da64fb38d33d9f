// The tree that `state show` prints.
#include "nvutil/statetree.h"

#include "nvutil/attributenames.h"
#include "nvutil/text.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr std::size_t idWidth = 40;    // characters, indentation included
constexpr std::size_t kindWidth = 17;  // the longest name and two blanks

void AppendHeader(std::string& out, const StateContents& contents) {
    const WORD* const parts = contents.header.driverVersion;
    const DriverVersion headerVersion(parts[0], parts[1], parts[2], parts[3]);
    const auto line = [&out](std::string_view name, const std::string& value) {
        out += Padded(name, 18) + value + '\n';
    };
    line("State", CountText(contents.size, "byte") + ", " + CountText(contents.uncompressed.size(), "byte") +
                      " uncompressed");
    line("Format version", "0x" + HexNumber(contents.header.formatVersion, 8));
    line("Driver version", VersionText(contents.version));
    if (!(headerVersion == contents.version)) line("", VersionText(headerVersion) + " in the header");
    line("Namespaces", Grouped(contents.nameSpaces.size()));
}

void AppendList(std::string& out, const AttributeBytesRawList& list, int depth) {
    if (depth > deepestNesting) {
        NV_THROW(ExceptionInvalidArgument, "WriteStateTree", __LINE__,
                 NV_TEXT("lists are nested more than %d levels deep"), deepestNesting);
    }
    const std::string indent(2 * static_cast<std::size_t>(depth + 1), ' ');
    for (auto it = list.GetRawListIterator(); list.IsValidRawListIterator(it);) {
        const auto record = list.GetNextAttributeBytesFromRawListIterator(it);
        const AttributeBytesValue& value = record->GetAttributeBytesValue();
        out += Padded(indent + DisplayOfId(record->GetAttributeBytesId()), idWidth) + ' ';
        out += Padded(NameOfValueKind(value.GetAttributeBytesValueType()), kindWidth);
        out += DisplayOfValue(value);
        if (!value.IsSpecified()) out += "  (unspecified)";
        out += '\n';
        if (value.IsList()) AppendList(out, value.GetListValue().GetValue(), depth + 1);
    }
}

}  // namespace

std::string WriteStateTree(const StateContents& contents) {
    std::string out;
    AppendHeader(out, contents);
    for (const NameSpace& nameSpace : contents.nameSpaces) {
        out += "\nNamespace " + std::to_string(nameSpace.number) + " (" +
               std::string(NameOfNameSpace(nameSpace.number)) + "): " + DisplayOfNameSpace(nameSpace) + '\n';
        AppendList(out, nameSpace.attributes, 0);
    }
    return out;
}
