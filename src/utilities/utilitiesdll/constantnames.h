// The platform's published constants that have names here, each with its value.
//
// Each list calls a macro X(name, value) for its constants, in the order in which names are looked for. The
// build for the platform compares every name and value with the platform's own headers.
#pragma once

// clang-format off

/// What DeviceCapabilities is asked for.
#define NV_DEVICE_CAPABILITIES(X) \
    X(DC_FIELDS, 1)               \
    X(DC_PAPERS, 2)               \
    X(DC_PAPERSIZE, 3)            \
    X(DC_MINEXTENT, 4)            \
    X(DC_MAXEXTENT, 5)            \
    X(DC_BINS, 6)                 \
    X(DC_DUPLEX, 7)               \
    X(DC_SIZE, 8)                 \
    X(DC_EXTRA, 9)                \
    X(DC_VERSION, 10)             \
    X(DC_DRIVER, 11)              \
    X(DC_BINNAMES, 12)            \
    X(DC_ENUMRESOLUTIONS, 13)     \
    X(DC_FILEDEPENDENCIES, 14)    \
    X(DC_TRUETYPE, 15)            \
    X(DC_PAPERNAMES, 16)          \
    X(DC_ORIENTATION, 17)         \
    X(DC_COPIES, 18)              \
    X(DC_BINADJUST, 19)           \
    X(DC_EMF_COMPLIANT, 20)       \
    X(DC_DATATYPE_PRODUCED, 21)   \
    X(DC_COLLATE, 22)             \
    X(DC_MANUFACTURER, 23)        \
    X(DC_MODEL, 24)               \
    X(DC_PERSONALITY, 25)         \
    X(DC_PRINTRATE, 26)           \
    X(DC_PRINTRATEUNIT, 27)       \
    X(DC_PRINTERMEM, 28)          \
    X(DC_MEDIAREADY, 29)          \
    X(DC_STAPLE, 30)              \
    X(DC_PRINTRATEPPM, 31)        \
    X(DC_COLORDEVICE, 32)         \
    X(DC_NUP, 33)                 \
    X(DC_MEDIATYPENAMES, 34)      \
    X(DC_MEDIATYPES, 35)

/// Events of DrvDocumentEvent.
#define NV_DOCUMENT_EVENTS(X)         \
    X(DOCUMENTEVENT_CREATEDCPRE, 1)   \
    X(DOCUMENTEVENT_CREATEDCPOST, 2)  \
    X(DOCUMENTEVENT_RESETDCPRE, 3)    \
    X(DOCUMENTEVENT_RESETDCPOST, 4)   \
    X(DOCUMENTEVENT_STARTDOCPRE, 5)   \
    X(DOCUMENTEVENT_STARTPAGE, 6)     \
    X(DOCUMENTEVENT_ENDPAGE, 7)       \
    X(DOCUMENTEVENT_ENDDOCPRE, 8)     \
    X(DOCUMENTEVENT_ABORTDOC, 9)      \
    X(DOCUMENTEVENT_DELETEDC, 10)     \
    X(DOCUMENTEVENT_ESCAPE, 11)       \
    X(DOCUMENTEVENT_ENDDOCPOST, 12)   \
    X(DOCUMENTEVENT_STARTDOCPOST, 13) \
    X(DOCUMENTEVENT_QUERYFILTER, 14)

/// Events of XPS documents. The third name is published with two letters "E".
#define NV_XPS_DOCUMENT_EVENTS(X)                                    \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRE, 1)              \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRE, 2)                      \
    X(DOCUMENTEVENT_XPS_ADDFIXEDPAGEEPRE, 3)                         \
    X(DOCUMENTEVENT_XPS_ADDFIXEDPAGEPOST, 4)                         \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPOST, 5)                     \
    X(DOCUMENTEVENT_XPS_CANCELJOB, 6)                                \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRINTTICKETPRE, 7)   \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRINTTICKETPRE, 8)           \
    X(DOCUMENTEVENT_XPS_ADDFIXEDPAGEPRINTTICKETPRE, 9)               \
    X(DOCUMENTEVENT_XPS_ADDFIXEDPAGEPRINTTICKETPOST, 10)             \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTPRINTTICKETPOST, 11)         \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPRINTTICKETPOST, 12) \
    X(DOCUMENTEVENT_XPS_ADDFIXEDDOCUMENTSEQUENCEPOST, 13)            \
    X(DOCUMENTEVENT_QUERYFILTER, 14)

/// Bits of dmFields.
#define NV_DEVMODE_FIELDS(X)             \
    X(DM_ORIENTATION, 0x00000001)        \
    X(DM_PAPERSIZE, 0x00000002)          \
    X(DM_PAPERLENGTH, 0x00000004)        \
    X(DM_PAPERWIDTH, 0x00000008)         \
    X(DM_SCALE, 0x00000010)              \
    X(DM_POSITION, 0x00000020)           \
    X(DM_NUP, 0x00000040)                \
    X(DM_DISPLAYORIENTATION, 0x00000080) \
    X(DM_COPIES, 0x00000100)             \
    X(DM_DEFAULTSOURCE, 0x00000200)      \
    X(DM_PRINTQUALITY, 0x00000400)       \
    X(DM_COLOR, 0x00000800)              \
    X(DM_DUPLEX, 0x00001000)             \
    X(DM_YRESOLUTION, 0x00002000)        \
    X(DM_TTOPTION, 0x00004000)           \
    X(DM_COLLATE, 0x00008000)            \
    X(DM_FORMNAME, 0x00010000)           \
    X(DM_LOGPIXELS, 0x00020000)          \
    X(DM_BITSPERPEL, 0x00040000)         \
    X(DM_PELSWIDTH, 0x00080000)          \
    X(DM_PELSHEIGHT, 0x00100000)         \
    X(DM_DISPLAYFLAGS, 0x00200000)       \
    X(DM_DISPLAYFREQUENCY, 0x00400000)   \
    X(DM_ICMMETHOD, 0x00800000)          \
    X(DM_ICMINTENT, 0x01000000)          \
    X(DM_MEDIATYPE, 0x02000000)          \
    X(DM_DITHERTYPE, 0x04000000)         \
    X(DM_PANNINGWIDTH, 0x08000000)       \
    X(DM_PANNINGHEIGHT, 0x10000000)      \
    X(DM_DISPLAYFIXEDOUTPUT, 0x20000000)

/// Bits of the mode of DocumentProperties.
#define NV_DEVMODE_MODES(X) \
    X(DM_UPDATE, 1)         \
    X(DM_OUT_BUFFER, 2)     \
    X(DM_IN_PROMPT, 4)      \
    X(DM_IN_BUFFER, 8)

/// Predefined registry keys.
#define NV_REGISTRY_KEYS(X)                         \
    X(HKEY_CLASSES_ROOT, 0x80000000)                \
    X(HKEY_CURRENT_USER, 0x80000001)                \
    X(HKEY_LOCAL_MACHINE, 0x80000002)               \
    X(HKEY_USERS, 0x80000003)                       \
    X(HKEY_PERFORMANCE_DATA, 0x80000004)            \
    X(HKEY_CURRENT_CONFIG, 0x80000005)              \
    X(HKEY_DYN_DATA, 0x80000006)                    \
    X(HKEY_CURRENT_USER_LOCAL_SETTINGS, 0x80000007) \
    X(HKEY_PERFORMANCE_TEXT, 0x80000050)            \
    X(HKEY_PERFORMANCE_NLSTEXT, 0x80000060)

// clang-format on
