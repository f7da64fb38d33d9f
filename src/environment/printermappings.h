// PrinterMappings: the properties of models in the driver data of a printer.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "environment/knownmappings.h"
#include "environment/modeltable.h"
#include "environment/printer.h"
#include "platform/text.h"

/// Reads and writes them. The printer must outlive it.
class PrinterMappings final : public KnownMappings::StoredMappings {
public:
    /// What a printer's driver data takes of the properties of models, in bytes.
    static constexpr std::uint64_t mostStored = 256 * 1024 * 1024;

    explicit PrinterMappings(Printer& printer) : m_printer(printer) {}

    std::vector<CXString> ListModels() const override;
    CXString ReadData(TextView model) const override;

    /// Writes what a map file says, as far as there is room: a model without gets an empty text.
    /// @throws ExceptionPrinterFailure; nothing is written then
    void Keep(const nvutil::ModelTable& table);

private:
    void MeasureStored();

    Printer& m_printer;
    std::unordered_map<platform::Text, std::uint64_t> m_sizes;  ///< Of values, in bytes, by model.
    std::uint64_t m_stored = 0;                                 ///< All of them together.
    bool m_isMeasured = false;
};
