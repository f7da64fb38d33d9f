// A persisted attribute state, taken apart for showing and comparing.
#include "nvutil/statefile.h"

#include <utility>

#include "nvutil/text.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/attributebytes/persistedstate.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr unsigned markSize = 4;
constexpr unsigned indexedListBegin = 12;  // behind the mark and the driver version

std::vector<NameSpace> ListNameSpaces(const AttributeBytesNameSpaces& all) {
    const AttributeBytesIndexedList& entries = all.GetNameSpaces();
    std::vector<NameSpace> nameSpaces;
    for (auto it = entries.GetIndexedListIterator(); entries.IsValidIndexedListIterator(it);
         entries.IncrementIndexedListIterator(it)) {
        const AttributeBytes& entry = entries.GetAttributeBytesRefFromIndexedListIterator(it);
        const AttributeBytesId& id = entry.GetAttributeBytesId();
        if (id.GetAttributeBytesIdType() != AttributeBytesId::ABIDE_NAMESPACE) {
            NV_THROW(ExceptionInappropriateAttributeId, "ReadState", __LINE__,
                     NV_TEXT("a namespace has an identifier of another kind: %s"), id.GetDumpDisplayString());
        }
        const AttributeBytesListValue& list = entry.GetAttributeBytesValue().GetListValue();
        nameSpaces.push_back({static_cast<const AttributeBytesNameSpacesId&>(id).GetNameSpaceId(),
                              list.GetListType(), list.IsSpecified(), list.GetValue()});
    }
    return nameSpaces;
}

}  // namespace

StateContents ReadState(const ByteBuffer& state) {
    nvutil::PersistedState read = nvutil::ReadPersistedState(state, true);
    std::vector<NameSpace> nameSpaces = ListNameSpaces(read.nameSpaces);
    return {read.header,  state.size(),          std::move(read.uncompressed),
            read.version, std::move(nameSpaces), std::move(read.nameSpaces)};
}

std::size_t CountAttributes(const AttributeBytesRawList& list) {
    std::size_t count = 0;
    for (auto it = list.GetRawListIterator(); list.IsValidRawListIterator(it); ++count)
        list.GetNextAttributeBytesFromRawListIterator(it);
    return count;
}

std::string DisplayOfNameSpace(const NameSpace& nameSpace) {
    std::string text = CountText(CountAttributes(nameSpace.attributes), "attribute");
    if (nameSpace.listType != 0) text += ", list type " + std::to_string(nameSpace.listType);
    if (!nameSpace.isSpecified) text += "  (unspecified)";
    return text;
}

std::size_t CountAllAttributes(const StateContents& contents) {
    // A nested list's records stand directly behind the head of the list. So one walk over the bytes, which
    // skips only the heads, meets the records of all lists.
    constexpr unsigned recordsBegin = indexedListBegin + 2 * markSize;
    constexpr unsigned listHeadSize = 7 + markSize;  // kind, unspecified flag, type, size
    const ByteBuffer& state = contents.uncompressed;
    nvutil::ByteWalk walk(state.data() + recordsBegin, state.size() - recordsBegin);
    std::size_t count = 0;
    for (; walk.remaining != 0; ++count) {
        AttributeBytesId::WalkBufferToGetTypeAndCreateIdentifier(walk.cursor, walk.remaining);
        if (*walk.cursor == AttributeBytesValue::ABVTE_LIST) {
            walk.cursor += listHeadSize;
            walk.remaining -= listHeadSize;
        } else {
            AttributeBytesValue::WalkBufferToGetTypeAndCreateValue(walk.cursor, walk.remaining);
        }
    }
    return count - contents.nameSpaces.size();
}
