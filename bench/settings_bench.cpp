// One read of a printer's settings, from the store to the parsed list, beside its parts alone; and look-ups
// through the reader beside those in the list.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "environment/devicesettingsmanager.h"
#include "environment/printer.h"
#include "settings.h"

namespace {

namespace fs = std::filesystem;

/// A printer in a store of this program's own, with the settings that all benchmarks share.
class BenchPrinter {
public:
    static Printer& Get() {
        static BenchPrinter only;
        return only.m_printer;
    }
    static ByteBuffer GetState() {
        ByteBuffer state;
        DWORD size = 0;
        DeviceSettingsManager(Get()).GetDeviceSettingsDataFromStorage(state, size);
        return state;
    }

private:
    BenchPrinter() : m_folder(MakeFolder()), m_printer(NV_TEXT("Bench"), Printer::Opening::MayBeNew) {
        AttributeBytesRawList list;
        list.ImportFromIndexedList(bench::Settings());
        DeviceSettingsManager(m_printer).SaveUpdatedDeviceSettingsFromDataModel(list);
    }
    ~BenchPrinter() { fs::remove_all(m_folder); }

    static fs::path MakeFolder() {
        fs::path folder =
            fs::temp_directory_path() / ("nvutil_bench_" + std::to_string(std::random_device{}()));
        setenv("NVUTIL_PRINTER_STORE", (folder / "printers.sqlite").c_str(), 1);
        return folder;
    }

    fs::path m_folder;
    Printer m_printer;
};

void ReadSettings(benchmark::State& run) {
    Printer& printer = BenchPrinter::Get();
    for (auto _ : run) {
        const DeviceSettingsManager manager(printer);
        benchmark::DoNotOptimize(&manager.GetAttributeBytesIndexedListRef());
    }
}
BENCHMARK(ReadSettings);

void ReadStoreAlone(benchmark::State& run) {
    const Printer& printer = BenchPrinter::Get();
    DWORD type = 0;
    ByteBuffer state;
    for (auto _ : run) {
        printer.GetPrinterDataW(DeviceSettingsManager::settingsValueName, type, state);
        benchmark::DoNotOptimize(state.data());
    }
}
BENCHMARK(ReadStoreAlone);

void ExpandAlone(benchmark::State& run) {
    const ByteBuffer state = BenchPrinter::GetState();
    PersistentAttributes::PersistentAttributesHeaderType header;
    ByteBuffer uncompressed;
    for (auto _ : run) {
        PersistentAttributes::GetComponentsFromStateDataBuffer(state, header, uncompressed);
        benchmark::DoNotOptimize(uncompressed.data());
    }
}
BENCHMARK(ExpandAlone);

void ParseAlone(benchmark::State& run) {
    PersistentAttributes::PersistentAttributesHeaderType header;
    ByteBuffer uncompressed;
    PersistentAttributes::GetComponentsFromStateDataBuffer(BenchPrinter::GetState(), header, uncompressed);
    for (auto _ : run) {
        AttributeBytesRawList raw;
        AttributeBytesNameSpaces(uncompressed)
            .GetNameSpaceAttributes(PersistentAttributes::GetDataModelDocPropNameSpaceId(), raw);
        AttributeBytesIndexedList list;
        list.ImportFromRawList(raw);
        benchmark::DoNotOptimize(list);
    }
}
BENCHMARK(ParseAlone);

void SaveSettings(benchmark::State& run) {
    DeviceSettingsManager manager(BenchPrinter::Get());
    LONG i = 0;
    for (auto _ : run) {  // the store writes nothing where nothing has changed
        manager.GetUpdatableAttributeBytesIndexedListRef().SetAttributeBytes(AttributeBytesFeatureId(1000),
                                                                             AttributeBytesIntegerValue(++i));
        manager.SaveUpdatedAttributeBytesIndexedList();
    }
}
BENCHMARK(SaveSettings);

template <class Look>
void LookUp(benchmark::State& run, Look look) {
    LONG i = 0;
    for (auto _ : run) {
        benchmark::DoNotOptimize(look(AttributeBytesFeatureId(1000 + 3 * i)));
        i = (i + 78) % (bench::attributeCount - 2);  // every sixth attribute is an integer
    }
}

void LookUpThroughTheReader(benchmark::State& run) {
    const DeviceSettingsManager manager(BenchPrinter::Get());
    const AttributeBytesReader& reader = manager;
    LookUp(run,
           [&](const AttributeBytesFeatureId& id) { return reader.GetIntegerValueFromAttributeBytes(id); });
}
BENCHMARK(LookUpThroughTheReader);

void LookUpInTheList(benchmark::State& run) {
    const DeviceSettingsManager manager(BenchPrinter::Get());
    const AttributeBytesIndexedList& list = manager.GetAttributeBytesIndexedListRef();
    LookUp(run, [&](const AttributeBytesFeatureId& id) { return list.GetIntegerValue(id); });
}
BENCHMARK(LookUpInTheList);

}  // namespace
