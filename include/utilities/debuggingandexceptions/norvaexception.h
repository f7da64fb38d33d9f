// NorvaException: the base of every exception that the library throws.
#pragma once

#include <exception>

#include "platform/types.h"
#include "utilities/debuggingandexceptions/executioncontext.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A failure with the place that threw it and what the thread was doing.
///
/// Every concrete class has a fixed type code, "003:000"; see exceptions.h for the table.
class NVUTIL_API NorvaException : public std::exception {
public:
    /// @param message       what went wrong; may be empty
    /// @param sourceFile    source file of the throw site, without its extension
    /// @param line          line of the throw site
    /// @param functionName  function of the throw site, such as "ByteBuffer::WalkBufferToGetLong"
    /// @param stack         the thread's execution contexts, copied
    NorvaException(const CXString& message, const CXString& sourceFile, int line,
                   const CXString& functionName, const ExecutionContextStack& stack);
    NorvaException(const NorvaException& other);
    NorvaException& operator=(const NorvaException& other);
    ~NorvaException() override;

    /// GetExceptionDescription of this exception as 8-bit text of at most 2,047 bytes.
    ///
    /// The text stays valid as long as the exception, and so do those of earlier calls: every call makes a
    /// buffer of its own, of which only the last is released with the exception.
    const char* what() const noexcept override;
    /// Does nothing.
    virtual void Dump() const;
    /// The type code of the class, such as "003:000".
    virtual CXString GetExceptionTypeByNumericCode() const = 0;

    const CXString& GetExceptionMesage() const { return m_message; }  // spelled so deliberately
    const CXString& GetExceptionLocationFileName() const { return m_sourceFile; }
    const CXString& GetExceptionLocationFunctionName() const { return m_functionName; }
    int GetExceptionLocationLineNumber() const { return m_line; }
    const ExecutionContextStack& GetExecutionContextStack() const { return m_stack; }

    /// The run-time type name, such as "class ExceptionIndexOutOfBounds".
    CXString GetExceptionType() const;
    /// The type code and the line, such as "003:000:0610": what a user reads to support.
    CXString GetExceptionIdentifierForUserDisplay() const;
    /// The same for any exception; "000:000:000" for one that is not of this family.
    static CXString GetExceptionIdentifierForUserDisplay(const std::exception& exception);
    static bool IsNorvaException(const std::exception& exception);

    /// A description of several lines for developers. Never throws: a fault while describing ends the text.
    static CXString GetExceptionDescription(const std::exception& exception);

    /// Shows an exception to the person at the machine; see usermessage.h.
    ///
    /// Nothing is shown when nobody may be there (a service, the spooler or the filter pipeline), unless it
    /// is forced. The standard's out-of-memory exception is always shown, with texts of its own.
    ///
    /// @param force        show it even when nobody may be there
    /// @param suppress     do not show anything, forced or not
    /// @param exception    the exception; null stands for a failure without one
    /// @param sourceFile, line, functionName, stack  the place that shows it
    /// @param owner        window that the message belongs to; may be null
    /// @param titleId      title of the message, as a text resource; see GetCustomerTitleString
    /// @param message      text to show instead of the exception's customer text; empty for none
    static void DisplayExceptionMessage(bool force, bool suppress, const std::exception* exception,
                                        const CXString& sourceFile, int line, const CXString& functionName,
                                        const ExecutionContextStack& stack, HWND owner, unsigned titleId,
                                        const CXString& message);
    /// The same with a title given as text.
    static void DisplayExceptionMessage(bool force, bool suppress, const std::exception* exception,
                                        const CXString& sourceFile, int line, const CXString& functionName,
                                        const ExecutionContextStack& stack, HWND owner, const CXString& title,
                                        const CXString& message);

    /// The title of a message: the given one, else the owner window's text, else the library's own title.
    static CXString GetCustomerTitleString(HWND owner, const CXString& title);

    /// Asked by every throw site; an answer of true stops in the debugger. Always false in this library.
    static bool AllowForExceptionDebug(const CXString& typeName, const CXString& throwingText,
                                       const CXString& sourceFile, int line, const CXString& functionName,
                                       const ExecutionContextStack& stack, unsigned categories);
    /// Asked by every failed assertion. Always false in this library.
    static bool ProcessFailedAssertion(const CXString& assertion, const CXString& sourceFile, int line,
                                       const CXString& functionName, const ExecutionContextStack& stack,
                                       unsigned categories);

private:
    friend struct NorvaExceptionTestAccess;

    static void AppendDescription(CXString& description, const std::exception& exception);
    /// Appends where the exception was thrown, the contexts and the message.
    void GetLocationAndMessageDescription(CXString& description) const;
    static void GetCustomerMessageIDsForException(const std::exception* exception, unsigned& first,
                                                  unsigned& second);
    static bool IsMessageShown(bool force, bool suppress, bool isPossiblyNonInteractive,
                               bool isSpoolerOrFilterPipeline);

    CXString m_sourceFile;
    int m_line;
    CXString m_functionName;
    CXString m_message;
    ExecutionContextStack m_stack;
    mutable char* m_what = nullptr;
};
