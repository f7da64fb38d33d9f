// Checksums and hashes of 1 MiB, beside libdeflate and zlib.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstdint>

#include "nvutil.h"
#include "utilities/utilitiesdll/checksum.h"
#include "utilities/utilitiesdll/crc32.h"
#include "utilities/utilitiesdll/hash32.h"

namespace {

ByteBuffer Megabyte() {
    ByteBuffer data;
    data.resize(1U << 20);
    std::uint32_t random = 1;
    for (BYTE& byte : data)
        byte = static_cast<BYTE>((random = random * 1664525 + 1013904223) >> 24);
    return data;
}

template <class Function>
void Run(benchmark::State& run, Function function) {
    const ByteBuffer data = Megabyte();
    for (auto _ : run)
        benchmark::DoNotOptimize(function(data.getLpbyte(), data.getDword()));
    run.SetBytesProcessed(static_cast<std::int64_t>(run.iterations()) *
                          static_cast<std::int64_t>(data.size()));
}

void Crc(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return Crc32::GetCrc(bytes, length); });
}
BENCHMARK(Crc);

void CrcWithLibdeflate(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return libdeflate_crc32(0, bytes, length); });
}
BENCHMARK(CrcWithLibdeflate);

void CrcWithZlib(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return crc32(0, bytes, length); });
}
BENCHMARK(CrcWithZlib);

void Hash(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return Hash32::GetHash32(bytes, length); });
}
BENCHMARK(Hash);

void ChecksumOfWords(benchmark::State& run) {
    Run(run, Checksum::GetChecksum);
}
BENCHMARK(ChecksumOfWords);

}  // namespace
