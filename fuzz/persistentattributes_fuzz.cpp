// Any bytes as a persisted state, and any bytes compressed into one.
#include <cstddef>
#include <cstdint>

#include "expect.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

/// Imports a state; one that is accepted must hold namespaces that can be saved and loaded again.
void Import(const ByteBuffer& state) {
    PersistentAttributes attributes;
    DriverVersion version;
    try {
        attributes.ImportPersistentAttributesState(state, version, true);
    } catch (const ExceptionMissingOrBadPersistentAttributesFormat&) {
        PersistentAttributes::DumpStateData(state, true);
        return;
    }
    FUZZ_EXPECT(attributes.GetPersistentAttributesState() == state);
    PersistentAttributes::DumpStateData(state, true);
    ByteBuffer before;
    attributes.GetAttributeBytesNameSpaces().GetAttributeBytesNameSpacesState(before);
    ByteBuffer after;
    const PersistentAttributes saved(attributes.GetAttributeBytesNameSpaces());
    saved.GetAttributeBytesNameSpaces().GetAttributeBytesNameSpacesState(after);
    // Sizes only: the rounding of dimensions alters lengths above 11 m each time they are written.
    FUZZ_EXPECT(after.size() == before.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ByteBuffer bytes(data, static_cast<DWORD>(size));
    Import(bytes);
    PersistentAttributes::PersistentAttributesHeaderType header;
    PersistentAttributes::InitializeHeaderStructure(header);
    ByteBuffer state;
    PersistentAttributes::CreateStateDataFromComponents(header, bytes, state);
    Import(state);
    return 0;
}
