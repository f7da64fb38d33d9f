// The calling interface of the platform's cabinet library: FCI (writing) and FDI (reading).
//
// The structures and function types have the platform's published layout, so that the functions found in the
// platform's own "cabinet.dll" and those of the built-in one are called through the same types.
#pragma once

#include <cstdint>

#include "platform/types.h"

#if defined(_WIN32)
#define NV_CABINET_CALL __cdecl
#else
#define NV_CABINET_CALL
#endif

namespace platform::cabinet {

/// A handle as the file callbacks return it; -1 is invalid.
using FileHandle = std::intptr_t;
inline constexpr FileHandle invalidFileHandle = -1;

/// How an operation failed.
struct ERF {
    int erfOper;  ///< FCIERR_ or FDIERROR_ code.
    int erfType;  ///< Error number of the failing callback, or 0.
    BOOL fError;  ///< Whether an error is recorded.
};

inline constexpr int maxCabinetName = 256;
inline constexpr int maxCabinetPath = 256;
inline constexpr int maxDiskName = 256;

/// Parameters of the cabinet to write.
struct CCAB {
    DWORD cb;              ///< Largest size of the cabinet in bytes.
    DWORD cbFolderThresh;  ///< Size at which a new folder is begun.
    unsigned cbReserveCFHeader;
    unsigned cbReserveCFFolder;
    unsigned cbReserveCFData;
    int iCab;  ///< Number of the cabinet in its set, from 1.
    int iDisk;
    int fFailOnIncompressible;
    WORD setID;
    char szDisk[maxDiskName];
    char szCab[maxCabinetName];      ///< File name of the cabinet.
    char szCabPath[maxCabinetPath];  ///< Folder of the cabinet, with its closing separator.
};

/// What FDIIsCabinet tells about a cabinet.
struct FDICABINETINFO {
    LONG cbCabinet;
    WORD cFolders;
    WORD cFiles;
    WORD setID;
    WORD iCabinet;
    BOOL fReserve;
    BOOL hasprev;
    BOOL hasnext;
};

/// What a notification of FDICopy is about.
struct FDINOTIFICATION {
    LONG cb;
    char* psz1;
    char* psz2;
    char* psz3;
    void* pv;
    FileHandle hf;
    WORD date;
    WORD time;
    WORD attribs;
    WORD setID;
    WORD iCabinet;
    WORD iFolder;
    int fdie;
};

/// Kinds of notification.
enum FDINOTIFICATIONTYPE : int {
    fdintCABINET_INFO = 0,
    fdintPARTIAL_FILE = 1,
    fdintCOPY_FILE = 2,
    fdintCLOSE_FILE_INFO = 3,
    fdintNEXT_CABINET = 4,
    fdintENUMERATE = 5,
};

/// Error codes of FCI in ERF::erfOper.
enum FCIERROR : int {
    FCIERR_NONE,
    FCIERR_OPEN_SRC,
    FCIERR_READ_SRC,
    FCIERR_ALLOC_FAIL,
    FCIERR_TEMP_FILE,
    FCIERR_BAD_COMPR_TYPE,
    FCIERR_CAB_FILE,
    FCIERR_USER_ABORT,
    FCIERR_MCI_FAIL,
};

/// Error codes of FDI in ERF::erfOper.
enum FDIERROR : int {
    FDIERROR_NONE,
    FDIERROR_CABINET_NOT_FOUND,
    FDIERROR_NOT_A_CABINET,
    FDIERROR_UNKNOWN_CABINET_VERSION,
    FDIERROR_CORRUPT_CABINET,
    FDIERROR_ALLOC_FAIL,
    FDIERROR_BAD_COMPR_TYPE,
    FDIERROR_MDI_FAIL,
    FDIERROR_TARGET_FILE,
    FDIERROR_RESERVE_MISMATCH,
    FDIERROR_WRONG_CABINET,
    FDIERROR_USER_ABORT,
};

/// Status types of the FCI status callback.
enum : unsigned { statusFile = 0, statusFolder = 1, statusCabinet = 2 };

/// Compression types (the low four bits of TCOMP).
enum : WORD { tcompTYPE_NONE = 0, tcompTYPE_MSZIP = 1, tcompTYPE_QUANTUM = 2, tcompTYPE_LZX = 3 };

using HFCI = void*;
using HFDI = void*;

using AllocFunction = void*(NV_CABINET_CALL*)(DWORD bytes);
using FreeFunction = void(NV_CABINET_CALL*)(void* memory);

// FCI's file callbacks deliver an error number and receive the user pointer.
using FciOpenFunction = FileHandle(NV_CABINET_CALL*)(char* name, int flags, int mode, int* error, void* user);
using FciReadFunction = unsigned(NV_CABINET_CALL*)(FileHandle, void* buffer, unsigned bytes, int* error,
                                                   void* user);
using FciWriteFunction = unsigned(NV_CABINET_CALL*)(FileHandle, void* buffer, unsigned bytes, int* error,
                                                    void* user);
using FciCloseFunction = int(NV_CABINET_CALL*)(FileHandle, int* error, void* user);
using FciSeekFunction = LONG(NV_CABINET_CALL*)(FileHandle, LONG distance, int origin, int* error, void* user);
using FciDeleteFunction = int(NV_CABINET_CALL*)(char* name, int* error, void* user);
using FciGetTempFileFunction = BOOL(NV_CABINET_CALL*)(char* name, int capacity, void* user);
using FciGetNextCabinetFunction = BOOL(NV_CABINET_CALL*)(CCAB*, DWORD previousSize, void* user);
using FciFilePlacedFunction = int(NV_CABINET_CALL*)(CCAB*, char* name, LONG size, BOOL continuation,
                                                    void* user);
using FciGetOpenInfoFunction = FileHandle(NV_CABINET_CALL*)(char* name, WORD* date, WORD* time,
                                                            WORD* attributes, int* error, void* user);
using FciStatusFunction = LONG(NV_CABINET_CALL*)(unsigned type, DWORD first, DWORD second, void* user);

// FDI's file callbacks receive neither.
using FdiOpenFunction = FileHandle(NV_CABINET_CALL*)(char* name, int flags, int mode);
using FdiReadFunction = unsigned(NV_CABINET_CALL*)(FileHandle, void* buffer, unsigned bytes);
using FdiWriteFunction = unsigned(NV_CABINET_CALL*)(FileHandle, void* buffer, unsigned bytes);
using FdiCloseFunction = int(NV_CABINET_CALL*)(FileHandle);
using FdiSeekFunction = LONG(NV_CABINET_CALL*)(FileHandle, LONG distance, int origin);
using FdiNotifyFunction = FileHandle(NV_CABINET_CALL*)(FDINOTIFICATIONTYPE, FDINOTIFICATION*);
using FdiDecryptFunction = int(NV_CABINET_CALL*)(void*);

// The nine functions of the library.
using FciCreateFunction = HFCI(NV_CABINET_CALL*)(ERF*, FciFilePlacedFunction, AllocFunction, FreeFunction,
                                                 FciOpenFunction, FciReadFunction, FciWriteFunction,
                                                 FciCloseFunction, FciSeekFunction, FciDeleteFunction,
                                                 FciGetTempFileFunction, CCAB*, void* user);
using FciAddFileFunction = BOOL(NV_CABINET_CALL*)(HFCI, char* sourceFile, char* nameInCabinet, BOOL execute,
                                                  FciGetNextCabinetFunction, FciStatusFunction,
                                                  FciGetOpenInfoFunction, WORD compressionType);
using FciFlushCabinetFunction = BOOL(NV_CABINET_CALL*)(HFCI, BOOL getNextCabinet, FciGetNextCabinetFunction,
                                                       FciStatusFunction);
using FciFlushFolderFunction = BOOL(NV_CABINET_CALL*)(HFCI, FciGetNextCabinetFunction, FciStatusFunction);
using FciDestroyFunction = BOOL(NV_CABINET_CALL*)(HFCI);
using FdiCreateFunction = HFDI(NV_CABINET_CALL*)(AllocFunction, FreeFunction, FdiOpenFunction,
                                                 FdiReadFunction, FdiWriteFunction, FdiCloseFunction,
                                                 FdiSeekFunction, int cpuType, ERF*);
using FdiIsCabinetFunction = BOOL(NV_CABINET_CALL*)(HFDI, FileHandle, FDICABINETINFO*);
using FdiCopyFunction = BOOL(NV_CABINET_CALL*)(HFDI, char* cabinetName, char* cabinetPath, int flags,
                                               FdiNotifyFunction, FdiDecryptFunction, void* user);
using FdiDestroyFunction = BOOL(NV_CABINET_CALL*)(HFDI);

}  // namespace platform::cabinet
