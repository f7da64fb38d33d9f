// ProductData: cabinets of product files, and what no installed printer uses.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "environment/productdata.h"
#include "environment/productfolder.h"
#include "support/cabinetbuilder.h"
#include "support/narrow.h"
#include "support/platform/testprinter.h"
#include "support/throws.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using cabinettest::StoredFile;
namespace fs = std::filesystem;

/// The paths below a folder of what is there, with "/" between names and in their order.
std::vector<std::string> List(const ProductFolder& folder) {
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(folder.GetPath())) {
        if (!entry.is_directory())
            paths.push_back(entry.path().lexically_relative(folder.GetPath()).generic_string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::vector<std::string> Relative(const ProductFolder& folder, const std::vector<CXString>& paths) {
    std::vector<std::string> texts;
    for (const CXString& path : paths)
        texts.push_back(fs::path(Narrow(path)).lexically_relative(folder.GetPath()).generic_string());
    return texts;
}

using Names = std::vector<std::string>;

TEST(ProductCabinets, GoWhereTheirNamesSay) {
    const ProductFolder source;
    source.Write("Product.CAB", StoredFile("family\\a.map", "Model:A\n"));
    source.Write("sub/DTDs.cab", StoredFile("settings.dtd", "<!ELEMENT a EMPTY>"));
    source.Write("sub/jar.Cab", StoredFile("tools.jar", "PK"));
    source.Write("sub/other.cab", StoredFile("inner.cab", StoredFile("never", "x")));
    source.Write("sub/no.cab.txt", "text");
    const Names cabinets = {"Product.CAB", "sub/DTDs.cab", "sub/jar.Cab", "sub/other.cab"};
    const Names files = {"family/a.map", "sub/DTDs/settings.dtd", "sub/V5.0/tools.jar", "sub/inner.cab"};

    const ProductFolder target;
    EXPECT_FALSE(ProductData::HasProductCabBeenExtracted(source.NameOf("Product.CAB"), target.GetName()));
    EXPECT_EQ(Relative(source, ProductData::UnpackCabFilesInAllDirectoriesRecursively(source.GetName(),
                                                                                      target.GetName())),
              cabinets);
    EXPECT_EQ(List(target), files);
    EXPECT_TRUE(ProductData::HasProductCabBeenExtracted(source.NameOf("Product.CAB"), target.GetName()));
    EXPECT_FALSE(ProductData::HasProductCabBeenExtracted(source.NameOf("sub/no.cab.txt"), target.GetName()));
    EXPECT_FALSE(ProductData::HasProductCabBeenExtracted(source.NameOf("none.cab"), target.GetName()));

    Names all = {"sub/no.cab.txt"};
    all.insert(all.end(), cabinets.begin(), cabinets.end());
    all.insert(all.end(), files.begin(), files.end());
    std::sort(all.begin(), all.end());
    ProductData::UnpackCabFilesInAllDirectoriesRecursively(source.GetName());
    EXPECT_EQ(List(source), all) << "beside the cabinets";
}

TEST(ProductCabinets, EndAtTheFirstThatIsRefused) {
    const ProductFolder folder;
    folder.Write("a.cab", StoredFile("a", "1"));
    folder.Write("b.cab", StoredFile("..\\b", "2"));
    folder.Write("c.cab", StoredFile("c", "3"));
    const auto unpack = [](const ProductFolder& each) {
        return [&each] { ProductData::UnpackCabFilesInAllDirectoriesRecursively(each.GetName()); };
    };
    EXPECT_NE(MessageOf<ExceptionCompression>(unpack(folder)).find("b.cab: the name ..\\b"),
              std::string::npos);
    EXPECT_EQ(List(folder), (Names{"a", "a.cab", "b.cab", "c.cab"}));
    const ProductFolder replaced;
    replaced.Write("a.cab", StoredFile("sub\\B.cab", "4"));
    replaced.Write("sub/B.cab", StoredFile("b", "5"));
    const std::string message = MessageOf<ExceptionFileOperationCompression>(unpack(replaced));
    EXPECT_NE(message.find("a.cab: sub"), std::string::npos) << message;
    EXPECT_NE(message.find("would replace the cabinet"), std::string::npos) << message;
    EXPECT_EQ(List(replaced), (Names{"a.cab", "sub/B.cab"}));
    EXPECT_THROW(ProductData::UnpackCabFilesInAllDirectoriesRecursively(folder.NameOf("none")),
                 ExceptionOperatingSystemFailure);
    const ProductFolder deep;
    std::string path;
    for (int depth = 2; depth <= 64; ++depth)
        path += "d/";
    deep.Write(path + "a.cab", StoredFile("a", "1"));
    EXPECT_EQ(ProductData::UnpackCabFilesInAllDirectoriesRecursively(deep.GetName()).size(), 1u);
    deep.Write(path + "d/b.cab", StoredFile("b", "2"));
    EXPECT_THROW(unpack(deep)(), ExceptionOperatingSystemFailure);
}

/// Makes a printer use the product data of a folder.
void Use(const TestPrinter& testPrinter, const ProductFolder& folder, const std::string& name,
         const CXString& model) {
    const Printer printer(testPrinter.GetName());
    const ProductData data(printer.GetHandle(), folder.NameOf(name), ProductData::ModelTypeName, model);
    EXPECT_EQ(data.IsValidated(), !model.IsEmpty());
}

TEST(ProductDataMaintenance, DeletesFoldersThatNoPrinterUses) {
    const ProductFolder folder;
    for (const char* const name : {"used", "holds/used", "orphan", "orphan/deep/er", "a second", "file"})
        folder.Write(std::string("Product Data/") + name + "/a.map", "Model:A\nX:1\n");
    folder.Write("Product Data/readme.txt", "stays");
    folder.Write("other/a.map", "Model:A\nX:1\n");
    const Names before = List(folder);
    const TestPrinter first;
    const TestPrinter second;
    const TestPrinter third;
    Use(first, folder, "Product Data/used", NV_TEXT("A"));
    Use(second, folder, "Product Data/holds/used", NV_TEXT("A"));
    Use(third, folder, "Product Data/file/a.map", {});

    std::set<CXString> used;
    ProductData::EnumerateProductDataFoldersUsedByInstalledDrivers(used);
    for (const char* const name : {"/Product Data/used", "/Product Data/holds/used"}) {
        EXPECT_TRUE(
            used.contains(productfiles::NameOf(productfiles::IdentityOfFolder(folder.GetPath() + name))));
    }

    const Names orphans = {"Product Data/a second", "Product Data/orphan"};
    EXPECT_EQ(Relative(folder, ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), true)),
              orphans);
    EXPECT_EQ(List(folder), before);
    EXPECT_EQ(Relative(folder, ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), false)),
              orphans);
    EXPECT_EQ(List(folder), (Names{"Product Data/file/a.map", "Product Data/holds/used/a.map",
                                   "Product Data/readme.txt", "Product Data/used/a.map", "other/a.map"}));
    EXPECT_FALSE(fs::exists(folder.PathOf("Product Data/orphan")));
    EXPECT_TRUE(ProductData::DeleteOrphanedProductDataFolders(folder.NameOf("other"), false).empty());
}

TEST(ProductDataMaintenance, DeletesNoFolderWhileAPrinterDoesNotTellItsOwn) {
    const ProductFolder folder;
    folder.Write("Product Data/a/a.map", "Model:A\nX:1\n");
    const TestPrinter printer;
    Printer(printer.GetName())
        .SetPrinterDataExW(Printer::driverDataKey, NV_TEXT("PDMap-A"), Printer::typeString, ByteBuffer(2, 0));
    for (const bool isDryRun : {true, false}) {
        EXPECT_EQ(
            MessageOf<ExceptionPrinterFailure>(
                [&] { ProductData::DeleteOrphanedProductDataFolders(folder.GetName(), isDryRun); }),
            Narrow(printer.GetName()) + ": the printer does not tell which product data folder it uses");
    }
    EXPECT_EQ(List(folder), Names{"Product Data/a/a.map"});
}

/// The values of test printers, each as the number of its printer and its own name.
Names Relative(const std::vector<const TestPrinter*>& printers,
               const std::vector<ProductData::PerPrinterRegKey>& keys) {
    Names names;
    for (const ProductData::PerPrinterRegKey& key : keys) {
        const auto found = std::find_if(printers.begin(), printers.end(), [&key](const TestPrinter* printer) {
            return printer->GetName() == key.printer;
        });
        if (found != printers.end())
            names.push_back(std::to_string(found - printers.begin()) + ' ' + Narrow(key.valueName));
    }
    std::sort(names.begin(), names.end());
    return names;
}

TEST(ProductDataMaintenance, FindsValuesOfModelsThatNoPrinterUses) {
    const ProductFolder folder;
    folder.Write("all.map", "Model:A\nModel:B\nModel:C\nX:1\n");
    const TestPrinter first;
    const TestPrinter second;
    const TestPrinter undecided;
    Use(first, folder, "", NV_TEXT("A"));
    Use(second, folder, "", NV_TEXT("B"));
    Use(undecided, folder, "", {});
    const std::vector<const TestPrinter*> printers = {&first, &second, &undecided};
    const auto values = [&printers] {
        std::vector<ProductData::PerPrinterRegKey> keys;
        ProductData::EnumeratePerPrinterRegKeysForInstalledPrinters(keys);
        return Relative(printers, keys);
    };
    const Names all = {"0 PDMap-A", "0 PDMap-B", "0 PDMap-C", "1 PDMap-A", "1 PDMap-B",
                       "1 PDMap-C", "2 PDMap-A", "2 PDMap-B", "2 PDMap-C"};
    const Names orphans = {"0 PDMap-C", "1 PDMap-C"};
    EXPECT_EQ(values(), all);
    EXPECT_EQ(Relative(printers, ProductData::DeleteOrphanedPerPrinterRegKeys(true)), Names())
        << "the map file names all of them";
    folder.Write("all.map", "Model:a\nX:1\n");
    EXPECT_EQ(Relative(printers, ProductData::DeleteOrphanedPerPrinterRegKeys(true)), orphans);
    EXPECT_EQ(values(), all);
}

}  // namespace
