// PersistedState: a persisted state of attributes, taken apart.
#pragma once

#include "platform/internalapi.h"
#include "utilities/attributebytes/attributebytesnamespaces.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/driverversion.h"

namespace nvutil {

/// Everything that a state holds.
struct PersistedState {
    PersistentAttributes::PersistentAttributesHeaderType header{};
    ByteBuffer uncompressed;  ///< The namespaces' state.
    DriverVersion version;    ///< The version that the namespaces' state was written by.
    AttributeBytesNameSpaces nameSpaces;
};

/// Takes a state apart in one pass: it is expanded once and its namespaces are parsed once. Whoever reads
/// states uses this, PersistentAttributes too, which says what is checked and thrown
/// (ImportPersistentAttributesState).
NVUTIL_INTERNAL_API PersistedState ReadPersistedState(const ByteBuffer& state, bool checkRecords);

}  // namespace nvutil
