// Maintenance of product data where there are links and where the printer store can delete: links in product
// data folders are deleted and never what they lead to, and values of unused models are gone.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <vector>

#include "environment/productdata.h"
#include "environment/productfolder.h"
#include "support/platform/testprinter.h"
#include "support/throws.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

namespace fs = std::filesystem;

TEST(ProductLinks, AreDeletedButNotFollowed) {
    const ProductFolder folder;
    folder.Write("outside/file", "kept");
    folder.Write("Product Data/orphan/a.map", "");
    const fs::path root = folder.PathOf("Product Data");
    fs::create_directory_symlink("../../outside", root / "orphan" / "folder");
    fs::create_symlink("../../outside/file", root / "orphan" / "file");
    fs::create_directory_symlink("../outside", root / "link");
    const TestPrinter printer;  // sees to a store of the test's own
    EXPECT_EQ(ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), false),
              std::vector<CXString>{folder.NameOf("Product Data/orphan")});
    EXPECT_FALSE(fs::exists(root / "orphan"));
    EXPECT_TRUE(fs::exists(root / "link" / "file"));

    fs::remove(root / "link");
    fs::remove(root);
    fs::create_directory_symlink("outside", root);
    fs::create_directory(root / "folder");
    EXPECT_TRUE(ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), false).empty());
    EXPECT_TRUE(fs::exists(root / "folder"));
}

TEST(ProductLinks, LeadToFoldersInUse) {
    const ProductFolder folder;
    folder.Write("Product Data/used/deep/a.map", "Model:A\nX:1\n");
    folder.Write("Product Data/\xFF/a.map", "Model:A\nX:1\n");
    const fs::path alias = folder.PathOf("alias");
    const TestPrinter testPrinter;
    Printer printer(testPrinter.GetName());
    const auto deleteOrphans = [&folder] {
        return ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), true).size();
    };
    // What no text can name is in use or stays all the same.
    for (const std::string target : {"Product Data/used", "Product Data/used/deep", "Product Data/\xFF"}) {
        const std::size_t orphans = target.ends_with("\xFF") ? 1 : 0;
        fs::create_directory_symlink(target, alias);
        ProductData data(printer.GetHandle(), folder.NameOf("alias"), ProductData::ModelTypeName, {});
        EXPECT_EQ(data.GetModels().size(), 1u) << target;
        EXPECT_EQ(deleteOrphans(), orphans) << target;
        // As a printer has it that was told of its folder long ago.
        StoreText(printer, NV_TEXT("ProductDataMappings"), folder.NameOf("alias"));
        EXPECT_EQ(deleteOrphans(), orphans) << target;
        fs::remove(alias);
    }
    EXPECT_EQ(deleteOrphans(), 1u) << "the printer's folder is gone";
    StoreText(printer, NV_TEXT("ProductDataMappings"), folder.NameOf("Product Data/former"));
    const std::string message = MessageOf<ExceptionPrinterFailure>(deleteOrphans);  // it may be "used" now
    EXPECT_TRUE(message.starts_with(Narrow(testPrinter.GetName()) + ": the printer's product data folder ") &&
                message.find("/former cannot be found: ") != std::string::npos)
        << message;
    StoreText(printer, NV_TEXT("ProductDataMappings"), folder.NameOf("alias"));
    fs::create_directory_symlink("missing", alias);
    EXPECT_THROW(deleteOrphans(), ExceptionPrinterFailure) << "who knows where it led";
}

TEST(ProductFolders, AreDeletedWhateverTheNamesInThem) {
    const ProductFolder folder;
    std::string deep;
    for (int i = 0; i < 70; ++i)
        deep += "/d";
    folder.Write("Product Data/a" + deep + "/file", "");
    for (const char* const name : {"b\xFF", "b\xEF\xBF\xBD", "\xF0\x9F\x98\x80\x80", "\xC3", "\xE2\x82"})
        folder.Write(std::string("Product Data/b/") + name + "/" + name, "");
    folder.Write("Product Data/\xFF/kept", "");
    const TestPrinter printer;  // sees to a store of the test's own
    EXPECT_THROW(ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), false),
                 ExceptionOperatingSystemFailure);
    const fs::path root = folder.PathOf("Product Data");
    EXPECT_TRUE(fs::exists(root / "a"));
    EXPECT_FALSE(fs::exists(root / "b")) << "what cannot be deleted is in the way of no other";
    EXPECT_TRUE(fs::exists(root / "\xFF" / "kept"));
}

TEST(ProductValues, AreDeletedForModelsThatNoPrinterUses) {
    const ProductFolder folder;
    folder.Write("all.map", "Model:A\nModel:B\nModel:C\nX:1\n");
    const TestPrinter testPrinter;
    Printer printer(testPrinter.GetName());
    const ProductData data = folder.Read("B", printer.GetHandle());
    EXPECT_TRUE(ProductData::DeleteOrphanedPerPrinterRegKeys(false).empty());
    folder.Write("all.map", "X:1\n");
    const fs::path path = folder.GetPath();
    const auto countOrphans = [] { return ProductData::DeleteOrphanedPerPrinterRegKeys(true).size(); };
    // What cannot be read might name every model.
    fs::rename(path, path.string() + "-away");
    EXPECT_EQ(countOrphans(), 0u);
    fs::rename(path.string() + "-away", path);
    fs::create_symlink("missing", path / "b.map");
    EXPECT_EQ(countOrphans(), 0u);
    fs::remove(path / "b.map");
    folder.Write("large.map", "");
    fs::resize_file(path / "large.map", std::uintmax_t{ProductData::largestFile} + 1);
    EXPECT_EQ(countOrphans(), 0u);
    fs::remove(path / "large.map");
    EXPECT_EQ(ProductData::DeleteOrphanedPerPrinterRegKeys(false).size(), 2u);
    EXPECT_TRUE(ProductData::DeleteOrphanedPerPrinterRegKeys(false).empty());
    const std::vector<CXString> left = printer.EnumeratePrinterDataExW(Printer::driverDataKey);
    EXPECT_EQ(std::set<CXString>(left.begin(), left.end()),
              (std::set<CXString>{NV_TEXT("PDMap-B"), NV_TEXT("ProductDataMappings"),
                                  NV_TEXT("xUPDCurrentModel")}));

    // What is kept is found again without the folder, as far as it is text.
    const auto isFound = [&printer] {
        return ProductData(printer.GetHandle(), {}, ProductData::ModelTypeName, {}).IsValidated();
    };
    EXPECT_TRUE(isFound());
    StoreText(printer, NV_TEXT("xUPDCurrentModel"), NV_TEXT("B"), Printer::typeBinary);
    EXPECT_FALSE(isFound());
}

}  // namespace
