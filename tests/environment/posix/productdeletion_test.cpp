// Maintenance of product data where there are links and where the printer store can delete: links in product
// data folders are deleted and never what they lead to, and values of unused models are gone.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <vector>

#include "environment/productdata.h"
#include "environment/productfolder.h"
#include "support/platform/testprinter.h"

namespace {

namespace fs = std::filesystem;

TEST(ProductLinks, AreDeletedButNotFollowed) {
    const ProductFolder folder;
    folder.Write("outside/file", "kept");
    folder.Write("Product Data/orphan/a.map", "");
    const fs::path root = fs::path(folder.GetPath()) / "Product Data";
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
    folder.Write("Product Data/used/a.map", "Model:A\nX:1\n");
    fs::create_directory_symlink("Product Data/used", fs::path(folder.GetPath()) / "alias");
    const TestPrinter testPrinter;
    const Printer printer(testPrinter.GetName());
    const ProductData data(printer.GetHandle(), folder.NameOf("alias"), ProductData::ModelTypeName, {});
    EXPECT_TRUE(ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), false).empty());
}

TEST(ProductValues, AreDeletedForModelsThatNoPrinterUses) {
    const ProductFolder folder;
    folder.Write("all.map", "Model:A\nModel:B\nModel:C\nX:1\n");
    const TestPrinter testPrinter;
    const Printer printer(testPrinter.GetName());
    const ProductData data(printer.GetHandle(), folder.GetName(), ProductData::ModelTypeName, NV_TEXT("B"));
    EXPECT_TRUE(ProductData::DeleteOrphanedPerPrinterRegKeys(false).empty());
    folder.Write("all.map", "X:1\n");
    EXPECT_EQ(ProductData::DeleteOrphanedPerPrinterRegKeys(false).size(), 2u);
    EXPECT_TRUE(ProductData::DeleteOrphanedPerPrinterRegKeys(false).empty());
    const std::vector<CXString> left = printer.EnumeratePrinterDataExW(Printer::driverDataKey);
    EXPECT_EQ(std::set<CXString>(left.begin(), left.end()),
              (std::set<CXString>{NV_TEXT("PDMap-B"), NV_TEXT("ProductDataMappings"),
                                  NV_TEXT("xUPDCurrentModel")}));
}

}  // namespace
