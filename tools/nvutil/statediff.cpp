// The differences between two states.
#include "nvutil/statediff.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "nvutil/attributenames.h"
#include "nvutil/statejson.h"
#include "nvutil/text.h"
#include "utilities/attributebytes/attributebytes.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

using Record = SharedPtr<AttributeBytes>;

/// A list's records by their names, which tell apart records of one identifier by a count.
class NamedRecords {
public:
    explicit NamedRecords(const AttributeBytesRawList& list) {
        std::map<std::string, unsigned> counts;
        for (auto it = list.GetRawListIterator(); list.IsValidRawListIterator(it);) {
            const Record record = list.GetNextAttributeBytesFromRawListIterator(it);
            std::string name = DisplayOfId(record->GetAttributeBytesId());
            const unsigned count = ++counts[name];
            if (count > 1) name += " #" + std::to_string(count);
            m_places.emplace(name, m_records.size());
            m_records.push_back({name, record});
        }
    }

    struct Named {
        std::string name;
        Record record;
    };
    const std::vector<Named>& GetAll() const { return m_records; }
    const Named* Find(const std::string& name) const {
        const auto found = m_places.find(name);
        return found != m_places.end() ? &m_records[found->second] : nullptr;
    }

private:
    std::vector<Named> m_records;
    std::map<std::string, std::size_t> m_places;
};

std::string DisplayWithFlag(const AttributeBytesValue& value) {
    const std::string text =
        std::string(NameOfValueKind(value.GetAttributeBytesValueType())) + ' ' + DisplayOfValue(value);
    return value.IsSpecified() ? text : text + " (unspecified)";
}

class Differ {
public:
    explicit Differ(std::ostream& out) : m_out(out) {}

    void Compare(const StateContents& before, const StateContents& after) {
        if (!(before.version == after.version))
            Print('~', "driver version", VersionText(before.version) + " -> " + VersionText(after.version));
        std::map<LONG, std::pair<const NameSpace*, const NameSpace*>> pairs;
        for (const NameSpace& nameSpace : before.nameSpaces)
            pairs[nameSpace.number].first = &nameSpace;
        for (const NameSpace& nameSpace : after.nameSpaces)
            pairs[nameSpace.number].second = &nameSpace;
        for (const auto& [number, pair] : pairs)
            CompareNameSpaces("namespace " + std::to_string(number), pair.first, pair.second);
    }

    std::size_t GetCount() const { return m_count; }

private:
    void Print(char sign, const std::string& path, const std::string& text) {
        ++m_count;
        m_out << sign << ' ' << path << ": " << text << '\n';
    }

    void CompareNameSpaces(const std::string& path, const NameSpace* before, const NameSpace* after) {
        if (before == nullptr) {
            Print('+', path, DisplayOfNameSpace(*after));
        } else if (after == nullptr) {
            Print('-', path, DisplayOfNameSpace(*before));
        } else {
            if (before->listType != after->listType || before->isSpecified != after->isSpecified)
                Print('~', path, DisplayOfNameSpace(*before) + " -> " + DisplayOfNameSpace(*after));
            CompareLists(path, before->attributes, after->attributes, 0);
        }
    }

    void CompareLists(const std::string& path, const AttributeBytesRawList& before,
                      const AttributeBytesRawList& after, int depth) {
        if (before == after) return;
        if (depth > deepestNesting) {
            NV_THROW(ExceptionInvalidArgument, "WriteStateDiff", __LINE__,
                     NV_TEXT("lists are nested more than %d levels deep"), deepestNesting);
        }
        const std::size_t countBefore = m_count;
        const NamedRecords old(before);
        const NamedRecords current(after);
        const std::string prefix = path + " / ";
        for (const auto& [name, record] : old.GetAll()) {
            const auto* const match = current.Find(name);
            const AttributeBytesValue& value = record->GetAttributeBytesValue();
            if (match == nullptr) {
                Print('-', prefix + name, DisplayWithFlag(value));
            } else {
                CompareValues(prefix + name, value, match->record->GetAttributeBytesValue(), depth);
            }
        }
        for (const auto& [name, record] : current.GetAll()) {
            if (old.Find(name) == nullptr)
                Print('+', prefix + name, DisplayWithFlag(record->GetAttributeBytesValue()));
        }
        if (m_count == countBefore) Print('~', path, DescribeSilentDifference(old, current));
    }

    /// Why two lists of equal attributes have different bytes.
    static std::string DescribeSilentDifference(const NamedRecords& before, const NamedRecords& after) {
        const auto sameName = [](const auto& left, const auto& right) { return left.name == right.name; };
        const bool isSameOrder = std::equal(before.GetAll().begin(), before.GetAll().end(),
                                            after.GetAll().begin(), after.GetAll().end(), sameName);
        return isSameOrder ? "equal attributes in different bytes" : "the same attributes in another order";
    }

    void CompareValues(const std::string& path, const AttributeBytesValue& before,
                       const AttributeBytesValue& after, int depth) {
        const bool areLists = before.IsList() && after.IsList();
        const bool isSame = areLists ? HaveSameHead(before, after) : HaveSameContent(before, after);
        if (!isSame) Print('~', path, DisplayOfChange(before, after));
        if (areLists)
            CompareLists(path, before.GetListValue().GetValue(), after.GetListValue().GetValue(), depth + 1);
    }

    static bool HaveSameHead(const AttributeBytesValue& before, const AttributeBytesValue& after) {
        return before.IsSpecified() == after.IsSpecified() &&
               before.GetListValue().GetListType() == after.GetListValue().GetListType();
    }

    // Not IsEqual, which deliberately takes some different times and lengths for equal.
    static bool HaveSameContent(const AttributeBytesValue& before, const AttributeBytesValue& after) {
        return before.GetAttributeBytesValueType() == after.GetAttributeBytesValueType() &&
               before.IsSpecified() == after.IsSpecified() && WriteValueJson(before) == WriteValueJson(after);
    }

    static std::string DisplayOfChange(const AttributeBytesValue& before, const AttributeBytesValue& after) {
        const std::string oldText = DisplayWithFlag(before);
        const std::string newText = DisplayWithFlag(after);
        // Only the beginning of a data blob is displayed.
        return oldText != newText ? oldText + " -> " + newText : oldText + " (other bytes behind these)";
    }

    std::ostream& m_out;
    std::size_t m_count = 0;
};

}  // namespace

std::size_t WriteStateDiff(const StateContents& before, const StateContents& after, std::ostream& out) {
    Differ differ(out);
    differ.Compare(before, after);
    return differ.GetCount();
}
