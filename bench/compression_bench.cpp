// Compressing and expanding a printer's settings, beside the bare compressors.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <memory>
#include <vector>

#include "settings.h"

namespace {

constexpr int deflateLevel = 6;  // what the library compresses with

std::vector<BYTE> Deflated(const ByteBuffer& data) {
    auto* compressor = libdeflate_alloc_compressor(deflateLevel);
    std::vector<BYTE> out(data.size() + 64);
    out.resize(libdeflate_deflate_compress(compressor, data.data(), data.size(), out.data(), out.size()));
    libdeflate_free_compressor(compressor);
    return out;
}

void Store(benchmark::State& run) {
    const ByteBuffer data = bench::SettingsState();
    for (auto _ : run) {
        CabCompressedBuffer buffer;
        buffer.Store(data);
        benchmark::DoNotOptimize(buffer.GetCompressedBufferStateLpbyte());
    }
    run.counters["bytes"] = static_cast<double>(data.size());
}
BENCHMARK(Store);

void CompressWithLibdeflate(benchmark::State& run) {
    const ByteBuffer data = bench::SettingsState();
    auto* compressor = libdeflate_alloc_compressor(deflateLevel);
    std::vector<BYTE> out(data.size() + 64);
    for (auto _ : run) {
        benchmark::DoNotOptimize(
            libdeflate_deflate_compress(compressor, data.data(), data.size(), out.data(), out.size()));
    }
    libdeflate_free_compressor(compressor);
}
BENCHMARK(CompressWithLibdeflate);

void CompressWithZlib(benchmark::State& run) {
    const ByteBuffer data = bench::SettingsState();
    std::vector<BYTE> out(compressBound(data.size()));
    for (auto _ : run) {
        uLongf size = out.size();
        compress2(out.data(), &size, data.data(), data.size(), deflateLevel);
        benchmark::DoNotOptimize(size);
    }
}
BENCHMARK(CompressWithZlib);

void Expand(benchmark::State& run) {
    CabCompressedBuffer buffer;
    buffer.Store(bench::SettingsState());
    ByteBuffer out;
    for (auto _ : run) {
        buffer.GetOriginalData(out);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(Expand);

void ExpandWithLibdeflate(benchmark::State& run) {
    const ByteBuffer data = bench::SettingsState();
    const std::vector<BYTE> compressed = Deflated(data);
    auto* decompressor = libdeflate_alloc_decompressor();
    std::vector<BYTE> out(data.size());
    for (auto _ : run) {
        benchmark::DoNotOptimize(libdeflate_deflate_decompress(
            decompressor, compressed.data(), compressed.size(), out.data(), out.size(), nullptr));
    }
    libdeflate_free_decompressor(decompressor);
}
BENCHMARK(ExpandWithLibdeflate);

void ExpandWithZlib(benchmark::State& run) {
    const ByteBuffer data = bench::SettingsState();
    std::vector<BYTE> compressed(compressBound(data.size()));
    uLongf compressedSize = compressed.size();
    compress2(compressed.data(), &compressedSize, data.data(), data.size(), deflateLevel);
    std::vector<BYTE> out(data.size());
    for (auto _ : run) {
        uLongf size = out.size();
        uncompress(out.data(), &size, compressed.data(), compressedSize);
        benchmark::DoNotOptimize(size);
    }
}
BENCHMARK(ExpandWithZlib);

void SaveSettings(benchmark::State& run) {
    AttributeBytesRawList list;
    list.ImportFromIndexedList(bench::Settings());
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(PersistentAttributes::GetDataModelDocPropNameSpaceId(), list);
    for (auto _ : run) {
        const PersistentAttributes saved(nameSpaces);
        benchmark::DoNotOptimize(saved.GetPersistentAttributesStateSize());
    }
}
BENCHMARK(SaveSettings);

void LoadSettings(benchmark::State& run) {
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.ImportAttributeBytesNameSpacesState(bench::SettingsState());
    const ByteBuffer state = PersistentAttributes(nameSpaces).GetPersistentAttributesState();
    for (auto _ : run) {
        const PersistentAttributes loaded(state);
        AttributeBytesRawList list;
        loaded.GetAttributeBytesListForNameSpace(PersistentAttributes::GetDataModelDocPropNameSpaceId(),
                                                 list);
        AttributeBytesIndexedList settings;
        settings.ImportFromRawList(list);
        benchmark::DoNotOptimize(settings);
    }
}
BENCHMARK(LoadSettings);

}  // namespace
