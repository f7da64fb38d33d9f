// Printer: a printer and the values that drivers keep in its driver data.
#include "environment/printer.h"

#include <optional>
#include <utility>

#include "platform/printerdata.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

using platform::Status;
using platform::Text;

/// A name as the platform takes it, which would cut it at a zero.
Text TextOf(const CXString& text) {
    Text name{static_cast<const WChar*>(text), static_cast<std::size_t>(text.GetLength())};
    if (name.find(WChar{0}) != Text::npos)
        NV_THROW(ExceptionInvalidArgument, "Printer", __LINE__, NV_TEXT("a name has a zero in it: %s"), text);
    return name;
}

CXString StringOf(const Text& text) {
    return {text.data(), static_cast<int>(text.size())};
}

std::vector<CXString> StringsOf(const std::vector<Text>& texts) {
    std::vector<CXString> strings;
    strings.reserve(texts.size());
    for (const Text& text : texts)
        strings.push_back(StringOf(text));
    return strings;
}

CXString ReasonOf(const Status& status) {
    return FormatText(NV_TEXT("%s (error %lu)"), StringOf(status.GetReason()), status.code);
}

/// Throws unless an operation succeeded.
/// @param printer  empty for an operation on all printers
void Require(const Status& status, const CXString& printer, const char* function, int line) {
    if (status.IsSuccess()) return;
    const CXString subject =
        printer.IsEmpty() ? NV_TEXT("printers") : FormatText(NV_TEXT("printer \"%s\""), printer);
    const CXString reason = ReasonOf(status);
    if (status.code == platform::invalidPrinterHandle)
        NV_THROW(ExceptionInvalidPrinterHandle, function, line, NV_TEXT("%s: %s"), subject, reason);
    NV_THROW(ExceptionPrinterFailure, function, line, NV_TEXT("%s: %s"), subject, reason);
}

/// The same for an operation on a value.
/// @return whether the value is there
bool RequirePresent(const Status& status, const CXString& printer, const char* function, int line) {
    if (status.code == platform::printerValueAbsent) return false;
    Require(status, printer, function, line);
    return true;
}

}  // namespace

const WChar* const Printer::driverDataKey = NV_TEXT("PrinterDriverData");
const DWORD Printer::largestValue = platform::largestPrinterValue;

Printer::Printer(const CXString& name, Opening opening) : m_handle(nullptr), m_isOwned(true), m_name(name) {
    Require(platform::OpenPrinterByName(TextOf(name), opening == Opening::MayBeNew, m_handle), name,
            "Printer::Printer", __LINE__);
}

Printer::Printer(HANDLE handle) : m_handle(handle), m_isOwned(false) {
    Text name;
    const Status status = handle == nullptr ? Status{platform::invalidPrinterHandle, {}}
                                            : platform::GetPrinterName(handle, name);
    Require(status, CXString(), "Printer::Printer", __LINE__);
    m_name = StringOf(name);
}

Printer::~Printer() {
    if (m_isOwned) platform::ClosePrinterHandle(m_handle);
}

bool Printer::GetPrinterDataW(const CXString& valueName, DWORD& type, ByteBuffer& data) const {
    return GetPrinterDataExW(driverDataKey, valueName, type, data);
}

bool Printer::GetPrinterDataExW(const CXString& key, const CXString& valueName, DWORD& type,
                                ByteBuffer& data) const {
    platform::PrinterValue value;
    const Status status = platform::ReadPrinterValue(m_handle, TextOf(key), TextOf(valueName), value);
    if (!RequirePresent(status, m_name, "Printer::GetPrinterDataExW", __LINE__)) return false;
    type = value.type;
    static_cast<std::vector<BYTE>&>(data) = std::move(value.data);
    return true;
}

void Printer::SetPrinterDataExW(const CXString& key, const CXString& valueName, DWORD type,
                                const ByteBuffer& data) {
    if (data.size() > largestValue) {
        NV_THROW(ExceptionInvalidArgument, "Printer::SetPrinterDataExW", __LINE__,
                 NV_TEXT("printer \"%s\": a value of %I64d bytes is too large"), m_name,
                 static_cast<std::int64_t>(data.size()));
    }
    Require(platform::WritePrinterValue(m_handle, TextOf(key), TextOf(valueName), {type, data}), m_name,
            "Printer::SetPrinterDataExW", __LINE__);
}

bool Printer::DeletePrinterDataExW(const CXString& key, const CXString& valueName) {
    return RequirePresent(platform::DeletePrinterValue(m_handle, TextOf(key), TextOf(valueName)), m_name,
                          "Printer::DeletePrinterDataExW", __LINE__);
}

std::vector<CXString> Printer::EnumeratePrinterDataExW(const CXString& key) const {
    std::vector<Text> names;
    Require(platform::ListPrinterValues(m_handle, TextOf(key), names), m_name,
            "Printer::EnumeratePrinterDataExW", __LINE__);
    return StringsOf(names);
}

bool Printer::GetPrinterDataTime(const CXString& key, const CXString& valueName, UtcTime& time) const {
    std::optional<std::int64_t> seconds;
    const Status status = platform::ReadPrinterValueTime(m_handle, TextOf(key), TextOf(valueName), seconds);
    if (!RequirePresent(status, m_name, "Printer::GetPrinterDataTime", __LINE__)) return false;
    if (seconds) time = UtcTime(*seconds);
    return seconds.has_value();
}

std::vector<CXString> Printer::EnumeratePrinters() {
    std::vector<Text> names;
    Require(platform::ListPrinters(names), CXString(), "Printer::EnumeratePrinters", __LINE__);
    return StringsOf(names);
}

PrinterDataUpdate::PrinterDataUpdate(Printer& printer) : m_printer(printer), m_update(nullptr) {
    Require(platform::BeginPrinterUpdate(printer.GetHandle(), m_update), printer.GetName(),
            "PrinterDataUpdate::PrinterDataUpdate", __LINE__);
}

PrinterDataUpdate::~PrinterDataUpdate() {
    if (m_update != nullptr) platform::AbandonPrinterUpdate(m_update);
}

void PrinterDataUpdate::Commit() {
    if (m_update == nullptr) return;
    Require(platform::CommitPrinterUpdate(std::exchange(m_update, nullptr)), m_printer.GetName(),
            "PrinterDataUpdate::Commit", __LINE__);
}
