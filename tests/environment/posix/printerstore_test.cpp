// The store of printers off Windows: where it is, what it survives and how it fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "environment/printer.h"
#include "support/narrow.h"
#include "support/platform/posix/process.h"
#include "support/temporaryfolder.h"
#include "utilities/base/formattext.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

namespace fs = std::filesystem;

const CXString printerName = NV_TEXT("Plaza");
const CXString key = Printer::driverDataKey;
const CXString name = NV_TEXT("Value");

/// Every test has a folder of its own, and in it the store.
class PrinterStore : public testing::Test {
protected:
    static void Store(Printer& printer, const ByteBuffer& data, const CXString& valueName = name) {
        printer.SetPrinterDataExW(key, valueName, Printer::typeBinary, data);
    }
    static void Write(const ByteBuffer& data, const CXString& printer = printerName) {
        Printer opened(printer, Printer::Opening::MayBeNew);
        Store(opened, data);
    }
    /// Empty when it is absent.
    static ByteBuffer Read(const Printer& printer = Printer(printerName)) {
        DWORD type = 0;
        ByteBuffer data;
        printer.GetPrinterDataW(name, type, data);
        return data;
    }
    std::string ReadStore() const { return ReadWholeFile(m_file); }
    void WriteStore(const std::string& bytes) const { WriteWholeFile(m_file, bytes); }

    /// Expects a failure whose message names the store.
    template <class Action>
    void ExpectFailure(Action action) const {
        try {
            action();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const ExceptionPrinterFailure& failure) {
            EXPECT_NE(Narrow(failure.GetExceptionMesage()).find(m_file), std::string::npos)
                << Narrow(failure.GetExceptionMesage());
        }
    }

    TemporaryFolder m_parent;
    fs::path m_folder = m_parent / "store";
    std::string m_file = (m_folder / "new" / "folders" / "printers.sqlite").string();
    EnvironmentScope m_choice{"NVUTIL_PRINTER_STORE", m_file.c_str()};
};

TEST_F(PrinterStore, HoldsAPrinterFromItsFirstValueToItsLast) {
    EXPECT_THROW(Printer{printerName}, ExceptionPrinterFailure);
    EXPECT_TRUE(Printer::EnumeratePrinters().empty());
    Printer printer(printerName, Printer::Opening::MayBeNew);
    EXPECT_EQ(Read(printer), ByteBuffer());
    EXPECT_FALSE(printer.DeletePrinterDataExW(key, name));
    EXPECT_FALSE(fs::exists(m_folder)) << "reading makes no store";

    Store(printer, {1});
    EXPECT_EQ(Printer::EnumeratePrinters(), std::vector{printerName});
    EXPECT_EQ(Narrow(Printer(NV_TEXT("PLAZA")).GetName()), "PLAZA") << "names have no case";
    EXPECT_TRUE(printer.DeletePrinterDataExW(key, name));
    EXPECT_FALSE(printer.DeletePrinterDataExW(key, name));
    EXPECT_TRUE(Printer::EnumeratePrinters().empty());
    EXPECT_THROW(Printer{printerName}, ExceptionPrinterFailure);
}

TEST_F(PrinterStore, TakesBackAnUpdateThatIsNotCommitted) {
    Write({1});
    Printer printer(printerName);
    {
        const PrinterDataUpdate update(printer);
        Store(printer, {2}, NV_TEXT("VALUE"));
        EXPECT_EQ(Read(), ByteBuffer{1}) << "others see the former value meanwhile";
        EXPECT_EQ(Read(printer), ByteBuffer{2});
        Store(printer, {3}, NV_TEXT("New"));
        EXPECT_TRUE(printer.DeletePrinterDataExW(key, name));
        EXPECT_FALSE(printer.DeletePrinterDataExW(key, name));
        EXPECT_EQ(Read(printer), ByteBuffer());
        EXPECT_EQ(printer.EnumeratePrinterDataExW(key), std::vector<CXString>{NV_TEXT("New")});
    }
    EXPECT_EQ(Read(), ByteBuffer{1});
}

TEST_F(PrinterStore, HoldsUpOnlyThoseWhoChangeThePrinterThatIsUpdated) {
    Write({1});
    Printer printer(printerName);
    auto update = std::make_unique<PrinterDataUpdate>(printer);
    Write({5}, NV_TEXT("Other"));  // does not wait
    std::thread writer([] { Write({9}, NV_TEXT("PLAZA")); });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(Read(), ByteBuffer{1});
    Store(printer, {2});
    update->Commit();
    writer.join();
    EXPECT_EQ(Read(), ByteBuffer{9});
}

TEST_F(PrinterStore, IsMadeByManyProcessesAtOnce) {
    std::vector<std::unique_ptr<Child>> makers;
    for (int i = 0; i < 8; ++i) {
        makers.push_back(std::make_unique<Child>([&, i] {
            Printer printer(printerName, Printer::Opening::MayBeNew);
            Store(printer, {1}, FormatText(NV_TEXT("Value %d"), i));
            return true;
        }));
    }
    for (const auto& maker : makers)
        EXPECT_TRUE(maker->Succeeds());
    EXPECT_EQ(Printer(printerName).EnumeratePrinterDataExW(key).size(), 8u);
}

TEST_F(PrinterStore, SurvivesTheDeathOfItsMaker) {
    for (int microseconds = 0; microseconds < 30'000; microseconds += 1000) {
        fs::remove_all(m_folder);
        Child maker([]() -> bool {
            for (;;)
                Write({1});
        });
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
        EXPECT_TRUE(maker.Kill());
        Write({2});
        EXPECT_EQ(Read(), ByteBuffer{2});
    }
}

TEST_F(PrinterStore, BelongsToItsUserAlone) {
    Write({1});
    EXPECT_EQ(ModeOf(m_file), 0600u);
    EXPECT_EQ(ModeOf(fs::path(m_file).parent_path()), 0700u);
    EXPECT_EQ(ModeOf(m_folder), 0700u);

    // A store that its owner shares is locked by all who share it.
    ASSERT_TRUE(fs::remove(m_file + "-lock"));
    fs::permissions(m_file, fs::perms(0662));
    Write({1});
    EXPECT_EQ(ModeOf(m_file + "-lock"), 0662u);
}

TEST_F(PrinterStore, IsTheFileThatHasItsName) {
    Write({1});
    Printer printer(printerName);
    EXPECT_EQ(Read(printer), ByteBuffer{1});
    fs::rename(m_file, m_file + ".old");
    EXPECT_EQ(Read(printer), ByteBuffer());
    Write({2});
    EXPECT_EQ(Read(printer), ByteBuffer{2});
    fs::rename(m_file + ".old", m_file);
    Store(printer, {3}, NV_TEXT("Other"));
    EXPECT_EQ(Read(), ByteBuffer{1});
    EXPECT_EQ(printer.EnumeratePrinterDataExW(key).size(), 2u);
}

TEST_F(PrinterStore, IsFreeWhenTheUpdaterDiesAndItsChildLives) {
    Write({1});
    const fs::path begun = m_folder / "begun";
    Child updater([&] {
        Printer printer(printerName);
        const PrinterDataUpdate update(printer);
        const std::ofstream mark(begun);
        Child heir([&] {
            const std::ofstream ready(begun.string() + "-child");
            while (fs::exists(begun))
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            return true;
        });
        return heir.Succeeds();
    });
    while (!fs::exists(begun.string() + "-child"))
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(updater.Kill());
    const auto start = std::chrono::steady_clock::now();
    Write({2});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    fs::remove(begun);
}

TEST_F(PrinterStore, StandsInTheUsersStateFolder) {
    const EnvironmentScope noChoice("NVUTIL_PRINTER_STORE", nullptr);
    const fs::path home = m_folder / "home";
    const EnvironmentScope homeScope("HOME", home.c_str());
    for (const char* const stateHome : {static_cast<const char*>(nullptr), "not/absolute"}) {
        const EnvironmentScope state("XDG_STATE_HOME", stateHome);
        Write({1});
        EXPECT_TRUE(fs::remove(home / ".local/state/nvutil/printers.sqlite"));
    }
    const EnvironmentScope state("XDG_STATE_HOME", m_folder.c_str());
    Write({1});
    EXPECT_TRUE(fs::exists(m_folder / "nvutil/printers.sqlite"));
}

// The header's fields are those of the database's published format.
const struct {
    const char* what;
    void (*apply)(std::string& store);
} damages[] = {
    {"not a database", [](std::string& store) { store = "settings of printers, but as text"; }},
    {"a wrong mark", [](std::string& store) { store[0] = 'X'; }},
    {"another application's", [](std::string& store) { store[70] = 0; }},
    {"a newer schema", [](std::string& store) { store[63] = 2; }},
    {"a schema that is not known", [](std::string& store) { store[63] = 0; }},
    {"another table",
     [](std::string& store) { store.replace(store.find("TEXT NOT NULL"), 13, "TEXT NOT  NUL"); }},
    {"texts in UTF-16", [](std::string& store) { store[59] = 2; }},
    {"cut in its first page", [](std::string& store) { store.resize(300); }},
    {"pages of garbage",
     [](std::string& store) { std::fill(store.begin() + 4096, store.end(), static_cast<char>(0xFF)); }},
};

TEST_F(PrinterStore, ThatIsDamagedIsRefusedAndLeftAlone) {
    Write(ByteBuffer(10000, 7));
    const std::string sound = ReadStore();
    for (const auto& damage : damages) {
        SCOPED_TRACE(damage.what);
        std::string store = sound;
        damage.apply(store);
        WriteStore(store);
        ExpectFailure([] { const Printer printer(printerName); });
        ExpectFailure([] { Printer::EnumeratePrinters(); });
        ExpectFailure([] { Write({1}); });
        EXPECT_TRUE(ReadStore() == store);
    }
    WriteStore(sound);
    EXPECT_EQ(Read(), ByteBuffer(10000, 7));
}

TEST_F(PrinterStore, ThatCannotBeOpenedIsRefused) {
    fs::create_directories(m_file);
    ExpectFailure([] { const Printer printer(printerName); });
    ExpectFailure([] { Write({1}); });
    fs::remove(m_file);
    std::ofstream(m_folder / "file") << "no folder";
    fs::create_symlink("loop", m_folder / "loop");
    for (const std::string& folder : {std::string("file"), std::string("loop"), std::string(300, 'x')}) {
        m_file = (m_folder / folder / "printers.sqlite").string();
        const EnvironmentScope choice("NVUTIL_PRINTER_STORE", m_file.c_str());
        ExpectFailure([] { Write({1}); });
    }
    m_file = "no working folder.sqlite";
    EXPECT_TRUE(Child([&] {
                    const EnvironmentScope choice("NVUTIL_PRINTER_STORE", m_file.c_str());
                    fs::create_directory(m_folder / "gone");
                    fs::current_path(m_folder / "gone");
                    fs::remove(m_folder / "gone");
                    ExpectFailure([] { Write({1}); });
                    return !HasFailure();
                }).Succeeds());
}

TEST_F(PrinterStore, KnowsWhenAValueWasWrittenAndNoHandleThatWasClosed) {
    Write({1});
    UtcTime time;
    EXPECT_TRUE(Printer(printerName).GetPrinterDataTime(key, name, time));
    constexpr std::int64_t year2024 = 1704067200;
    EXPECT_GT(time.GetTime64Value(), year2024);
    const HANDLE closed = Printer(printerName).GetHandle();
    const Printer next(printerName);
    EXPECT_THROW(Printer{closed}, ExceptionInvalidPrinterHandle);
}

TEST_F(PrinterStore, ThatIsReadOnlyCanStillBeRead) {
    m_file = (m_folder / "100%3F?#" / "printers.sqlite").string();
    const EnvironmentScope choice("NVUTIL_PRINTER_STORE", m_file.c_str());
    Write({1});
    const fs::path folder = fs::path(m_file).parent_path();
    fs::permissions(m_folder, fs::perms(0755));
    fs::permissions(m_file, fs::perms(0444));
    fs::permissions(folder, fs::perms(0555));
    const std::string store = ReadStore();
    const auto readAsAnother = [&] {
        return Child([&] {
                   if (!GiveUpPrivileges()) return false;
                   ExpectFailure([] { Write({2}); });
                   if (Printer(printerName).DeletePrinterDataExW(key, NV_TEXT("None"))) return false;
                   const FileSizeLimit fullDisk(0);
                   return !HasFailure() && Read() == ByteBuffer{1};
               })
            .Succeeds();
    };
    EXPECT_TRUE(readAsAnother());
    EXPECT_TRUE(ReadStore() == store);
    fs::permissions(folder, fs::perms(0755));
    EXPECT_TRUE(readAsAnother());
    Write({1});  // nothing that another left is in the way
    std::ofstream(m_file + "-journal") << "changes";
    fs::permissions(folder, fs::perms(0555));
    EXPECT_FALSE(readAsAnother()) << "what is not in the file yet must not be missed";
    fs::permissions(folder, fs::perms(0755));
}

TEST_F(PrinterStore, ThatIsFullKeepsWhatItHas) {
    Write({1});
    {
        const FileSizeLimit limit(200'000);
        ExpectFailure([] { Write(ByteBuffer(1'000'000, 2)); });
        EXPECT_EQ(Read(), ByteBuffer{1});
        ExpectFailure([] {
            Printer printer(printerName);
            PrinterDataUpdate update(printer);
            Store(printer, {3});
            Store(printer, ByteBuffer(1'000'000, 2), NV_TEXT("Other"));
            update.Commit();
        });
        EXPECT_EQ(Read(), ByteBuffer{1});
    }
    Write(ByteBuffer(1'000'000, 2));
    EXPECT_EQ(Read(), ByteBuffer(1'000'000, 2));
}

TEST_F(PrinterStore, IsUsedOnBothSidesOfAFork) {
    Write({1});
    Printer printer(printerName);
    EXPECT_EQ(Read(printer), ByteBuffer{1});
    EXPECT_TRUE(Child([&] {
                    const bool isRead = Read(printer) == ByteBuffer{1};
                    Store(printer, {2});
                    return isRead && Read(printer) == ByteBuffer{2};
                }).Succeeds());
    EXPECT_EQ(Read(printer), ByteBuffer{2});

    PrinterDataUpdate update(printer);
    Store(printer, {3});
    EXPECT_TRUE(Child([&] {
                    try {
                        Read(printer);
                        return false;  // the update is the parent's
                    } catch (const ExceptionInvalidPrinterHandle&) {
                        return true;
                    }
                }).Succeeds());
    update.Commit();
    EXPECT_EQ(Read(printer), ByteBuffer{3});
}

}  // namespace
