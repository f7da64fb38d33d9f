// KnownMappings: what all map files in this process have said, by the printer that they were read for.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "environment/mappingdata.h"
#include "environment/modeltable.h"
#include "environment/texthash.h"
#include "environment/textview.h"
#include "platform/text.h"

/// The tables of the process. Whoever uses them holds the lock of ProductData; no text in them is shared with
/// a string outside.
class KnownMappings {
public:
    using Text = platform::Text;
    using ModelNames = std::unordered_set<Text, TextHash, std::equal_to<>>;

    /// One model of one table.
    struct Entry {
        const ModelTable* table;
        std::size_t index;

        TextView GetModel() const { return table->GetModel(index); }
        MappingData GetMapping() const;
    };

    /// Takes what a source said for a printer, in the place of what it said before.
    /// @param source  the path of a map file, or empty for the printer's driver data. A map file takes the
    ///                place of what was read back from there too.
    void Add(const Text& printer, const Text& source, std::unique_ptr<const ModelTable> table);
    /// Forgets all sources of a printer.
    void Forget(const Text& printer) { m_byPrinter.erase(printer); }

    /// The first entry of a printer with this name, among the sources whose path begins with `folder`.
    std::optional<Entry> FindModel(const Text& printer, TextView model, TextView folder) const;
    /// The first entry of a printer with this value for a key.
    std::optional<Entry> FindByValue(const Text& printer, TextView key, TextView value) const;
    /// The entries of a printer whose sources begin with `folder`, in their order, each model once.
    std::vector<Entry> GetEntries(const Text& printer, TextView folder) const;
    /// The names of all models that were ever added, in no particular order.
    const ModelNames& GetModels() const { return m_models; }

private:
    struct Source {
        Text name;
        std::unique_ptr<const ModelTable> table;
    };

    std::map<Text, std::vector<Source>> m_byPrinter;
    ModelNames m_models;
};
