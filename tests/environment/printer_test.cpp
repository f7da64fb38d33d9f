// Printer: values, what is absent and what fails, and users that come at the same time.
// DeviceSettingsManager: what is stored, when it is read, and what damage does.
#include "environment/printer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "environment/devicesettingsmanager.h"
#include "support/bytes.h"
#include "support/platform/testprinter.h"
#include "support/throws.h"
#include "utilities/attributebytes/globalcaches.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

const CXString key = Printer::driverDataKey;
const CXString name = NV_TEXT("Value");

ByteBuffer Read(const Printer& printer, const CXString& valueKey, const CXString& valueName) {
    DWORD type = 0;
    ByteBuffer data;
    EXPECT_TRUE(printer.GetPrinterDataExW(valueKey, valueName, type, data));
    return data;
}

TEST(Printer, GivesBackWhatWasStored) {
    const TestPrinter test;
    Printer printer(test.GetName());
    const struct {
        const WChar* key;
        const WChar* name;
        DWORD type;
        ByteBuffer data;
    } cases[] = {
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Bytes"), Printer::typeBinary, Bytes("00 FF 00 80 7F")},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Number"), Printer::typeDword, Bytes("78 56 34 12")},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Text"), Printer::typeString, Bytes("41 00 00 00")},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Nothing"), Printer::typeBinary, {}},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Um\u00FC 100% 'quoted\""), Printer::typeBinary, {1}},
        {NV_TEXT("PrinterDriverData"), NV_TEXT("Large"), Printer::typeBinary, ByteBuffer(300000, 7)},
        {NV_TEXT("Another key"), NV_TEXT("Bytes"), Printer::typeBinary, {2}},
    };
    for (const auto& each : cases)
        printer.SetPrinterDataExW(each.key, each.name, each.type, each.data);
    const Printer reader(test.GetName());
    for (const auto& each : cases) {
        SCOPED_TRACE(Narrow(each.name));
        DWORD type = 0;
        ByteBuffer data{9, 9};
        EXPECT_TRUE(reader.GetPrinterDataExW(each.key, each.name, type, data));
        EXPECT_EQ(type, each.type);
        EXPECT_TRUE(data == each.data);
    }
    EXPECT_EQ(Hex(Read(reader, key, NV_TEXT("BYTES"))), "00 FF 00 80 7F") << "names have no case";

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

    const std::string unknown =
        MessageOf<ExceptionPrinterFailure>([] { Printer(NV_TEXT("No such printer")); });
    EXPECT_TRUE(unknown.starts_with("printer \"No such printer\": ")) << unknown;
    EXPECT_NE(unknown.find(" (error 1801)"), std::string::npos) << unknown;
    EXPECT_THROW(Printer{CXString()}, ExceptionPrinterFailure);
    int notAPrinter = 0;
    for (const HANDLE handle : {HANDLE{nullptr}, static_cast<HANDLE>(&notAPrinter)}) {
        const std::string message = MessageOf<ExceptionInvalidPrinterHandle>([=] { Printer{handle}; });
        EXPECT_TRUE(message.starts_with("printers: ") && message.ends_with(" (error 6)")) << message;
    }
    const CXString withZero(NV_TEXT("a\0b"), 3);
    EXPECT_EQ(MessageOf<ExceptionInvalidArgument>([&] {
                  printer.GetPrinterDataW(withZero, type, data);
              }).find("a name has a zero in it: a"),
              0u);
    EXPECT_EQ(MessageOf<ExceptionInvalidArgument>([&] {
                  printer.SetPrinterDataExW(key, name, Printer::typeBinary,
                                            ByteBuffer(Printer::largestValue + 1));
              }),
              "printer \"" + Narrow(test.GetName()) + "\": a value of " +
                  std::to_string(Printer::largestValue + 1) + " bytes is too large");
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
                                      ByteBuffer(length, static_cast<BYTE>(length)));
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

// Device settings

const AttributeBytesFeatureId feature(12);
const AttributeBytesFeatureId otherFeature(13);
const CXString settingsValue = NV_TEXT("NrvDeviceSettings");

class DeviceSettings : public testing::Test {
protected:
    DeviceSettings() : m_printer(m_test.GetName()) {}

    void Store(const ByteBuffer& state) {
        m_printer.SetPrinterDataExW(key, settingsValue, Printer::typeBinary, state);
    }
    ByteBuffer GetStored() const { return m_test.ReadDirectly(settingsValue); }
    LONG GetStoredNumber() {
        return DeviceSettingsManager(m_printer).GetIntegerValueFromAttributeBytes(feature);
    }

    TestPrinter m_test;
    Printer m_printer;
};

AttributeBytesRawList ListOf(LONG number) {
    AttributeBytesRawList list;
    list.AddAttributeBytes(AttributeBytes(feature, AttributeBytesIntegerValue(number)));
    return list;
}

ByteBuffer StateOf(const std::map<LONG, AttributeBytesRawList>& lists) {
    AttributeBytesNameSpaces nameSpaces;
    for (const auto& [number, list] : lists)
        nameSpaces.SetNameSpaceAttributes(AttributeBytesNameSpacesId(number), list);
    return PersistentAttributes(nameSpaces).GetPersistentAttributesState();
}

TEST_F(DeviceSettings, AreEmptyUntilTheyAreSaved) {
    DeviceSettingsManager manager(m_printer);
    AttributeBytesRawList raw = ListOf(1);
    ByteBuffer data{1};
    DWORD size = 7;
    EXPECT_TRUE(manager.IsAttributeBytesListEmpty());
    EXPECT_FALSE(manager.GetDeviceSettingsRawListForDataModel(raw));
    EXPECT_FALSE(manager.GetDeviceSettingsDataFromStorage(data, size));
    EXPECT_TRUE(raw == ListOf(1) && data == ByteBuffer{1} && size == 7) << "outputs stay";

    manager.SaveUpdatedDeviceSettingsFromDataModel(ListOf(300));
    EXPECT_TRUE(manager.GetDeviceSettingsRawListForDataModel(raw));
    EXPECT_TRUE(raw == ListOf(300));
    EXPECT_TRUE(manager.GetDeviceSettingsDataFromStorage(data, size));
    EXPECT_EQ(data, GetStored());
    EXPECT_EQ(size, data.size());
    DWORD type = 0;
    EXPECT_TRUE(m_printer.GetPrinterDataExW(NV_TEXT("PrinterDriverData"), settingsValue, type, data));
    EXPECT_EQ(type, 3u);
    EXPECT_TRUE(manager.IsAttributeBytesListEmpty()) << "the list that was handed out stays";
    EXPECT_EQ(GetStoredNumber(), 300);
}

TEST_F(DeviceSettings, AreReadOnceAndSavedWhenAsked) {
    DeviceSettingsManager manager(m_printer);
    manager.SaveUpdatedDeviceSettingsFromDataModel(ListOf(1));  // before the first question
    const AttributeBytesIndexedList& list = manager.GetAttributeBytesIndexedListRef();
    EXPECT_EQ(list.GetIntegerValue(feature), 1);
    DeviceSettingsManager(m_printer).SaveUpdatedDeviceSettingsFromDataModel(ListOf(2));
    EXPECT_EQ(&manager.GetAttributeBytesIndexedListRef(), &list);
    EXPECT_EQ(manager.GetIntegerValueFromAttributeBytes(feature), 1);

    manager.GetUpdatableAttributeBytesIndexedListRef().SetAttributeBytes(otherFeature,
                                                                         AttributeBytesIntegerValue(5));
    EXPECT_EQ(GetStoredNumber(), 2) << "nothing is saved before it is asked for";
    manager.SaveUpdatedAttributeBytesIndexedList();
    const DeviceSettingsManager reader(m_printer);
    EXPECT_EQ(reader.GetIntegerValueFromAttributeBytes(feature), 1);
    EXPECT_EQ(reader.GetIntegerValueFromAttributeBytes(otherFeature), 5);

    DeviceSettingsManager(m_printer).SaveUpdatedAttributeBytesIndexedList();
    EXPECT_EQ(GetStoredNumber(), 1) << "a list that was not read yet is read before it is saved";
}

TEST_F(DeviceSettings, AreNamespaceOneAndNoOther) {
    Store(StateOf({{1, ListOf(1)}, {2, ListOf(2)}}));
    EXPECT_EQ(GetStoredNumber(), 1);
    DeviceSettingsManager(m_printer).SaveUpdatedAttributeBytesIndexedList();
    const AttributeBytesNameSpaces saved = PersistentAttributes(GetStored()).GetAttributeBytesNameSpaces();
    EXPECT_EQ(saved.GetCount(), 1u);
    EXPECT_TRUE(saved.Exists(AttributeBytesNameSpacesId(1)));
}

TEST_F(DeviceSettings, TellTheirChecksum) {
    const DeviceSettingsManager manager(m_printer);
    DWORD crc = 7;
    EXPECT_FALSE(manager.GetDeviceSettingsCrcOnly(crc));
    const CXString checksum = NV_TEXT("NrvDeviceSettingsCrc");
    m_printer.SetPrinterDataExW(Printer::driverDataKey, checksum, Printer::typeBinary, Bytes("01 02 03"));
    EXPECT_THROW(manager.GetDeviceSettingsCrcOnly(crc), ExceptionNotEnoughBytesForDesiredDataType);
    EXPECT_EQ(crc, 7u);
    m_printer.SetPrinterDataExW(Printer::driverDataKey, checksum, Printer::typeDword, Bytes("26 39 F4 CB"));
    EXPECT_TRUE(manager.GetDeviceSettingsCrcOnly(crc));
    EXPECT_EQ(crc, 0xCBF43926);
}

TEST_F(DeviceSettings, ThatAreDamagedAreRefusedAndStay) {
    AttributeBytesRawList twice = ListOf(1);
    twice.AddAttributeBytes(AttributeBytes(feature, AttributeBytesIntegerValue(2)));
    ByteBuffer cut = StateOf({{1, ListOf(1)}});
    cut.pop_back();

    const struct {
        const char* exception;
        ByteBuffer state;
    } cases[] = {
        {"ExceptionMissingOrBadPersistentAttributesFormat", {}},
        {"ExceptionMissingOrBadPersistentAttributesFormat", Bytes("10 00 00 00 01 00 07 20")},
        {"ExceptionMissingOrBadPersistentAttributesFormat", cut},
        {"ExceptionFeatureNotFound", StateOf({{2, ListOf(2)}})},
        {"ExceptionDuplicateAttributeId", StateOf({{1, twice}})},
    };
    for (const auto& each : cases) {
        Store(each.state);
        DeviceSettingsManager manager(m_printer);
        for (int attempt = 0; attempt < 2; ++attempt) {
            std::string thrown = "nothing";
            try {
                manager.SaveUpdatedAttributeBytesIndexedList();
            } catch (const NorvaException& e) {
                thrown = Narrow(e.GetExceptionType());
            }
            EXPECT_EQ(thrown, std::string("class ") + each.exception);
        }
        EXPECT_EQ(GetStored(), each.state);
    }
}

// The capacities are documented: 8 printers, 32 lists, 32 bags.
TEST_F(DeviceSettings, AreCachedForTheEightPrintersUsedLast) {
    std::thread([&] {
        auto& cache = UtilitiesDllPerThreadStorage::GetDeviceSettingsManagerCache();
        for (LONG i = 0; i < 9; ++i) {
            if (i == 8) {
                EXPECT_NE(cache.Find(NV_TEXT("Printer 0")), nullptr);
            }
            cache.Add(FormatText(NV_TEXT("Printer %ld"), i),
                      std::make_shared<DeviceSettingsManager>(m_printer));
        }
        EXPECT_NE(cache.Find(NV_TEXT("Printer 0")), nullptr);
        EXPECT_EQ(cache.Find(NV_TEXT("Printer 1")), nullptr);
        EXPECT_EQ(Narrow(GlobalCaches::GetCacheStatisticsDisplayString()),
                  "DeviceSettingsManagerCache: 8 of 8 entries, 2 hits, 1 misses, 1 evictions\r\n");
    }).join();
}

}  // namespace
