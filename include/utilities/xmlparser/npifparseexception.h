// NpifParseException: a failure of the XML layer, with its own code.
#pragma once

#include "platform/types.h"
#include "utilities/debuggingandexceptions/norvaexception.h"

/// Reading or writing an XML document failed.
class NVUTIL_API NpifParseException : public NorvaException {
public:
    /// The codes that the library and its tool raise themselves. GetCodeString names all of them.
    enum Code : short {
        ErrorReportedDuringParse = 2,
        XmlExceptionRaisedDuringXmlGeneration = 3,
        ComInitializationFailure = 24,
        ParseResultedInEmptyDomDocument = 25,
    };

    /// @param code  one of the codes that GetCodeString names; the others as in NorvaException
    NpifParseException(const CXString& message, const CXString& sourceFile, int line,
                       const CXString& functionName, const ExecutionContextStack& stack, short code);
    NpifParseException(const NpifParseException& other);
    ~NpifParseException() override;

    /// The family and the code: "001:002".
    CXString GetExceptionTypeByNumericCode() const override;
    short GetCode() const { return m_code; }
    /// The name of the code: "ERROR_REPORTED_DURING_PARSE".
    CXString GetCodeString() const;

private:
    short m_code;
};

NVUTIL_API NpifParseException GetNpifParseException(const CXString& message, const CXString& sourceFile,
                                                    int line, const CXString& functionName,
                                                    const ExecutionContextStack& stack, short code);

/// Throws by the protocol of throwprotocol.h, without a message.
/// @param code      an NpifParseException::Code
/// @param function  8-bit text that names the throwing function
/// @param file      its source file, of which the path from "src" on is reported without the extension
[[noreturn]] NVUTIL_API void ThrowNpifParseException(NpifParseException::Code code, const char* function,
                                                     const char* file, int line);
