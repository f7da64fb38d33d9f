// The concrete exception classes, their type codes and their factories, generated from one table.
#pragma once

#include <span>

#include "utilities/debuggingandexceptions/norvaexception.h"

/// Every concrete class: its name, its base and its type code. A base stands before the classes below it.
// clang-format off
#define NV_EXCEPTION_TABLE(EXCEPTION) \
    EXCEPTION(ExceptionRegistryRequest, NorvaException, "001:000") \
    EXCEPTION(ExceptionIndexOutOfBounds, NorvaException, "002:000") \
    EXCEPTION(ExceptionNotEnoughBytesForDesiredDataType, NorvaException, "003:000") \
    EXCEPTION(ExceptionNodeAccessOutOfBounds, NorvaException, "004:000") \
    EXCEPTION(ExceptionTabCreationFailure, NorvaException, "005:000") \
    EXCEPTION(ExceptionOperatingSystemFailure, NorvaException, "006:000") \
    EXCEPTION(ExceptionSpoolerFailure, NorvaException, "007:000") \
    EXCEPTION(ExceptionPrintJobFailure, NorvaException, "008:000") \
    EXCEPTION(ExceptionProcessSpawnFailure, NorvaException, "009:000") \
    EXCEPTION(ExceptionProcessWaitFailure, NorvaException, "010:000") \
    EXCEPTION(ExceptionProcessFailure, NorvaException, "011:000") \
    EXCEPTION(ExceptionPrintDriverFailure, NorvaException, "012:000") \
    EXCEPTION(ExceptionPrinterFailure, NorvaException, "013:000") \
    EXCEPTION(ExceptionUserFailure, NorvaException, "014:000") \
    EXCEPTION(ExceptionApplicationFailure, NorvaException, "015:000") \
    EXCEPTION(ExceptionUnknownKeyRequest, NorvaException, "016:000") \
    EXCEPTION(ExceptionDuplicateDictionaryIndexEntry, NorvaException, "017:000") \
    EXCEPTION(ExceptionDelayLoadDllLoadFailure, NorvaException, "018:000") \
    EXCEPTION(ExceptionFeatureNotFound, NorvaException, "019:000") \
    EXCEPTION(ExceptionFeatureIsOfADifferentType, NorvaException, "020:000") \
    EXCEPTION(ExceptionWatermarkFailure, NorvaException, "021:000") \
    EXCEPTION(ExceptionIteratorOutOfBounds, NorvaException, "022:000") \
    EXCEPTION(ExceptionInvalidHandle, NorvaException, "023:000") \
    EXCEPTION(ExceptionCommunicationsFailure, NorvaException, "024:000") \
    EXCEPTION(ExceptionAutoDiscovery, ExceptionCommunicationsFailure, "024:001") \
    EXCEPTION(ExceptionBEACON, ExceptionCommunicationsFailure, "024:002") \
    EXCEPTION(ExceptionDLP, ExceptionCommunicationsFailure, "024:003") \
    EXCEPTION(ExceptionHTTP, ExceptionCommunicationsFailure, "024:004") \
    EXCEPTION(ExceptionIPP, ExceptionCommunicationsFailure, "024:005") \
    EXCEPTION(ExceptionNETBIOS, ExceptionCommunicationsFailure, "024:006") \
    EXCEPTION(ExceptionSNMP, ExceptionCommunicationsFailure, "024:007") \
    EXCEPTION(ExceptionSOCKET, ExceptionCommunicationsFailure, "024:008") \
    EXCEPTION(ExceptionUSB, ExceptionCommunicationsFailure, "024:009") \
    EXCEPTION(ExceptionWSD, ExceptionCommunicationsFailure, "024:010") \
    EXCEPTION(ExceptionAttributeValueTypeMismatch, NorvaException, "025:000") \
    EXCEPTION(ExceptionUnhandledSyntax, NorvaException, "026:000") \
    EXCEPTION(ExceptionInappropriateAttributeId, NorvaException, "027:000") \
    EXCEPTION(ExceptionDuplicateAttributeId, NorvaException, "028:000") \
    EXCEPTION(ExceptionInvalidAttributeOperationParamter, NorvaException, "029:000") \
    EXCEPTION(ExceptionInvalidArgumentNullPointer, NorvaException, "030:000") \
    EXCEPTION(ExceptionMissingOrBadPersistentAttributesFormat, NorvaException, "031:000") \
    EXCEPTION(ExceptionIncompatibleCompressionFormat, NorvaException, "032:000") \
    EXCEPTION(ExceptionMissingOrBadCompressedBufferFooter, NorvaException, "033:000") \
    EXCEPTION(ExceptionCompression, NorvaException, "034:000") \
    EXCEPTION(ExceptionFileOperationCompression, NorvaException, "035:000") \
    EXCEPTION(ExceptionCabinetLibraryConstructionFailure, NorvaException, "036:000") \
    EXCEPTION(ExceptionMissingOrBadAttributeBytesFormat, NorvaException, "037:000") \
    EXCEPTION(ExceptionCpsuiOptitemNotFound, NorvaException, "038:000") \
    EXCEPTION(ExceptionCpsuiDrvUpdateUISettingFailed, NorvaException, "039:000") \
    EXCEPTION(ExceptionMicrosoftFeatureNotFound, NorvaException, "040:000") \
    EXCEPTION(ExceptionMicrosoftDevmodeValueMappingFailed, NorvaException, "041:000") \
    EXCEPTION(ExceptionMicrosoftPrivateDevmodeNotSafeForReverseEngineering, NorvaException, "042:000") \
    EXCEPTION(ExceptionMicrosoftPrivateDevmodeOffsetOutOfBounds, NorvaException, "043:000") \
    EXCEPTION(ExceptionIPrintCoreHelperReadFailure, NorvaException, "044:000") \
    EXCEPTION(ExceptionIPrintCoreHelperWriteFailure, NorvaException, "045:000") \
    EXCEPTION(ExceptionIPrintCoreHelperEnumerationFailure, NorvaException, "046:000") \
    EXCEPTION(ExceptionInvalidPaperSizeData, NorvaException, "047:000") \
    EXCEPTION(ExceptionAccessPriorToInitialization, NorvaException, "048:000") \
    EXCEPTION(ExceptionMicrosoftBugInVistaPreRelease, NorvaException, "049:000") \
    EXCEPTION(ExceptionFailedLockResource, NorvaException, "050:000") \
    EXCEPTION(ExceptionUnsupportedFeatureRequest, NorvaException, "051:000") \
    EXCEPTION(ExceptionDataCacheFailure, NorvaException, "052:000") \
    EXCEPTION(ExceptionOemDataNotFoundInDevmode, NorvaException, "053:000") \
    EXCEPTION(ExceptionDataEncrypterFailure, NorvaException, "054:000") \
    EXCEPTION(ExceptionAutoPtrNull, NorvaException, "055:000") \
    EXCEPTION(ExceptionClientJobDataFailure, NorvaException, "056:000") \
    EXCEPTION(ExceptionInvalidFormName, NorvaException, "057:000") \
    EXCEPTION(ExceptionNotANrvCustomSize, NorvaException, "058:000") \
    EXCEPTION(ExceptionCustomSizeByTheSameNameExists, NorvaException, "059:000") \
    EXCEPTION(ExceptionFromGreaterThanToRange, NorvaException, "060:000") \
    EXCEPTION(ExceptionInvalidPrinterHandle, NorvaException, "061:000") \
    EXCEPTION(ExceptionPagesFormat, NorvaException, "062:000") \
    EXCEPTION(ExceptionPageNumberTooLarge, NorvaException, "063:000") \
    EXCEPTION(ExceptionPageNumberTooSmall, NorvaException, "064:000") \
    EXCEPTION(ExceptionCreateFileForReading, ExceptionFile, "065:001") \
    EXCEPTION(ExceptionCreateFileForWriting, ExceptionFile, "065:002") \
    EXCEPTION(ExceptionReadFile, ExceptionFile, "065:003") \
    EXCEPTION(ExceptionWriteFile, ExceptionFile, "065:004") \
    EXCEPTION(ExceptionGroupMembershipFailure, NorvaException, "066:000") \
    EXCEPTION(ExceptionMapInfModelNameToIniModelIdStringFailure, NorvaException, "067:000") \
    EXCEPTION(ExceptionPrinterModelIdQueriedBeforeInitialized, NorvaException, "068:000") \
    EXCEPTION(ExceptionRecursionDetectedInDevmodeHandler, NorvaException, "069:000") \
    EXCEPTION(ExceptionMaximumSpecialPageItemsExceeded, NorvaException, "070:000") \
    EXCEPTION(ExceptionOutOfMemory, NorvaException, "072:000") \
    EXCEPTION(ExceptionInvalidArgument, NorvaException, "073:000") \
    EXCEPTION(ExceptionWorkflowObjectNotInitialized, NorvaException, "074:000")
// clang-format on

/// What the four file failures have in common. It has no type code and is never thrown itself.
class NVUTIL_API ExceptionFile : public NorvaException {
public:
    using NorvaException::NorvaException;
    ExceptionFile(const ExceptionFile& other);
    ~ExceptionFile() override;
};

/// A failed call of a COM interface, with its status code.
class NVUTIL_API NorvaComException : public NorvaException {
public:
    NorvaComException(const CXString& message, const CXString& sourceFile, int line,
                      const CXString& functionName, const ExecutionContextStack& stack, HRESULT hresult);
    NorvaComException(const NorvaComException& other);
    ~NorvaComException() override;

    CXString GetExceptionTypeByNumericCode() const override;
    HRESULT GetHresult() const { return m_hresult; }

    /// "COM Error HRESULT = 0x80004003 (Invalid pointer)."
    static CXString GetAdditionalExceptionDescription(const NorvaComException* exception);

private:
    HRESULT m_hresult;
};

// One class and one factory for each row of the table.
#define NV_DECLARE_EXCEPTION(Class, Base, code)                                                            \
    class NVUTIL_API Class : public Base {                                                                 \
    public:                                                                                                \
        Class(const CXString& message, const CXString& sourceFile, int line, const CXString& functionName, \
              const ExecutionContextStack& stack);                                                         \
        Class(const Class& other);                                                                         \
        ~Class() override;                                                                                 \
        CXString GetExceptionTypeByNumericCode() const override;                                           \
    };                                                                                                     \
    NVUTIL_API Class Get##Class(const CXString& message, const CXString& sourceFile, int line,             \
                                const CXString& functionName, const ExecutionContextStack& stack);
NV_EXCEPTION_TABLE(NV_DECLARE_EXCEPTION)
#undef NV_DECLARE_EXCEPTION

/// A row of the table of type codes.
struct ExceptionTypeCode {
    const char* code;       ///< "003:000"
    const char* className;  ///< "ExceptionNotEnoughBytesForDesiredDataType"
};

/// The type codes of all concrete classes, NorvaComException included, in the order of their codes.
NVUTIL_API std::span<const ExceptionTypeCode> GetExceptionTypeCodes();
