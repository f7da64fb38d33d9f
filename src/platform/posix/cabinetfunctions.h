// The nine functions of the built-in cabinet library, an implementation of FCI and FDI for single cabinets.
//
// They do what the platform's documentation says of the functions of the same names, within these bounds:
// - A cabinet of a set is never begun. Writing one that would exceed CCAB::cb, or asking for the next one,
// fails
//   with FCIERR_CAB_FILE; reading a file that goes on in another one ends with fdintNEXT_CABINET and then
//   FDIERROR_WRONG_CABINET.
// - FCI writes no compression or MSZIP; others give FCIERR_BAD_COMPR_TYPE. FDI also reads LZX and Quantum;
// others
//   give FDIERROR_BAD_COMPR_TYPE.
// - FCI keeps the cabinet in memory until it is flushed; it makes no temporary files. After a failure a
// context
//   only waits to be destroyed: every further call fails.
// - FDI sends no fdintENUMERATE and calls no decryption.
// - Bytes from a cabinet are not trusted: a cabinet whose tables would make the reader decode the same blocks
//   over and over is refused as corrupt.
// No C++ exception leaves these functions.
#pragma once

#include "platform/cabinet.h"

namespace platform::cabinet {

HFCI FCICreate(ERF* errors, FciFilePlacedFunction filePlaced, AllocFunction allocate, FreeFunction release,
               FciOpenFunction open, FciReadFunction read, FciWriteFunction write, FciCloseFunction close,
               FciSeekFunction seek, FciDeleteFunction remove, FciGetTempFileFunction getTempFile,
               CCAB* parameters, void* user);
BOOL FCIAddFile(HFCI context, char* sourceFile, char* nameInCabinet, BOOL execute,
                FciGetNextCabinetFunction getNextCabinet, FciStatusFunction status,
                FciGetOpenInfoFunction getOpenInfo, WORD compressionType);
BOOL FCIFlushCabinet(HFCI context, BOOL wantsNextCabinet, FciGetNextCabinetFunction getNextCabinet,
                     FciStatusFunction status);
BOOL FCIFlushFolder(HFCI context, FciGetNextCabinetFunction getNextCabinet, FciStatusFunction status);
BOOL FCIDestroy(HFCI context);

HFDI FDICreate(AllocFunction allocate, FreeFunction release, FdiOpenFunction open, FdiReadFunction read,
               FdiWriteFunction write, FdiCloseFunction close, FdiSeekFunction seek, int cpuType,
               ERF* errors);
BOOL FDIIsCabinet(HFDI context, FileHandle file, FDICABINETINFO* info);
BOOL FDICopy(HFDI context, char* cabinetName, char* cabinetPath, int flags, FdiNotifyFunction notify,
             FdiDecryptFunction decrypt, void* user);
BOOL FDIDestroy(HFDI context);

}  // namespace platform::cabinet
