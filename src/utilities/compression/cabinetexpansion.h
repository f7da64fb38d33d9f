// ExpandCabinet: the files of a cabinet, written into a staging folder.
#pragma once

#include <vector>

#include "utilities/compression/cabinetlayout.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/compression/unpackingfolders.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace nvutil {

/// Expands a cabinet that has been checked. Who calls holds the operation lock.
/// @param name     of the cabinet, for messages
/// @param entries  of all its files in their order
/// @param files    the same ones
/// @throws what CabinetUnpacker::UnpackTo throws
void ExpandCabinet(const CXString& name, const ByteBuffer& cabinet, const std::vector<CabinetEntry>& entries,
                   const std::vector<CabinetFile>& files, StagingFolder& staging);

}  // namespace nvutil
