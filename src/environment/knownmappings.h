// KnownMappings: what all map files in this process have said, by the printer that they were read for.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

#include "environment/mappingdata.h"
#include "environment/modeltable.h"
#include "environment/productfiles.h"
#include "environment/texthash.h"
#include "environment/textview.h"
#include "platform/text.h"
#include "utilities/utilitiesdll/cxstring.h"

/// The tables of the process. Whoever uses them holds the lock of ProductData; no text in them is shared with
/// a string outside.
class KnownMappings {
public:
    using Text = platform::Text;
    using Identity = productfiles::Identity;
    using ModelNames = std::unordered_set<Text, TextHash, std::equal_to<>>;

    /// One model of one table.
    struct Entry {
        const nvutil::ModelTable* table;
        std::size_t index;

        TextView GetModel() const { return table->GetModel(index); }
        MappingData GetMapping() const;
    };

    /// What the driver data of a printer keeps.
    class StoredMappings {
    public:
        virtual ~StoredMappings() = default;
        virtual std::vector<CXString> ListModels() const = 0;
        /// Blank when nothing is kept.
        virtual CXString ReadData(TextView model) const = 0;
    };

    /// The most that a refresh takes over of properties that no map file tells, in bytes.
    static constexpr std::uint64_t mostReadBack = 256 * 1024 * 1024;

    /// Those of this process.
    static KnownMappings& OfProcess();

    /// Takes what a map file said for a printer, in the place of what it said before.
    /// @param file  not empty
    void Add(const Text& printer, const Identity& file, std::unique_ptr<nvutil::ModelTable> table);
    /// Lets what the driver data keeps take the place of what map files said, model by model where it
    /// differs. Models that no file names follow behind all others. What is beyond `mostReadBack` stays as it
    /// is.
    void Refresh(const Text& printer, const StoredMappings& stored);

    /// The first entry of a printer with this name, among the sources whose identity begins with
    /// `folder`.
    std::optional<Entry> FindModel(const Text& printer, TextView model, const Identity& folder) const;
    /// The first entry of a printer with this value for a key.
    std::optional<Entry> FindByValue(const Text& printer, TextView key, TextView value) const;
    /// The entries of a printer whose sources begin with `folder`, in their order, each model once.
    std::vector<Entry> GetEntries(const Text& printer, const Identity& folder) const;
    /// The names of all models that were ever added, in no particular order.
    const ModelNames& GetModels() const { return m_models; }

private:
    struct Source {
        Identity file;
        std::unique_ptr<nvutil::ModelTable> table;
    };

    /// The map files of a printer and, last and without a name, the models that only its driver data knows.
    std::vector<Source>& SourcesOf(const Text& printer);
    void KeepNames(const nvutil::ModelTable& table);

    std::map<Text, std::vector<Source>> m_byPrinter;
    ModelNames m_models;
};
