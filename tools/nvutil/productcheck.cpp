// What a maintainer of product data would want to know about its files.
#include "nvutil/productcheck.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <tuple>
#include <utility>

#include "environment/ampreader.h"
#include "environment/mappingdata.h"
#include "environment/modeltable.h"
#include "environment/pdlcommandfile.h"
#include "environment/productfiles.h"
#include "environment/productkeys.h"
#include "environment/textview.h"
#include "nvutil/text.h"

namespace {

using platform::Text;

/// The longest text of properties that is searched for keys that hide others, in code units.
constexpr std::size_t longestSearched = 16 * 1024;
/// What is searched of the properties of all models together, in code units.
constexpr std::uint64_t mostSearched = std::uint64_t{1} << 31;

std::string Quoted(TextView text) {
    return QuotedText(StringOf(text));
}

/// A line of a file.
struct Place {
    CXString file;
    std::size_t line = 0;
};

std::string Display(const Place& place) {
    return ToUtf8(place.file) + ":" + std::to_string(place.line);
}

/// Finds the lines that positions in a text lie in.
class LineIndex {
public:
    explicit LineIndex(TextView text) : m_begin(text.data()) {
        for (std::size_t at = text.find(WChar{'\n'}); at != TextView::npos;
             at = text.find(WChar{'\n'}, at + 1))
            m_ends.push_back(at);
    }

    /// The number of the line, from 1.
    std::size_t LineOf(const WChar* position) const {
        const auto offset = static_cast<std::size_t>(position - m_begin);
        return static_cast<std::size_t>(std::lower_bound(m_ends.begin(), m_ends.end(), offset) -
                                        m_ends.begin()) +
               1;
    }

private:
    const WChar* m_begin;
    std::vector<std::size_t> m_ends;
};

/// Why a file or folder was passed over.
std::string ReasonOf(const std::error_code& error) {
    if (!error) return "is a link to a folder, which is not followed";
    if (error == std::errc::file_too_large) return "is larger than 64 MiB";
    if (error == std::errc::permission_denied) return "must not be read";
    if (error == std::errc::no_such_file_or_directory) return "is not there";
    if (error == std::errc::filename_too_long) return "has too long a path";
    return "cannot be read: " + error.message();
}

class Findings {
public:
    void Add(const Place& place, const std::string& text) {
        if (m_seen.emplace(Text(ViewOf(place.file)), place.line, text).second)
            m_findings.all.push_back({place.file, place.line, text});
    }
    void CountFile() { ++m_findings.files; }

    ProductFindings Take() {
        std::stable_sort(
            m_findings.all.begin(), m_findings.all.end(), [](const auto& left, const auto& right) {
                return std::pair(ViewOf(left.file), left.line) < std::pair(ViewOf(right.file), right.line);
            });
        return std::move(m_findings);
    }

private:
    ProductFindings m_findings;
    std::set<std::tuple<Text, std::size_t, std::string>> m_seen;
};

// Map files

/// Checks map files one by one, and remembers where they say what.
class MapFileCheck {
public:
    explicit MapFileCheck(Findings& findings) : m_findings(findings) {}

    void Check(const std::filesystem::path& path) {
        const CXString name = productfiles::NameOf(path);
        m_findings.CountFile();
        ByteBuffer bytes;
        if (const std::error_code error = productfiles::ReadFile(path, bytes))
            return m_findings.Add({name, 0}, ReasonOf(error));
        const CXString text = productfiles::TextOf(bytes);
        if (std::find(bytes.begin(), bytes.end(), BYTE{0}) != bytes.end())
            m_findings.Add({name, 0}, "holds a zero byte, which ends it");
        MapRecordReader reader(ViewOf(text));
        bool hasModel = false;
        for (MapRecord record; reader.Next(record);)
            CheckRecord({name, static_cast<std::size_t>(reader.GetLine())}, record, hasModel);
        CheckEnd({name, static_cast<std::size_t>(reader.GetLine())}, reader.GetRest());
        CheckModels(name, nvutil::ModelTable(ViewOf(text)));
    }

    /// Where a model is named first.
    Place PlaceOfModel(TextView model) const { return Find(m_models, model); }
    /// Where a property, "KEY=VALUE", stands first.
    Place PlaceOfProperty(TextView property) const { return Find(m_properties, property); }

private:
    using Places = std::map<Text, Place, std::less<>>;

    static Place Find(const Places& places, TextView text) {
        const auto found = places.find(text);
        return found != places.end() ? found->second : Place{};
    }

    void CheckRecord(const Place& place, const MapRecord& record, bool& hasModel) {
        if (record.key == NV_TEXT("Model")) {
            hasModel = true;
            if (record.value.front() == WChar{' '} || record.value.front() == WChar{'\t'})
                m_findings.Add(place, "the blank in front of the name belongs to it");
            const auto [first, isNew] = m_models.emplace(record.value, place);
            if (!isNew && first->second.file != place.file && record.value != NV_TEXT("ALL_MODELS")) {
                m_findings.Add(place,
                               "is never reached: " + Display(first->second) + " answers for this model");
            }
            return;
        }
        m_properties.emplace(Text(record.key).append(NV_TEXT("=")).append(record.value), place);
        if (!hasModel) m_findings.Add(place, "belongs to no model: none is named before it");
        if (StringOf(record.key).CompareNoCase(NV_TEXT("Model")) == 0)
            m_findings.Add(place, "is a property; the key that names a model is \"Model\"");
        if (record.value.find(WChar{';'}) != TextView::npos)
            m_findings.Add(place, "the value ends at its first \";\"");
    }

    /// Counts the records that would be read if nothing had ended the file before them.
    void CheckEnd(const Place& place, TextView rest) {
        std::size_t lost = 0;
        while (!rest.empty()) {
            MapRecordReader reader(rest);
            for (MapRecord record; reader.Next(record);)
                ++lost;
            rest = reader.GetRest();
        }
        if (lost > 0) {
            m_findings.Add(place, "ends the file, having no key or no value: " + CountText(lost, "record") +
                                      (lost == 1 ? " after it is" : " after it are") + " never read");
        }
    }

    void CheckModels(const CXString& file, const nvutil::ModelTable& table) {
        for (std::size_t i = 0; i < table.GetCount(); ++i) {
            const Place place = PlaceOfModel(table.GetModel(i));
            if (table.GetDataLength(i) == 0 && place.file == file)
                m_findings.Add(place, "the model " + Quoted(table.GetModel(i)) + " has no properties");
        }
    }

    Findings& m_findings;
    Places m_models;
    Places m_properties;
};

/// Checks the properties of models as look-ups see them.
class KeyCheck {
public:
    KeyCheck(const MapFileCheck& maps, Findings& findings) : m_maps(maps), m_findings(findings) {}

    /// The next model; models of a group have the same properties, which are checked once.
    void Check(const MappingData& mapping) {
        const TextView data = ViewOf(mapping.GetAllData());
        m_searched += data.size();
        if (data.size() > longestSearched || data == m_last) return;
        m_last = data;
        for (std::size_t begin = 0; begin < data.size();) {
            const TextView property = data.substr(begin, data.find(WChar{';'}, begin) - begin);
            const TextView key = property.substr(0, property.find(WChar{'='}));
            const std::size_t first = data.find(key);
            m_searched += first;
            if (first < begin) Report(ViewOf(mapping.GetModel()), property, key, PropertyAt(data, first));
            begin += property.size() + 1;
        }
    }

    /// Whether so much has been searched that the rest is left.
    bool IsExhausted() const { return m_searched > mostSearched; }

private:
    /// The property that a position lies in.
    static TextView PropertyAt(TextView data, std::size_t position) {
        const std::size_t begin = position == 0 ? 0 : data.rfind(WChar{';'}, position) + 1;
        return data.substr(begin, data.find(WChar{';'}, position) - begin);
    }

    void Report(TextView model, TextView property, TextView key, TextView hider) {
        m_findings.Add(m_maps.PlaceOfProperty(property), Quoted(key) + " of model " + Quoted(model) +
                                                             " is never reached: " + Quoted(hider) +
                                                             " answers first");
    }

    const MapFileCheck& m_maps;
    Findings& m_findings;
    Text m_last;
    std::uint64_t m_searched = 0;
};

// Command files

constexpr std::array<const WChar*, 7> tagNames = {
    NV_TEXT("FeatureSet"), NV_TEXT("FeatureItem"), NV_TEXT("PDLSet"),      NV_TEXT("Description"),
    NV_TEXT("PDL"),        NV_TEXT("Qualifier"),   NV_TEXT("Instruction"),
};

/// Checks a command file whose text and lines are at hand.
class CommandFileCheck {
public:
    CommandFileCheck(const CXString& name, const nvutil::PdlCommandFile& file, Findings& findings)
        : m_name(name), m_file(file), m_lines(file.GetText()), m_findings(findings) {}

    void Check() {
        CheckTags();
        CheckSets();
        for (const PdlInstruction& instruction : m_file.GetInstructions()) {
            CheckReach(instruction);
            CheckEntities(instruction);
        }
        if (m_file.GetInstructions().empty()) m_findings.Add({m_name, 0}, "has no instruction");
    }

private:
    Place At(TextView part) const { return {m_name, m_lines.LineOf(part.data())}; }

    /// Each tag must be closed before it is opened again.
    void CheckTags() {
        std::array<TextView, tagNames.size()> open{};
        TextView rest = m_file.GetText();
        for (std::size_t at = rest.find(WChar{'<'}); at != TextView::npos; at = rest.find(WChar{'<'})) {
            rest.remove_prefix(at);
            const bool isClosing = rest.starts_with(NV_TEXT("</"));
            const std::size_t begin = isClosing ? 2 : 1;
            const auto name =
                std::find_if(tagNames.begin(), tagNames.end(), [inside = rest.substr(begin)](TextView each) {
                    return inside.starts_with(each) && inside.substr(each.size()).starts_with(WChar{'>'});
                });
            const TextView tag =
                rest.substr(0, name != tagNames.end() ? begin + TextView(*name).size() : begin);
            rest.remove_prefix(1);
            if (name == tagNames.end()) continue;
            TextView& opened = open[static_cast<std::size_t>(name - tagNames.begin())];
            if (isClosing && opened.empty())
                m_findings.Add(At(tag), Quoted(*name) + " is closed but not open");
            if (!isClosing && !opened.empty()) ReportOpen(opened);
            opened = isClosing ? TextView() : tag;
        }
        for (const TextView opened : open) {
            if (!opened.empty()) ReportOpen(opened);
        }
    }

    void ReportOpen(TextView tag) {
        m_findings.Add(At(tag), Quoted(tag.substr(1)) + " is not closed where it should be");
    }

    void CheckSets() {
        TextView rest = m_file.GetText();
        TextView before;
        for (TextView set; TakePdlElement(rest, NV_TEXT("PDLSet"), before, set);) {
            for (const WChar* name : {NV_TEXT("PDL"), NV_TEXT("Instruction")}) {
                TextView inside = set;
                TextView content;
                if (!TakePdlElement(inside, name, before, content))
                    m_findings.Add(At(set), "the set has no " + Quoted(name) + " and gives nothing");
            }
        }
    }

    void CheckReach(const PdlInstruction& each) {
        const PdlInstruction* const first = m_file.Find(each.feature, each.option, each.type, each.qualifier);
        if (first != &each) {
            m_findings.Add(At(each.source), "is never reached: the instruction in line " +
                                                std::to_string(At(first->source).line) + " answers first");
        }
        if (each.feature.empty()) m_findings.Add(At(each.source), "its feature has no description");
        if (each.type == ProductData::PdlTypeOther)
            m_findings.Add(At(each.source), "is in none of the languages PCL, PJL, PCL5, PCL6 and PS");
    }

    void CheckEntities(const PdlInstruction& each) {
        AmpReader reader(ViewOf(each.instruction));
        for (AmpPiece piece{}; reader.Next(piece);) {
            if (piece.kind == AmpPiece::Kind::Unknown)
                m_findings.Add(At(each.source), "drops the unknown entity " + Quoted(piece.text));
            if (piece.kind == AmpPiece::Kind::Unterminated) {
                m_findings.Add(At(each.source),
                               "drops everything from " + Quoted(piece.text) + " on, which has no \";\"");
            }
        }
    }

    CXString m_name;
    const nvutil::PdlCommandFile& m_file;
    LineIndex m_lines;
    Findings& m_findings;
};

/// Checks the files that a model's properties name, and reads its command file unless that has been done.
class PathCheck {
public:
    PathCheck(const MapFileCheck& maps, Findings& findings) : m_maps(maps), m_findings(findings) {}

    void Check(ProductData& data) {
        const MappingData mapping = data.GetMapping();
        for (std::size_t i = 0; i < std::size(productkeys::byType); ++i) {
            const auto type = static_cast<ProductData::InfoType>(i);
            const WChar* const key = productkeys::byType[i].path;
            const CXString value = key != nullptr ? mapping.GetData(key) : CXString();
            if (value.IsEmpty()) continue;
            const Place place = m_maps.PlaceOfProperty(ViewOf(key + (NV_TEXT("=") + value)));
            const Place shown = place.line > 0 ? place : m_maps.PlaceOfModel(ViewOf(mapping.GetModel()));
            CXString path;
            if (!data.GetPath(type, path)) {
                m_findings.Add(shown, "the path leads out of the product data folder or to a device");
            } else if (std::error_code ignored;
                       !std::filesystem::exists(productfiles::PathOf(path), ignored)) {
                m_findings.Add(shown, "names a missing file: " + Quoted(ViewOf(value)));
            } else if (type == ProductData::InfoTypePdl && m_read.insert(Text(ViewOf(path))).second) {
                ReadCommands(path);
            }
        }
    }

private:
    void ReadCommands(const CXString& path) {
        m_findings.CountFile();
        ByteBuffer bytes;
        if (const std::error_code error = productfiles::ReadFile(productfiles::PathOf(path), bytes))
            return m_findings.Add({path, 0}, ReasonOf(error));
        const nvutil::PdlCommandFile file(productfiles::TextOf(bytes));
        CommandFileCheck(path, file, m_findings).Check();
    }

    const MapFileCheck& m_maps;
    Findings& m_findings;
    std::set<Text> m_read;
};

}  // namespace

ProductFindings CheckProductData(const CXString& folder, ProductData& data) {
    Findings findings;
    MapFileCheck maps(findings);
    const productfiles::MapFiles found = productfiles::FindMapFiles(productfiles::PathOf(folder));
    for (const std::filesystem::path& file : found.files)
        maps.Check(file);
    for (const productfiles::Skipped& skipped : found.skipped)
        findings.Add({productfiles::NameOf(skipped.path), 0}, ReasonOf(skipped.reason));

    KeyCheck keys(maps, findings);
    PathCheck paths(maps, findings);
    std::map<Text, CXString> byId;
    for (CXString model : data.GetModels()) {
        if (!data.ValidateModelInfo(model, false)) continue;
        if (keys.IsExhausted()) {
            findings.Add(maps.PlaceOfModel(ViewOf(model)),
                         "this model and those after it are not checked: there are too many properties");
            break;
        }
        const MappingData mapping = data.GetMapping();
        keys.Check(mapping);
        paths.Check(data);
        const CXString id = mapping.GetData(MappingData::usbProductIdKey);
        const auto [first, isNew] = byId.emplace(ViewOf(id), model);
        if (!isNew && !id.IsEmpty()) {
            findings.Add(maps.PlaceOfModel(ViewOf(model)),
                         "is never found by its USB product id, which model " + QuotedText(first->second) +
                             " has too");
        }
    }
    return findings.Take();
}
