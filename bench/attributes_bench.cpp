// Reading, writing and finding 200 attributes, beside the attributes of the Internet Printing Protocol in
// libcups.
#include <benchmark/benchmark.h>
#include <cups/ipp.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "settings.h"

namespace {

using Ipp = std::unique_ptr<ipp_t, decltype(&ippDelete)>;

std::string IppName(int i) {
    return "feature-" + std::to_string(1000 + 3 * i);
}

/// The same settings as a peer holds them.
Ipp IppSettings() {
    Ipp ipp(ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES), &ippDelete);
    for (int i = 0; i < bench::attributeCount; ++i) {
        const std::string name = IppName(i);
        switch (i % 6) {
            case 1:
                ippAddBoolean(ipp.get(), IPP_TAG_PRINTER, name.c_str(), i % 4 == 1);
                break;
            case 3:
                ippAddRange(ipp.get(), IPP_TAG_PRINTER, name.c_str(), 1, i);
                break;
            case 4:
                ippAddResolution(ipp.get(), IPP_TAG_PRINTER, name.c_str(), IPP_RES_PER_INCH, 600, 1200);
                break;
            default:
                ippAddInteger(ipp.get(), IPP_TAG_PRINTER, IPP_TAG_INTEGER, name.c_str(), i * 37);
        }
    }
    return ipp;
}

struct Memory {
    std::vector<unsigned char> bytes;
    std::size_t position = 0;
};

ssize_t ReadMemory(void* context, ipp_uchar_t* buffer, std::size_t size) {
    auto& memory = *static_cast<Memory*>(context);
    size = std::min(size, memory.bytes.size() - memory.position);
    std::memcpy(buffer, memory.bytes.data() + memory.position, size);
    memory.position += size;
    return static_cast<ssize_t>(size);
}

ssize_t WriteMemory(void* context, ipp_uchar_t* buffer, std::size_t size) {
    auto& memory = *static_cast<Memory*>(context);
    memory.bytes.insert(memory.bytes.end(), buffer, buffer + size);
    return static_cast<ssize_t>(size);
}

void WriteIpp(ipp_t* ipp, Memory& memory) {
    memory.bytes.clear();
    ippSetState(ipp, IPP_STATE_IDLE);
    while (ippWriteIO(&memory, WriteMemory, 1, nullptr, ipp) == IPP_STATE_ATTRIBUTE) {
    }
}

void ReadAttributes(benchmark::State& run) {
    ByteBuffer state;
    bench::Settings().GetAttributeBytesIndexedListState(state);
    for (auto _ : run) {
        AttributeBytesIndexedList list(state);
        benchmark::DoNotOptimize(list);
    }
}
BENCHMARK(ReadAttributes);

void ReadAttributesWithLibcups(benchmark::State& run) {
    Memory memory;
    WriteIpp(IppSettings().get(), memory);
    for (auto _ : run) {
        memory.position = 0;
        const Ipp ipp(ippNew(), &ippDelete);
        while (ippReadIO(&memory, ReadMemory, 1, nullptr, ipp.get()) == IPP_STATE_ATTRIBUTE) {
        }
        benchmark::DoNotOptimize(ipp.get());
    }
}
BENCHMARK(ReadAttributesWithLibcups);

void WriteAttributes(benchmark::State& run) {
    const AttributeBytesIndexedList list = bench::Settings();
    ByteBuffer state;
    for (auto _ : run) {
        list.GetAttributeBytesIndexedListState(state);
        benchmark::DoNotOptimize(state.data());
    }
}
BENCHMARK(WriteAttributes);

void WriteAttributesWithLibcups(benchmark::State& run) {
    const Ipp ipp = IppSettings();
    Memory memory;
    for (auto _ : run) {
        WriteIpp(ipp.get(), memory);
        benchmark::DoNotOptimize(memory.bytes.data());
    }
}
BENCHMARK(WriteAttributesWithLibcups);

void FindAttribute(benchmark::State& run) {
    const AttributeBytesIndexedList list = bench::Settings();
    LONG i = 0;
    for (auto _ : run) {
        benchmark::DoNotOptimize(list.GetAttributeBytesPtr(AttributeBytesFeatureId(1000 + 3 * i)));
        i = (i + 77) % bench::attributeCount;
    }
}
BENCHMARK(FindAttribute);

void FindAttributeWithLibcups(benchmark::State& run) {
    const Ipp ipp = IppSettings();
    std::vector<std::string> names;
    names.reserve(bench::attributeCount);
    for (int i = 0; i < bench::attributeCount; ++i)
        names.push_back(IppName(i));
    std::size_t i = 0;
    for (auto _ : run) {
        benchmark::DoNotOptimize(ippFindAttribute(ipp.get(), names[i].c_str(), IPP_TAG_ZERO));
        i = (i + 77) % names.size();
    }
}
BENCHMARK(FindAttributeWithLibcups);

void CopyIndexedList(benchmark::State& run) {
    const AttributeBytesIndexedList list = bench::Settings();
    for (auto _ : run) {
        AttributeBytesIndexedList copy(list);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyIndexedList);

void AddToRawList(benchmark::State& run) {
    const AttributeBytes record(AttributeBytesFeatureId(7), AttributeBytesIntegerValue(300));
    AttributeBytesRawList list;
    for (auto _ : run) {
        list.DeleteAllAttributeBytes();  // keeps the room
        for (int i = 0; i < bench::attributeCount; ++i)
            list.AddAttributeBytes(record);
        benchmark::DoNotOptimize(list);
    }
}
BENCHMARK(AddToRawList);

}  // namespace
