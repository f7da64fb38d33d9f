// Map files beside reading them and the plain rules, look-ups of commands beside a walk, and AMP conversion.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "environment/modeltable.h"
#include "environment/pdlcommandfile.h"
#include "environment/productfiles.h"
#include "nvutil.h"

namespace {

/// A folder of this run, in memory where there is a place for such files.
class Folder {
public:
    Folder()
        : m_path((std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path()) /
                 std::filesystem::path("nvutil_productdata_bench")) {
        std::filesystem::create_directories(m_path);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(m_path); }

    std::filesystem::path Write(const char* name, std::string_view content) const {
        std::ofstream(m_path / name, std::ios::binary) << content;
        return m_path / name;
    }
    CXString GetName() const { return m_path.u16string().c_str(); }

private:
    std::filesystem::path m_path;
};

constexpr std::string_view properties =
    "CONTROLLERFAMILY:D\r\nCOMPANYNAME:NV\r\nPLATFORMVERSION:2.5\r\nCOLORCAPABLE:1\r\n"
    "PRINTERLANG:PCL5e,PCL6,PScript3\r\nFAMPATH:families\\office\r\nPDL:office.pdl\r\nHLK:office.hlk\r\n"
    "MARG:margins.txt\r\nNCAP:office.ncap\r\nPMM:office.pmm\r\nPSCOUT:office.ps\r\n";

/// A map file in which every tenth group is for all models.
std::string MapFile(benchmark::State& run) {
    std::string text;
    for (int i = 0; i < run.range(0); ++i) {
        const std::string number = std::to_string(1000000 + i * 7919 % 1000003);
        text.append("Model:Office Printer ").append(number).append("\r\nUSB_PRODUCT_ID:").append(number);
        text.append("\r\nRATEDSPEED:45\r\n").append(properties);
        if (i % 10 == 9)
            text.append("Model:ALL_MODELS\r\nFAMILYNAME:Office\r\nNOTE").append(number).append(":1\r\n");
    }
    return text;
}

void CountBytes(benchmark::State& run, std::size_t size) {
    run.SetBytesProcessed(static_cast<std::int64_t>(run.iterations()) * static_cast<std::int64_t>(size));
}

void ParseMapFile(benchmark::State& run) {
    const Folder folder;
    const std::string text = MapFile(run);
    const CXString name = folder.Write("a.map", text).u16string().c_str();
    ProductData data;
    for (auto _ : run)
        data.ParseMapFile(name);
    CountBytes(run, text.size());
}
BENCHMARK(ParseMapFile)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);

/// The least that reading a map file could do: every byte read once and looked at once.
void ReadAndCountLines(benchmark::State& run) {
    const Folder folder;
    const std::string text = MapFile(run);
    const std::filesystem::path path = folder.Write("a.map", text);
    for (auto _ : run) {
        const auto bytes = productfiles::ReadFile(path);
        benchmark::DoNotOptimize(std::count(bytes->begin(), bytes->end(), BYTE{'\n'}));
    }
    CountBytes(run, text.size());
}
BENCHMARK(ReadAndCountLines)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);

/// The plain rules: a text for each model, to which every group for all models appends.
void AppendToEveryModel(benchmark::State& run) {
    const std::string text = MapFile(run);
    const CXString wide = productfiles::TextOf(
        ByteBuffer(reinterpret_cast<const BYTE*>(text.data()), static_cast<DWORD>(text.size())));
    for (auto _ : run) {
        std::map<TextView, std::u16string> models;
        MapRecordReader reader(ViewOf(wide));
        TextView name;
        std::u16string block;
        const auto endGroup = [&] {
            if (name != u"ALL_MODELS") models[name] += block;
            for (auto& [model, data] : models) {
                if (name == u"ALL_MODELS") data += block;
            }
            block.clear();
        };
        for (MapRecord record; reader.Next(record);) {
            if (record.key == u"Model") {
                endGroup();
                name = record.value;
            } else {
                block.append(record.key).append(u"=").append(record.value).append(u";");
            }
        }
        endGroup();
        benchmark::DoNotOptimize(models.size());
    }
    CountBytes(run, text.size());
}
BENCHMARK(AppendToEveryModel)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);

void FindModelByUsbProductId(benchmark::State& run) {
    const Folder folder;
    folder.Write("a.map", MapFile(run));
    ProductData data(nullptr, folder.GetName(), ProductData::ModelTypeName, {});
    const CXString id = data.GetModels().back().Right(7);
    for (auto _ : run)
        benchmark::DoNotOptimize(data.ValidateUsbProductId(id));
}
BENCHMARK(FindModelByUsbProductId)->RangeMultiplier(10)->Range(10, 10000);

// Commands

constexpr int featureCount = 250;
constexpr int optionCount = 10;

std::string CommandFile() {
    std::string text;
    for (int f = 0; f < featureCount; ++f) {
        text += "<FeatureSet><Description>Feature number " + std::to_string(f) + "</Description>\n";
        for (int o = 0; o < optionCount; ++o) {
            text += "<FeatureItem><Description>Option number " + std::to_string(o) + "</Description>\n";
            for (const char* type : {"PCL5", "PCL6"}) {
                text.append("<PDLSet><PDL>")
                    .append(type)
                    .append("</PDL><Instruction>&esc;&amp;l26A</Instruction></PDLSet>\n");
            }
            text += "</FeatureItem>\n";
        }
        text += "</FeatureSet>\n";
    }
    return text;
}

void FindCommand(benchmark::State& run) {
    const Folder folder;
    folder.Write("a.map", "Model:A\nPDL:a.pdl\n");
    folder.Write("a.pdl", CommandFile());
    ProductData data(nullptr, folder.GetName(), ProductData::ModelTypeName, u"A");
    const CXString feature = run.range(0) == 0 ? u"Feature number 0" : u"Feature number 249";
    const CXString option = run.range(0) == 0 ? u"Option number 0" : u"Option number 9";
    run.SetLabel(run.range(0) == 0 ? "first" : "last");
    ByteBuffer out;
    for (auto _ : run) {
        if (!data.GetPDLCommand(feature, option, ProductData::PdlTypePcl6, out, nullptr, u"none"))
            run.SkipWithError("not found");
    }
}
BENCHMARK(FindCommand)->Arg(0)->Arg(1);

void WalkToCommand(benchmark::State& run) {
    const nvutil::PdlCommandFile file{CXString(CommandFile().c_str())};
    const auto wanted = [](const PdlInstruction& each) {
        return each.feature == u"Feature number 249" && each.option == u"Option number 9" &&
               each.type == ProductData::PdlTypePcl6 && each.qualifier.empty();
    };
    const auto& all = file.GetInstructions();
    run.SetLabel("last of " + std::to_string(all.size()));
    for (auto _ : run)
        benchmark::DoNotOptimize(std::find_if(all.begin(), all.end(), wanted));
}
BENCHMARK(WalkToCommand);

void ReadCommandFile(benchmark::State& run) {
    const std::string text = CommandFile();
    const CXString wide(text.c_str());
    for (auto _ : run)
        benchmark::DoNotOptimize(nvutil::PdlCommandFile(wide).GetInstructions().size());
    CountBytes(run, text.size());
}
BENCHMARK(ReadCommandFile)->Unit(benchmark::kMicrosecond);

// AMP

struct Instruction {
    const char* label;
    std::u16string_view text;
};
constexpr Instruction instructions[] = {
    {"PCL 5", u"&esc;E&esc;&amp;l26A&esc;&amp;l1H&esc;&amp;n6WdPlain&esc;*t600R&esc;&amp;l0o2e66F"},
    {"PJL",
     u"&esc;%-12345X@PJL JOB NAME=&quot;Monthly report&quot;&cr;&lf;@PJL SET DUPLEX=ON&cr;&lf;"
     u"@PJL SET BINDING=LONGEDGE&cr;&lf;@PJL ENTER LANGUAGE=PCL&cr;&lf;"},
    {"PCL XL",
     u"&ubyte;&eA4Paper;&attr_ubyte;&MediaSize;&ubyte;&eDuplexHorizontalBinding;&attr_ubyte;"
     u"&DuplexPageMode;&BeginPage;&sint16_xy;&OriginXY;&attr_ubyte;&PageOrigin;&SetPageOrigin;"},
};

void ConvertAmp(benchmark::State& run) {
    const Instruction& each = instructions[run.range(0)];
    run.SetLabel(each.label);
    std::u16string text;
    while (text.size() < (1 << 20))
        text += each.text;
    const CXString instruction(text.data(), static_cast<int>(text.size()));
    LONG context[] = {100, 200, 4960, 7016};
    ByteBuffer out;
    for (auto _ : run) {
        out.clear();
        ProductData::ConvertAmpCommands(instruction, out, context);
        benchmark::DoNotOptimize(out.data());
    }
    CountBytes(run, text.size());
}
BENCHMARK(ConvertAmp)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

}  // namespace
