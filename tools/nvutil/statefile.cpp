// A persisted attribute state, taken apart for showing and comparing.
#include "nvutil/statefile.h"

#include <utility>

#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr unsigned indexedListBegin = 12;  // behind the mark and the driver version

/// The namespaces of an uncompressed state that is known to be sound.
std::vector<NameSpace> ReadNameSpaces(const ByteBuffer& uncompressed) {
    AttributeBytesIndexedList entries;
    entries.ImportAttributeBytesIndexedListState(uncompressed.data() + indexedListBegin,
                                                 uncompressed.getDword() - indexedListBegin);
    std::vector<NameSpace> nameSpaces;
    for (auto it = entries.GetIndexedListIterator(); entries.IsValidIndexedListIterator(it);
         entries.IncrementIndexedListIterator(it)) {
        const AttributeBytes& entry = entries.GetAttributeBytesRefFromIndexedListIterator(it);
        const AttributeBytesId& id = entry.GetAttributeBytesId();
        if (id.GetAttributeBytesIdType() != AttributeBytesId::ABIDE_NAMESPACE) {
            NV_THROW(ExceptionInappropriateAttributeId, "ReadState", __LINE__,
                     NV_TEXT("a namespace has an identifier of another kind: %s"), id.GetDumpDisplayString());
        }
        nameSpaces.push_back({static_cast<const AttributeBytesNameSpacesId&>(id).GetNameSpaceId(),
                              entry.GetAttributeBytesValue().GetListValue().GetValue()});
    }
    return nameSpaces;
}

}  // namespace

StateContents ReadState(const ByteBuffer& state) {
    StateContents contents{};
    const PersistentAttributes checked(state, true, &contents.version);
    PersistentAttributes::GetComponentsFromStateDataBuffer(state, contents.header, contents.uncompressed);
    contents.size = state.size();
    contents.nameSpaces = ReadNameSpaces(contents.uncompressed);
    return contents;
}

std::size_t CountAttributes(const AttributeBytesRawList& list) {
    std::size_t count = 0;
    for (auto it = list.GetRawListIterator(); list.IsValidRawListIterator(it); ++count)
        list.GetNextAttributeBytesFromRawListIterator(it);
    return count;
}

std::size_t CountAllAttributes(const StateContents& contents) {
    std::vector<AttributeBytesRawList> uncounted;  // not recursive: nesting may be deep
    for (const NameSpace& nameSpace : contents.nameSpaces)
        uncounted.push_back(nameSpace.attributes);
    std::size_t count = 0;
    while (!uncounted.empty()) {
        const AttributeBytesRawList list = std::move(uncounted.back());
        uncounted.pop_back();
        for (auto it = list.GetRawListIterator(); list.IsValidRawListIterator(it); ++count) {
            const auto record = list.GetNextAttributeBytesFromRawListIterator(it);
            const AttributeBytesValue& value = record->GetAttributeBytesValue();
            if (value.IsList()) uncounted.push_back(value.GetListValue().GetValue());
        }
    }
    return count;
}
