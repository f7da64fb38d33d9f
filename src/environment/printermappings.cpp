// PrinterMappings: the properties of models in the driver data of a printer.
#include "environment/printermappings.h"

#include <utility>

#include "environment/mappingdata.h"
#include "environment/storedtext.h"

namespace {

CXString ValueNameOf(TextView model) {
    return MappingData::valueNamePrefix + StringOf(model);
}

std::uint64_t SizeOf(std::uint64_t length) {
    return sizeof(WChar) * (length + 1);
}

}  // namespace

std::vector<CXString> PrinterMappings::ListModels() const {
    std::vector<CXString> models;
    const TextView prefix = MappingData::valueNamePrefix;
    for (const CXString& name : m_printer.EnumeratePrinterDataExW(Printer::driverDataKey)) {
        if (ViewOf(name).starts_with(prefix)) models.push_back(name.Mid(static_cast<int>(prefix.size())));
    }
    return models;
}

CXString PrinterMappings::ReadData(TextView model) const {
    return storedtext::Read(m_printer, ValueNameOf(model));
}

void PrinterMappings::Keep(const nvutil::ModelTable& table) {
    if (table.GetCount() == 0) return;
    MeasureStored();
    PrinterDataUpdate update(m_printer);
    for (std::size_t i = 0; i < table.GetCount(); ++i) {
        std::uint64_t& size = m_sizes[platform::Text(table.GetModel(i))];
        const bool fits = m_stored - size + SizeOf(table.GetDataLength(i)) <= mostStored;
        if (!fits && size <= SizeOf(0)) continue;
        const platform::Text data = fits ? table.GetData(i) : platform::Text();
        storedtext::Write(m_printer, ValueNameOf(table.GetModel(i)), StringOf(data));
        m_stored = m_stored - size + SizeOf(data.size());
        size = SizeOf(data.size());
    }
    update.Commit();
}

/// Sees once what is there already.
void PrinterMappings::MeasureStored() {
    if (std::exchange(m_isMeasured, true)) return;
    for (const CXString& model : ListModels()) {
        std::uint64_t& size = m_sizes[platform::Text(ViewOf(model))];
        size = SizeOf(static_cast<std::uint64_t>(ReadData(ViewOf(model)).GetLength()));
        m_stored += size;
    }
}
