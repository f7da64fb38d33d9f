// The concrete exception classes and their factories, generated from the table.
#include "utilities/debuggingandexceptions/exceptions.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/errortext.h"
#include "utilities/base/formattext.h"

#define NV_DEFINE_EXCEPTION(Class, Base, code)                                           \
    Class::Class(const CXString& message, const CXString& sourceFile, int line,          \
                 const CXString& functionName, const ExecutionContextStack& stack)       \
        : Base(message, sourceFile, line, functionName, stack) {}                        \
    Class::Class(const Class& other) = default;                                          \
    Class::~Class() = default;                                                           \
    CXString Class::GetExceptionTypeByNumericCode() const {                              \
        return NV_TEXT(code);                                                            \
    }                                                                                    \
    Class Get##Class(const CXString& message, const CXString& sourceFile, int line,      \
                     const CXString& functionName, const ExecutionContextStack& stack) { \
        return Class(message, sourceFile, line, functionName, stack);                    \
    }
NV_EXCEPTION_TABLE(NV_DEFINE_EXCEPTION)
#undef NV_DEFINE_EXCEPTION

ExceptionFile::ExceptionFile(const ExceptionFile& other) = default;
ExceptionFile::~ExceptionFile() = default;

NorvaComException::NorvaComException(const CXString& message, const CXString& sourceFile, int line,
                                     const CXString& functionName, const ExecutionContextStack& stack,
                                     HRESULT hresult)
    : NorvaException(message, sourceFile, line, functionName, stack), m_hresult(hresult) {}

NorvaComException::NorvaComException(const NorvaComException& other) = default;
NorvaComException::~NorvaComException() = default;

CXString NorvaComException::GetExceptionTypeByNumericCode() const {
    return NV_TEXT("071:000");
}

CXString NorvaComException::GetAdditionalExceptionDescription(const NorvaComException* exception) {
    if (exception == nullptr) return {};
    const HRESULT hresult = exception->GetHresult();
    return FormatText(NV_TEXT("COM Error HRESULT = 0x%x (%s)."), static_cast<unsigned>(hresult),
                      platform::ErrorText(hresult).c_str());
}

std::span<const ExceptionTypeCode> GetExceptionTypeCodes() {
#define NV_LIST_EXCEPTION(Class, Base, code) ExceptionTypeCode{code, #Class},
    static constexpr auto typeCodes = [] {
        std::array table{NV_EXCEPTION_TABLE(NV_LIST_EXCEPTION)
                             ExceptionTypeCode{"071:000", "NorvaComException"}};
        std::sort(table.begin(), table.end(),
                  [](const ExceptionTypeCode& left, const ExceptionTypeCode& right) {
                      return std::string_view(left.code) < std::string_view(right.code);
                  });
        return table;
    }();
#undef NV_LIST_EXCEPTION
    return typeCodes;
}
