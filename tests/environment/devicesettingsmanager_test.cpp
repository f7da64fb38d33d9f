// DeviceSettingsManager: what is stored, when it is read, and what damage does.
#include "environment/devicesettingsmanager.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "environment/printer.h"
#include "support/bytes.h"
#include "support/platform/testprinter.h"
#include "support/throws.h"
#include "utilities/attributebytes/globalcaches.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

const AttributeBytesFeatureId feature(12);
const AttributeBytesFeatureId otherFeature(13);
const CXString settingsValue = NV_TEXT("NrvDeviceSettings");

class DeviceSettings : public testing::Test {
protected:
    DeviceSettings() : m_printer(m_test.GetName()) {}

    void Store(const ByteBuffer& state) {
        m_printer.SetPrinterDataExW(NV_TEXT("PrinterDriverData"), settingsValue, Printer::typeBinary, state);
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

ByteBuffer StateOf(const AttributeBytesNameSpaces& nameSpaces) {
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
    AttributeBytesNameSpaces nameSpaces;
    nameSpaces.SetNameSpaceAttributes(AttributeBytesNameSpacesId(1), ListOf(1));
    nameSpaces.SetNameSpaceAttributes(AttributeBytesNameSpacesId(2), ListOf(2));
    Store(StateOf(nameSpaces));
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
    AttributeBytesNameSpaces others;
    others.SetNameSpaceAttributes(AttributeBytesNameSpacesId(2), ListOf(2));
    AttributeBytesRawList twice = ListOf(1);
    twice.AddAttributeBytes(AttributeBytes(feature, AttributeBytesIntegerValue(2)));
    AttributeBytesNameSpaces repeated;
    repeated.SetNameSpaceAttributes(AttributeBytesNameSpacesId(1), twice);
    AttributeBytesNameSpaces good;
    good.SetNameSpaceAttributes(AttributeBytesNameSpacesId(1), ListOf(1));
    ByteBuffer cut = StateOf(good);
    cut.pop_back();

    struct Case {
        const char* exception;
        ByteBuffer state;
    };
    const Case cases[] = {
        {"ExceptionMissingOrBadPersistentAttributesFormat", {}},
        {"ExceptionMissingOrBadPersistentAttributesFormat", Bytes("10 00 00 00 01 00 07 20")},
        {"ExceptionMissingOrBadPersistentAttributesFormat", cut},
        {"ExceptionFeatureNotFound", StateOf(others)},
        {"ExceptionDuplicateAttributeId", StateOf(repeated)},
    };
    for (const Case& each : cases) {
        Store(each.state);
        DeviceSettingsManager manager(m_printer);
        for (int attempt = 0; attempt < 2; ++attempt) {
            try {
                manager.SaveUpdatedAttributeBytesIndexedList();
                ADD_FAILURE() << "nothing was thrown instead of " << each.exception;
            } catch (const NorvaException& e) {
                EXPECT_NE(Narrow(e.GetExceptionType()).find(each.exception), std::string::npos)
                    << Narrow(e.GetExceptionType());
            }
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
