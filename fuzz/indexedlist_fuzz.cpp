// Any bytes as an indexed list's state: damage is refused, and what is accepted survives writing and reading.
#include <cstddef>
#include <cstdint>

#include "expect.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

/// Calls every typed read, of which at most one fits the attribute.
void ReadAsEveryKind(const AttributeBytesIndexedList& list, const AttributeBytesId& id) {
    bool flag = false;
    CXString text;
    ByteBuffer bytes;
    Dimension width;
    Dimension height;
    AttributeBytesIndexedList collection;
    const auto attempt = [](auto read) {
        try {
            read();
        } catch (const NorvaException&) {  // another kind, or a damaged collection
        }
    };
    attempt([&] { list.GetOptionValueOrNewId(id, text, &flag); });
    attempt([&] { list.GetStringValue(id, &flag); });
    attempt([&] { list.GetIntegerValue(id, &flag); });
    attempt([&] { list.GetDimensionValue(id, &flag); });
    attempt([&] { list.GetDataBlobValue(id, bytes, &flag); });
    attempt([&] { list.GetDateTimeValue(id, &flag); });
    attempt([&] { list.GetBooleanValue(id, &flag); });
    attempt([&] { list.GetPaperSizeValues(id, width, height, &flag); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AttributeBytesIndexedList list;
    try {
        list.ImportAttributeBytesIndexedListState(data, static_cast<unsigned>(size));
    } catch (const NorvaException&) {
        return 0;
    }
    std::size_t count = 0;
    auto iterator = list.GetIndexedListIterator();
    while (list.IsValidIndexedListIterator(iterator)) {
        const AttributeBytes& record = list.GetAttributeBytesRefFromIndexedListIterator(iterator);
        FUZZ_EXPECT(list.GetAttributeBytesPtr(record.GetAttributeBytesId()) == &record);
        FUZZ_EXPECT(AttributeBytes(record) == record);
        record.GetDumpDisplayString();
        ReadAsEveryKind(list, record.GetAttributeBytesId());
        list.IncrementIndexedListIterator(iterator);
        ++count;
    }
    FUZZ_EXPECT(count == list.GetCount());

    ByteBuffer state;
    list.GetAttributeBytesIndexedListState(state);
    ByteBuffer again;
    AttributeBytesIndexedList(state).GetAttributeBytesIndexedListState(again);
    // Sizes only: the rounding of dimensions alters lengths above 11 m each time they are written.
    FUZZ_EXPECT(again.size() == state.size());
    return 0;
}
