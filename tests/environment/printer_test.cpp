// Printer: values, what is absent and what fails, and users that come at the same time.
#include "environment/printer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "support/bytes.h"
#include "support/platform/testprinter.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

const CXString key = Printer::driverDataKey;
const CXString name = NV_TEXT("Value");

ByteBuffer BytesOfLength(std::size_t length, BYTE value) {
    return ByteBuffer(length, value);
}

ByteBuffer Read(const Printer& printer, const CXString& valueKey, const CXString& valueName) {
    DWORD type = 0;
    ByteBuffer data;
    EXPECT_TRUE(printer.GetPrinterDataExW(valueKey, valueName, type, data));
    return data;
}

TEST(Printer, GivesBackWhatWasStored) {
    const TestPrinter test;
    Printer printer(test.GetName());
    struct Case {
        const WChar* key;
        const WChar* name;
        DWORD type;
        ByteBuffer data;
    };
    const Case cases[] = {
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Bytes"), Printer::typeBinary, Bytes("00 FF 00 80 7F")},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Number"), Printer::typeDword, Bytes("78 56 34 12")},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Text"), Printer::typeString, Bytes("41 00 00 00")},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Nothing"), Printer::typeBinary, {}},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Um\u00FC 100% 'quoted\""), Printer::typeBinary, {1}},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Large"), Printer::typeBinary, BytesOfLength(300000, 7)},
        {NV_TEXT("Another key"), NV_TEXT("Bytes"), Printer::typeBinary, {2}},
    };
    for (const Case& each : cases)
        printer.SetPrinterDataExW(each.key, each.name, each.type, each.data);
    const Printer reader(test.GetName());
    for (const Case& each : cases) {
        SCOPED_TRACE(Narrow(each.name));
        DWORD type = 0;
        ByteBuffer data{9, 9};
        EXPECT_TRUE(reader.GetPrinterDataExW(each.key, each.name, type, data));
        EXPECT_EQ(type, each.type);
        EXPECT_TRUE(data == each.data);
    }
    DWORD type = 0;
    ByteBuffer data;
    EXPECT_TRUE(reader.GetPrinterDataW(NV_TEXT("BYTES"), type, data)) << "names have no case";
    EXPECT_EQ(Hex(data), "00 FF 00 80 7F");

    printer.SetPrinterDataExW(key, NV_TEXT("bytes"), Printer::typeDword, {1, 0, 0, 0});
    EXPECT_EQ(Hex(Read(reader, key, NV_TEXT("Bytes"))), "01 00 00 00") << "the one value is replaced";
    EXPECT_EQ(reader.EnumeratePrinterDataExW(key).size(), std::size(cases) - 1);
}

TEST(Printer, TellsAbsentFromFailed) {
    const TestPrinter test;
    Printer printer(test.GetName());
    DWORD type = 77;
    ByteBuffer data{1};
    EXPECT_FALSE(printer.GetPrinterDataW(name, type, data));
    EXPECT_FALSE(printer.GetPrinterDataExW(NV_TEXT("No such key"), name, type, data));
    EXPECT_EQ(type, 77u);
    EXPECT_EQ(data, ByteBuffer{1});
    EXPECT_TRUE(printer.EnumeratePrinterDataExW(NV_TEXT("No such key")).empty());
    UtcTime time;
    EXPECT_FALSE(printer.GetPrinterDataTime(key, name, time));

    EXPECT_THROW(Printer(NV_TEXT("No such printer")), ExceptionPrinterFailure);
    EXPECT_THROW(Printer{CXString()}, ExceptionPrinterFailure);
    EXPECT_THROW(Printer{HANDLE{nullptr}}, ExceptionInvalidPrinterHandle);
    int notAPrinter = 0;
    EXPECT_THROW(Printer{static_cast<HANDLE>(&notAPrinter)}, ExceptionInvalidPrinterHandle);
    const CXString withZero(NV_TEXT("a\0b"), 3);
    EXPECT_THROW(printer.GetPrinterDataW(withZero, type, data), ExceptionInvalidArgument);
    EXPECT_THROW(
        printer.SetPrinterDataExW(key, name, Printer::typeBinary, ByteBuffer(Printer::largestValue + 1)),
        ExceptionInvalidArgument);
    EXPECT_FALSE(printer.GetPrinterDataW(name, type, data));
}

TEST(Printer, ServesHandlesAndIsListed) {
    const TestPrinter first;
    const TestPrinter second;
    Printer opened(first.GetName());
    {
        Printer wrapped(opened.GetHandle());
        EXPECT_EQ(wrapped.GetName(), first.GetName());
        wrapped.SetPrinterDataExW(key, name, Printer::typeBinary, {5});
    }
    EXPECT_EQ(Read(opened, key, name), ByteBuffer{5}) << "a wrapped handle stays open";
    const std::vector<CXString> all = Printer::EnumeratePrinters();
    EXPECT_EQ(std::count(all.begin(), all.end(), first.GetName()), 1);
    EXPECT_EQ(std::count(all.begin(), all.end(), second.GetName()), 1);
}

TEST(Printer, ReadsAValueWholeWhileItsSizeChanges) {
    const TestPrinter test;
    std::atomic<bool> isOver = false;
    std::thread writer([&] {
        Printer printer(test.GetName());
        for (std::size_t i = 0; !isOver; ++i) {
            const std::size_t length = 1 + i * 7919 % 60000;
            printer.SetPrinterDataExW(key, name, Printer::typeBinary,
                                      BytesOfLength(length, static_cast<BYTE>(length)));
        }
    });
    const Printer printer(test.GetName());
    DWORD type = 0;
    ByteBuffer data;
    for (int reads = 0; reads < 300;) {
        if (!printer.GetPrinterDataW(name, type, data)) continue;  // not written yet
        ++reads;
        const auto whole = static_cast<BYTE>(data.size());
        EXPECT_TRUE(std::all_of(data.begin(), data.end(), [&](BYTE byte) { return byte == whole; }));
    }
    isOver = true;
    writer.join();
}

// What eight users count up at the same time must lose no step.
TEST(PrinterDataUpdate, LetsOneUserAtATimeChangeAPrinter) {
    constexpr int users = 8;
    constexpr int steps = 20;
    const TestPrinter test;
    Printer(test.GetName()).SetPrinterDataExW(key, name, Printer::typeDword, {0, 0, 0, 0});
    std::vector<std::thread> threads;
    for (int user = 0; user < users; ++user) {
        threads.emplace_back([&] {
            Printer printer(test.GetName());
            for (int step = 0; step < steps; ++step) {
                PrinterDataUpdate update(printer);
                const LONG count = Read(printer, key, name).getAsLongValue();
                printer.SetPrinterDataExW(key, name, Printer::typeDword,
                                          ByteBuffer::createFromLongValue(count + 1));
                update.Commit();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Read(Printer(test.GetName()), key, name).getAsLongValue(), users * steps);
}

TEST(PrinterDataUpdate, EndsWithItsScope) {
    const TestPrinter test;
    Printer printer(test.GetName());
    { const PrinterDataUpdate abandoned(printer); }
    PrinterDataUpdate update(printer);
    update.Commit();
    update.Commit();  // has nothing left to do
    std::thread([&] {
        Printer other(test.GetName());
        const PrinterDataUpdate next(other);
    }).join();
}

}  // namespace
