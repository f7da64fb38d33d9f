// Any bytes as a namespaces' state: damage is refused, and what is accepted survives writing and reading.
#include <cstddef>
#include <cstdint>

#include "expect.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/attributebytes/attributebytesnamespaces.h"
#include "utilities/debuggingandexceptions/exceptions.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AttributeBytesNameSpaces nameSpaces;
    try {
        nameSpaces.ImportAttributeBytesNameSpacesState(ByteBuffer(data, static_cast<DWORD>(size)));
    } catch (const NorvaException&) {
        return 0;
    }
    for (unsigned index = 0; index < nameSpaces.GetCount(); ++index) {
        try {
            AttributeBytesRawList list;
            nameSpaces.GetNameSpaceByIndex(index, list);
            auto iterator = list.GetRawListIterator();
            while (list.IsValidRawListIterator(iterator))
                list.GetNextAttributeBytesFromRawListIterator(iterator)->GetDumpDisplayString();
        } catch (const NorvaException&) {  // no list, or damaged records
        }
    }
    ByteBuffer state;
    nameSpaces.GetAttributeBytesNameSpacesState(state);
    ByteBuffer again;
    AttributeBytesNameSpaces(state).GetAttributeBytesNameSpacesState(again);
    // Sizes only: the rounding of dimensions alters lengths above 11 m each time they are written.
    FUZZ_EXPECT(again.size() == state.size());
    return 0;
}
