// ModelTable: the models of a map file and their properties.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "environment/texthash.h"
#include "environment/textview.h"
#include "platform/internalapi.h"
#include "platform/text.h"

/// One record of a map file; the texts lie in the file's.
struct MapRecord {
    TextView key;
    TextView value;
};

/// Reads the records of a map file, whose text must outlive the reader and its records.
///
/// Comments and empty lines are skipped. A line without a key or without a value ends the file.
class NVUTIL_INTERNAL_API MapRecordReader {
public:
    explicit MapRecordReader(TextView text) : m_rest(text) {}

    /// Reads the next record.
    /// @return false at the end; the record is indeterminate then
    bool Next(MapRecord& record);
    /// The number of the line read last, from 1.
    int GetLine() const { return m_line; }
    /// What has not been read; empty unless a line has ended the file early.
    TextView GetRest() const { return m_rest; }

private:
    TextView m_rest;
    int m_line = 0;
};

namespace nvutil {

/// Models in the order in which they appear, with their properties as text.
///
/// A block of properties is kept once, however many models have it, and one for all models is written down
/// once: a table takes no more memory than a few times the file. What takes the room is put together on
/// demand.
class NVUTIL_INTERNAL_API ModelTable {
public:
    /// The longest text of properties, in code units. A model with more counts as one without properties.
    static constexpr std::uint64_t largestData = 8 * 1024 * 1024 - 1;

    ModelTable() = default;
    /// Reads a map file.
    explicit ModelTable(TextView file);
    ModelTable(const ModelTable&) = delete;
    ModelTable& operator=(const ModelTable&) = delete;
    ~ModelTable() = default;

    /// Adds a model that is not yet there. Its name is nothing but a name, even "ALL_MODELS".
    void Add(TextView model, TextView data);
    /// Gives a model other properties; what they replace are the file's, or those of the last replacement.
    void Replace(std::size_t index, TextView data);

    std::size_t GetCount() const { return m_models.size(); }
    TextView GetModel(std::size_t index) const { return m_models[index].name; }
    /// The text of a model's properties.
    platform::Text GetData(std::size_t index) const;
    std::uint64_t GetDataLength(std::size_t index) const;

    std::optional<std::size_t> Find(TextView model) const;
    /// The first model that has this value for a key, by the rule of MappingData::GetData.
    /// Keeps an index of the key's values; not to be called by several threads at the same time.
    std::optional<std::size_t> FindByValue(TextView key, TextView value) const;

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    /// A block of one model. The blocks of a model are a list.
    struct OwnBlock {
        std::size_t block;
        std::size_t commonBefore;  ///< The number of blocks for all models that were there before it.
        std::size_t next;
    };
    struct Model {
        TextView name;
        std::size_t firstCommon;  ///< The first block for all models that reaches this one.
        std::size_t firstOwn = none;
        std::size_t lastOwn = none;
        std::uint64_t ownLength = 0;
    };
    struct CommonBlock {
        std::size_t block;
        std::uint64_t lengthBefore;  ///< Of all blocks for all models before it.
    };
    /// The next block of a model, of its own and of those for all.
    struct Cursor {
        std::size_t own;
        std::size_t common;
    };
    using ValueIndex = std::map<platform::Text, std::size_t>;
    /// Where a key occurs.
    struct Occurrences {
        std::vector<std::size_t> inBlock;     ///< The position in each block, or none.
        std::vector<std::size_t> nextCommon;  ///< From each block for all: the first one that has the key.
    };

    void AddGroup(const std::vector<TextView>& names, TextView properties);
    std::size_t Enter(TextView name);
    void AppendOwn(Model& model, std::size_t block);
    void AppendCommon(std::size_t block);
    std::uint64_t GetCommonLength() const;

    Cursor Begin(const Model& model) const { return {model.firstOwn, model.firstCommon}; }
    bool IsOwnNext(const Cursor& cursor) const;
    bool Next(Cursor& cursor, std::size_t& block) const;

    Occurrences FindOccurrences(TextView key) const;
    TextView FindValue(const Model& model, TextView key, const Occurrences& occurrences) const;
    ValueIndex MakeIndex(TextView key) const;

    std::deque<platform::Text> m_texts;  ///< What all views point into.
    std::vector<TextView> m_blocks;
    std::vector<OwnBlock> m_ownBlocks;
    std::vector<CommonBlock> m_commonBlocks;
    std::vector<Model> m_models;
    std::unordered_map<std::size_t, platform::Text*>
        m_replacements;  ///< By model; the texts are in `m_texts`.
    std::unordered_map<TextView, std::size_t, TextHash> m_byName;
    mutable std::map<platform::Text, ValueIndex, std::less<>> m_byValue;
};

}  // namespace nvutil
