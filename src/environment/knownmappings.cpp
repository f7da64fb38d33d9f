// KnownMappings: what all map files in this process have said, by the printer that they were read for.
#include "environment/knownmappings.h"

#include <algorithm>
#include <utility>

MappingData KnownMappings::Entry::GetMapping() const {
    return MappingData(StringOf(GetModel()), StringOf(table->GetData(index)));
}

void KnownMappings::Add(const Text& printer, const Text& source, std::unique_ptr<const ModelTable> table) {
    for (std::size_t i = 0; i < table->GetCount(); ++i) {
        if (!m_models.contains(table->GetModel(i))) m_models.emplace(table->GetModel(i));
    }

    std::vector<Source>& sources = m_byPrinter[printer];
    if (!source.empty()) std::erase_if(sources, [](const Source& each) { return each.name.empty(); });
    const auto former = std::find_if(sources.begin(), sources.end(),
                                     [&source](const Source& each) { return each.name == source; });
    if (former != sources.end()) {
        former->table = std::move(table);
    } else {
        sources.push_back({source, std::move(table)});
    }
}

std::optional<KnownMappings::Entry> KnownMappings::FindModel(const Text& printer, TextView model,
                                                             TextView folder) const {
    const auto sources = m_byPrinter.find(printer);
    if (sources == m_byPrinter.end()) return std::nullopt;
    for (const Source& source : sources->second) {
        if (!source.name.starts_with(folder)) continue;
        if (const auto index = source.table->Find(model)) return Entry{source.table.get(), *index};
    }
    return std::nullopt;
}

std::optional<KnownMappings::Entry> KnownMappings::FindByValue(const Text& printer, TextView key,
                                                               TextView value) const {
    const auto sources = m_byPrinter.find(printer);
    if (sources == m_byPrinter.end()) return std::nullopt;
    for (const Source& source : sources->second) {
        if (const auto index = source.table->FindByValue(key, value))
            return Entry{source.table.get(), *index};
    }
    return std::nullopt;
}

std::vector<KnownMappings::Entry> KnownMappings::GetEntries(const Text& printer, TextView folder) const {
    std::vector<Entry> entries;
    const auto sources = m_byPrinter.find(printer);
    if (sources == m_byPrinter.end()) return entries;
    std::unordered_set<TextView, TextHash> seen;
    for (const Source& source : sources->second) {
        if (!source.name.starts_with(folder)) continue;
        for (std::size_t i = 0; i < source.table->GetCount(); ++i) {
            if (seen.insert(source.table->GetModel(i)).second) entries.push_back({source.table.get(), i});
        }
    }
    return entries;
}
