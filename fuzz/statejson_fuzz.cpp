// Any bytes as a state's JSON form: a wrong shape is refused, and what is accepted survives writing and
// reading.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "expect.h"
#include "nvutil/statebytes.h"
#include "nvutil/statefile.h"
#include "nvutil/statejson.h"
#include "nvutil/statetree.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/debuggingandexceptions/exceptions.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteBuffer state;
    try {
        const std::string_view json(reinterpret_cast<const char*>(data), size);
        state = PersistentAttributes(ReadStateJson(json).nameSpaces).GetPersistentAttributesState();
    } catch (const NorvaException&) {
        return 0;
    }
    const StateContents contents = ReadState(state);
    const std::string json = WriteStateJson(contents);
    const auto again = PersistentAttributes(ReadStateJson(json).nameSpaces).GetPersistentAttributesState();
    FUZZ_EXPECT(again == state);

    WriteStateTree(contents);
    std::size_t covered = 0;
    ReportNameSpacesFields(contents.uncompressed, [&covered](const StateField& field) {
        FUZZ_EXPECT(field.offset == covered);
        covered += field.size;
    });
    FUZZ_EXPECT(covered == contents.uncompressed.size());
    return 0;
}
