// Any bytes as a map file, beside a reader that keeps a text for each model and appends to it.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "environment/mappingdata.h"
#include "environment/modeltable.h"
#include "environment/productfiles.h"
#include "expect.h"

namespace {

using Text = std::u16string;

struct Group {
    std::vector<Text> names;
    Text block;
};

std::vector<Group> ReadGroups(TextView file) {
    std::vector<Group> groups;
    MapRecordReader reader(file);
    for (MapRecord record; reader.Next(record);) {
        FUZZ_EXPECT(!record.key.empty() && !record.value.empty());
        if (record.key == u"Model") {
            if (groups.empty() || !groups.back().block.empty()) groups.emplace_back();
            groups.back().names.emplace_back(record.value);
        } else if (!groups.empty()) {
            groups.back().block.append(record.key).append(u"=").append(record.value).append(u";");
        }
    }
    return groups;
}

/// Models in their order with their properties, made by the plain rules.
std::vector<std::pair<Text, Text>> ReadSlowly(TextView file) {
    std::vector<std::pair<Text, Text>> models;
    for (const Group& group : ReadGroups(file)) {
        const bool endsWithAll = group.names.back() == u"ALL_MODELS";
        for (const Text& name : group.names) {
            bool isKnown = name == u"ALL_MODELS";
            for (auto& [model, data] : models) {
                if (name == u"ALL_MODELS" || (model == name && !endsWithAll)) data += group.block;
                isKnown = isKnown || model == name;
            }
            if (!isKnown) models.emplace_back(name, endsWithAll ? Text() : group.block);
        }
    }
    return models;
}

void CheckValues(const nvutil::ModelTable& table, const char16_t* key) {
    std::map<Text, std::size_t> first;
    for (std::size_t i = 0; i < table.GetCount(); ++i) {
        const CXString value = MappingData({}, StringOf(table.GetData(i))).GetData(key);
        first.emplace(ViewOf(value), i);
        const auto found = table.FindByValue(key, ViewOf(value));
        FUZZ_EXPECT(table.GetDataLength(i) == 0 || (found && *found <= first[Text(ViewOf(value))]));
        if (!value.IsEmpty()) FUZZ_EXPECT(found == first[Text(ViewOf(value))]);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 4096) return 0;  // the plain rules take time that grows with the square
    const CXString file = productfiles::TextOf(ByteBuffer(data, static_cast<DWORD>(size)));
    const nvutil::ModelTable table(ViewOf(file));
    const auto expected = ReadSlowly(ViewOf(file));
    FUZZ_EXPECT(table.GetCount() == expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        FUZZ_EXPECT(table.GetModel(i) == expected[i].first);
        FUZZ_EXPECT(table.GetData(i) == expected[i].second);
        FUZZ_EXPECT(table.GetDataLength(i) == expected[i].second.size());
        FUZZ_EXPECT(table.Find(expected[i].first) == i);
    }
    CheckValues(table, u"X");
    CheckValues(table, u"PDL");
    return 0;
}
