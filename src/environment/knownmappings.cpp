// KnownMappings: what all map files in this process have said, by the printer that they were read for.
#include "environment/knownmappings.h"

#include <algorithm>
#include <span>
#include <utility>

#include "platform/fork.h"

namespace {

[[maybe_unused]] const bool isMadeBeforeForks = platform::MakeBeforeForks([] { KnownMappings::OfProcess(); });

}  // namespace

KnownMappings& KnownMappings::OfProcess() {
    static KnownMappings& known = *new KnownMappings;  // never destroyed: others may end later
    return known;
}

MappingData KnownMappings::Entry::GetMapping() const {
    return MappingData(StringOf(GetModel()), StringOf(table->GetData(index)));
}

std::vector<KnownMappings::Source>& KnownMappings::SourcesOf(const Text& printer) {
    std::vector<Source>& sources = m_byPrinter[printer];
    if (sources.empty()) sources.push_back({{}, std::make_unique<nvutil::ModelTable>()});
    return sources;
}

void KnownMappings::KeepNames(const nvutil::ModelTable& table) {
    for (std::size_t i = 0; i < table.GetCount(); ++i) {
        if (!m_models.contains(table.GetModel(i))) m_models.emplace(table.GetModel(i));
    }
}

void KnownMappings::Add(const Text& printer, const Identity& file,
                        std::unique_ptr<nvutil::ModelTable> table) {
    KeepNames(*table);
    std::vector<Source>& sources = SourcesOf(printer);
    const auto former = std::find_if(sources.begin(), sources.end() - 1,
                                     [&file](const Source& each) { return each.file == file; });
    if (former != sources.end() - 1) {
        former->table = std::move(table);
    } else {
        sources.insert(former, {file, std::move(table)});
    }
}

void KnownMappings::Refresh(const Text& printer, const StoredMappings& stored) {
    const std::vector<CXString> models = stored.ListModels();
    std::uint64_t room = mostReadBack;
    const auto hasRoomFor = [&room](TextView data) {
        const std::uint64_t size = sizeof(WChar) * data.size();
        const bool fits = size <= room;
        if (fits) room -= size;
        return fits;
    };
    std::vector<Source>& sources = SourcesOf(printer);
    auto others = std::make_unique<nvutil::ModelTable>();
    for (const Source& source : std::span(sources).first(sources.size() - 1)) {
        for (std::size_t i = 0; i < source.table->GetCount(); ++i) {
            const CXString data = stored.ReadData(source.table->GetModel(i));
            const bool isNew = !data.IsBlank() && ViewOf(data) != source.table->GetData(i);
            if (isNew && hasRoomFor(ViewOf(data))) source.table->Replace(i, ViewOf(data));
        }
    }
    const auto isInFile = [&sources](TextView model) {
        return std::any_of(sources.begin(), sources.end() - 1,
                           [model](const Source& each) { return each.table->Find(model).has_value(); });
    };
    for (const CXString& model : models) {
        if (others->Find(ViewOf(model)) || isInFile(ViewOf(model))) continue;
        const CXString data = stored.ReadData(ViewOf(model));
        others->Add(ViewOf(model), hasRoomFor(ViewOf(data)) ? ViewOf(data) : TextView());
    }
    KeepNames(*others);
    sources.back().table = std::move(others);
}

std::optional<KnownMappings::Entry> KnownMappings::FindModel(const Text& printer, TextView model,
                                                             const Identity& folder) const {
    const auto sources = m_byPrinter.find(printer);
    if (sources == m_byPrinter.end()) return std::nullopt;
    for (const Source& source : sources->second) {
        if (!source.file.starts_with(folder)) continue;
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

std::vector<KnownMappings::Entry> KnownMappings::GetEntries(const Text& printer,
                                                            const Identity& folder) const {
    std::vector<Entry> entries;
    const auto sources = m_byPrinter.find(printer);
    if (sources == m_byPrinter.end()) return entries;
    std::unordered_set<TextView, TextHash> seen;
    for (const Source& source : sources->second) {
        if (!source.file.starts_with(folder)) continue;
        for (std::size_t i = 0; i < source.table->GetCount(); ++i) {
            if (seen.insert(source.table->GetModel(i)).second) entries.push_back({source.table.get(), i});
        }
    }
    return entries;
}
