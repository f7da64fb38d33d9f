// ModelTable: the models of a map file and their properties.
#include "environment/modeltable.h"

#include <algorithm>

#include "platform/widechar.h"

namespace {

constexpr TextView commentMark = NV_TEXT("comment;");
constexpr TextView modelKey = NV_TEXT("Model");
constexpr TextView allModels = NV_TEXT("ALL_MODELS");

TextView WithoutLeadingSpace(TextView text) {
    const auto begin = std::find_if_not(text.begin(), text.end(), platform::IsSpace);
    text.remove_prefix(static_cast<std::size_t>(begin - text.begin()));
    return text;
}

TextView WithoutTrailingSpace(TextView text) {
    while (!text.empty() && platform::IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// Takes the first line off a text.
TextView TakeLine(TextView& text) {
    const std::size_t length = text.find(WChar{'\n'});
    const TextView line = text.substr(0, length);
    text.remove_prefix(length == TextView::npos ? text.size() : length + 1);
    return WithoutTrailingSpace(line);
}

/// The text between the first "=" and the ";" behind it; null when there is no "=".
TextView ValueIn(TextView text) {
    const std::size_t equals = text.find(WChar{'='});
    if (equals == TextView::npos) return {};
    text.remove_prefix(equals + 1);
    return text.substr(0, text.find(WChar{';'}));
}

}  // namespace

bool MapRecordReader::Next(MapRecord& record) {
    while (!m_rest.empty()) {
        const TextView line = TakeLine(m_rest);
        ++m_line;
        if (line.empty() || line.starts_with(commentMark)) continue;
        const std::size_t colon = std::min(line.find(WChar{':'}), line.size() - 1);
        record.key = WithoutTrailingSpace(WithoutLeadingSpace(line.substr(0, colon)));
        record.value = line.substr(colon + 1);  // blanks in front of it are kept deliberately
        // Deliberately such a line ends the file: what follows are notes.
        return !record.key.empty() && !record.value.empty();
    }
    return false;
}

nvutil::ModelTable::ModelTable(TextView file) {
    // A record's text becomes no longer in a block, apart from a last line without a line end.
    platform::Text& text = m_texts.emplace_back();
    text.reserve(file.size() + 1);
    const auto keep = [&text](TextView part) {
        text.append(part);
        return TextView(text.data() + text.size() - part.size(), part.size());
    };

    std::vector<TextView> names;
    std::size_t blockBegin = 0;
    const auto endGroup = [&] {
        AddGroup(names, TextView(text).substr(blockBegin));
        names.clear();
    };
    MapRecordReader reader(file);
    bool isInBlock = false;
    for (MapRecord record; reader.Next(record);) {
        const bool isModel = record.key == modelKey;
        if (isModel && isInBlock) endGroup();
        if (isModel) {
            names.push_back(keep(record.value));
            blockBegin = text.size();
        } else {
            text.append(record.key).append(1, WChar{'='}).append(record.value).append(1, WChar{';'});
        }
        isInBlock = !isModel;
    }
    endGroup();
}

void nvutil::ModelTable::Add(TextView model, TextView data) {
    const TextView name = m_texts.emplace_back(model);
    m_blocks.emplace_back(m_texts.emplace_back(data));
    AppendOwn(m_models[Enter(name)], m_blocks.size() - 1);
}

void nvutil::ModelTable::Replace(std::size_t index, TextView data) {
    Model& model = m_models[index];
    platform::Text*& text = m_replacements[index];
    if (text == nullptr) {
        text = &m_texts.emplace_back();
        model.firstCommon = m_commonBlocks.size();
        model.firstOwn = model.lastOwn = none;
        m_blocks.emplace_back();
        AppendOwn(model, m_blocks.size() - 1);
    }
    *text = data;
    m_blocks[m_ownBlocks[model.firstOwn].block] = *text;
    model.ownLength = data.size();
    m_byValue.clear();
}

/// Enters what a group says, name by name.
void nvutil::ModelTable::AddGroup(const std::vector<TextView>& names, TextView properties) {
    if (names.empty()) return;
    const std::size_t block = m_blocks.size();
    m_blocks.push_back(properties);
    const bool endsWithAll = names.back() == allModels;
    for (const TextView name : names) {
        if (name == allModels) {
            AppendCommon(block);
            continue;
        }
        const std::size_t model = Enter(name);
        if (!endsWithAll) AppendOwn(m_models[model], block);
    }
}

/// The model of a name, which is new if need be.
std::size_t nvutil::ModelTable::Enter(TextView name) {
    const auto [found, isNew] = m_byName.try_emplace(name, m_models.size());
    if (isNew) m_models.push_back({name, m_commonBlocks.size()});
    return found->second;
}

void nvutil::ModelTable::AppendOwn(Model& model, std::size_t block) {
    const std::size_t own = m_ownBlocks.size();
    m_ownBlocks.push_back({block, m_commonBlocks.size(), none});
    (model.lastOwn == none ? model.firstOwn : m_ownBlocks[model.lastOwn].next) = own;
    model.lastOwn = own;
    model.ownLength += m_blocks[block].size();
}

void nvutil::ModelTable::AppendCommon(std::size_t block) {
    m_commonBlocks.push_back({block, GetCommonLength()});
}

std::uint64_t nvutil::ModelTable::GetCommonLength() const {
    if (m_commonBlocks.empty()) return 0;
    const CommonBlock& last = m_commonBlocks.back();
    return last.lengthBefore + m_blocks[last.block].size();
}

std::uint64_t nvutil::ModelTable::GetDataLength(std::size_t index) const {
    const Model& model = m_models[index];
    const std::uint64_t missed = model.firstCommon < m_commonBlocks.size()
                                     ? m_commonBlocks[model.firstCommon].lengthBefore
                                     : GetCommonLength();
    const std::uint64_t length = model.ownLength + GetCommonLength() - missed;
    return length <= largestData ? length : 0;
}

platform::Text nvutil::ModelTable::GetData(std::size_t index) const {
    platform::Text data;
    if (GetDataLength(index) == 0) return data;
    data.reserve(GetDataLength(index));
    Cursor cursor = Begin(m_models[index]);
    for (std::size_t block = 0; Next(cursor, block);)
        data.append(m_blocks[block]);
    return data;
}

bool nvutil::ModelTable::IsOwnNext(const Cursor& cursor) const {
    return cursor.own != none && m_ownBlocks[cursor.own].commonBefore <= cursor.common;
}

bool nvutil::ModelTable::Next(Cursor& cursor, std::size_t& block) const {
    if (IsOwnNext(cursor)) {
        block = m_ownBlocks[cursor.own].block;
        cursor.own = m_ownBlocks[cursor.own].next;
        return true;
    }
    if (cursor.common == m_commonBlocks.size()) return false;
    block = m_commonBlocks[cursor.common++].block;
    return true;
}

std::optional<std::size_t> nvutil::ModelTable::Find(TextView model) const {
    const auto found = m_byName.find(model);
    return found != m_byName.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<std::size_t> nvutil::ModelTable::FindByValue(TextView key, TextView value) const {
    auto index = m_byValue.find(key);
    if (index == m_byValue.end()) index = m_byValue.emplace(key, MakeIndex(key)).first;
    const auto found = index->second.find(platform::Text(value));
    return found != index->second.end() ? std::optional(found->second) : std::nullopt;
}

nvutil::ModelTable::ValueIndex nvutil::ModelTable::MakeIndex(TextView key) const {
    const Occurrences occurrences = FindOccurrences(key);
    ValueIndex index;
    for (std::size_t i = 0; i < m_models.size(); ++i) {
        if (GetDataLength(i) > 0) index.emplace(FindValue(m_models[i], key, occurrences), i);
    }
    return index;
}

nvutil::ModelTable::Occurrences nvutil::ModelTable::FindOccurrences(TextView key) const {
    Occurrences occurrences;
    occurrences.inBlock.reserve(m_blocks.size());
    for (const TextView block : m_blocks)
        occurrences.inBlock.push_back(block.find(key));
    occurrences.nextCommon.assign(m_commonBlocks.size() + 1, none);
    for (std::size_t i = m_commonBlocks.size(); i-- > 0;) {
        const bool isHere = occurrences.inBlock[m_commonBlocks[i].block] != TextView::npos;
        occurrences.nextCommon[i] = isHere ? i : occurrences.nextCommon[i + 1];
    }
    return occurrences;
}

/// The value of a key, found without putting the text together and without a visit to every block for all
/// models.
TextView nvutil::ModelTable::FindValue(const Model& model, TextView key,
                                       const Occurrences& occurrences) const {
    const auto positionIn = [&](std::size_t block) { return occurrences.inBlock[block]; };
    Cursor cursor = Begin(model);
    std::size_t block = 0;
    for (;;) {
        // Blocks for all models that lie before the next own one are passed over at once.
        const std::size_t common = occurrences.nextCommon[cursor.common];
        const bool isOwnFirst = cursor.own != none && m_ownBlocks[cursor.own].commonBefore <= common;
        if (!isOwnFirst && common == none) return {};
        cursor.common = isOwnFirst ? std::max(cursor.common, m_ownBlocks[cursor.own].commonBefore) : common;
        Next(cursor, block);
        if (positionIn(block) != TextView::npos) break;
    }
    TextView value = ValueIn(m_blocks[block].substr(positionIn(block) + key.size()));
    while (value.data() == nullptr && Next(cursor, block))
        value = ValueIn(m_blocks[block]);
    return value;
}
