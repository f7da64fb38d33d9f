// Tests of `nvutil product unpack` and `nvutil product clean`.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "environment/printer.h"
#include "environment/productdata.h"
#include "environment/productfolder.h"
#include "nvutil/text.h"
#include "support/cabinetbuilder.h"
#include "support/platform/testprinter.h"
#include "tools/toolruns.h"

namespace {

using cabinettest::StoredFile;

TEST(ProductMaintenance, UnpacksACabinetOrAFolderOfThem) {
    const ProductFolder folder;
    folder.Write("in/a.cab", StoredFile("sub\\a.map", "Model:A\nX:1\n"));
    folder.Write("in/below/dtds.cab", StoredFile("b.dtd", "<!ELEMENT b EMPTY>"));
    folder.Write("in/text", "no cabinet");
    const std::string in = folder.GetPath() + "/in";
    const std::string one = folder.GetPath() + "/one";
    const std::string all = folder.GetPath() + "/all";
    EXPECT_EQ(Nvutil({"product", "unpack", in + "/a.cab", "-o", one}).out, "sub/a.map\n");
    EXPECT_EQ(Nvutil({"product", "models", one}).out, "A\n");

    const ToolResult result = Nvutil({"product", "unpack", in, "-o", all});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 2);
    EXPECT_TRUE(std::filesystem::exists(all + "/sub/a.map"));
    EXPECT_TRUE(std::filesystem::exists(all + "/below/DTDs/b.dtd"));

    const ToolResult refused = Nvutil({"product", "unpack", in + "/text", "-o", one});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.error.find("FDIERROR_NOT_A_CABINET"), std::string::npos) << refused.error;
    EXPECT_EQ(Nvutil({"product", "unpack", in}).status, 2);
}

TEST(ProductMaintenance, ListsAndDeletesWhatNoPrinterUses) {
    const ProductFolder folder;
    folder.Write("Product Data/used/a.map", "Model:A\nModel:B\nX:1\n");
    folder.Write("Product Data/unused/a.map", "Model:A\nX:1\n");
    const TestPrinter testPrinter;
    const Printer printer(testPrinter.GetName());
    const ProductData data(printer.GetHandle(), folder.NameOf("Product Data/used"),
                           ProductData::ModelTypeName, NV_TEXT("A"));
    folder.Write("Product Data/used/a.map", "Model:A\nX:1\n");
    const std::string ofValue =
        "the value \"PDMap-B\" of printer " + QuotedText(testPrinter.GetName()) + "\n";
    const ToolResult values = Nvutil({"product", "clean", "--dry-run"});
    EXPECT_NE(values.out.find("would delete " + ofValue), std::string::npos) << values.out << values.error;
    EXPECT_EQ(values.out.find("folder"), std::string::npos);
    const ToolResult both = Nvutil({"product", "clean", folder.GetPath(), "--dry-run"});
    EXPECT_NE(both.out.find("would delete the folder " + folder.GetPath()), std::string::npos) << both.out;
    EXPECT_NE(both.out.find("would delete " + ofValue), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(folder.GetPath() + "/Product Data/unused/a.map"));

    // Not all systems can delete values; the folders come first.
    EXPECT_NE(Nvutil({"product", "clean", folder.GetPath()}).out.find("deleted the folder "),
              std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.GetPath() + "/Product Data/unused"));
    EXPECT_TRUE(std::filesystem::exists(folder.GetPath() + "/Product Data/used/a.map"));
}

}  // namespace
