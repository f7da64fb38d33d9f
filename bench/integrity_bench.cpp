// CRC-32 of few and of many bytes, beside libdeflate and zlib; hash and checksum of 1 MiB.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstdint>

#include "nvutil.h"
#include "utilities/utilitiesdll/checksum.h"
#include "utilities/utilitiesdll/crc32.h"
#include "utilities/utilitiesdll/hash32.h"

namespace {

constexpr std::int64_t megabyte = 1 << 20;

ByteBuffer RandomBytes(std::int64_t size) {
    ByteBuffer data;
    data.resize(static_cast<std::size_t>(size));
    std::uint32_t random = 1;
    for (BYTE& byte : data)
        byte = static_cast<BYTE>((random = random * 1664525 + 1013904223) >> 24);
    return data;
}

void Sizes(benchmark::internal::Benchmark* each) {
    for (const std::int64_t size :
         {std::int64_t{64}, std::int64_t{256}, std::int64_t{2600}, std::int64_t{65536}, megabyte})
        each->Arg(size);
}

template <class Function>
void Run(benchmark::State& run, Function function) {
    const ByteBuffer data = RandomBytes(run.range(0));
    for (auto _ : run)
        benchmark::DoNotOptimize(function(data.getLpbyte(), data.getDword()));
    run.SetBytesProcessed(static_cast<std::int64_t>(run.iterations()) *
                          static_cast<std::int64_t>(data.size()));
}

void Crc(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return Crc32::GetCrc(bytes, length); });
}
BENCHMARK(Crc)->Apply(Sizes);

void CrcWithLibdeflate(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return libdeflate_crc32(0, bytes, length); });
}
BENCHMARK(CrcWithLibdeflate)->Apply(Sizes);

void CrcWithZlib(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return crc32(0, bytes, length); });
}
BENCHMARK(CrcWithZlib)->Apply(Sizes);

void Hash(benchmark::State& run) {
    Run(run, [](const BYTE* bytes, DWORD length) { return Hash32::GetHash32(bytes, length); });
}
BENCHMARK(Hash)->Arg(megabyte);

void ChecksumOfWords(benchmark::State& run) {
    Run(run, Checksum::GetChecksum);
}
BENCHMARK(ChecksumOfWords)->Arg(megabyte);

}  // namespace
