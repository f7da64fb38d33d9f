// Tests of `nvutil product` and `nvutil pdl`.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "environment/printer.h"
#include "environment/productdata.h"
#include "nvutil/text.h"
#include "support/cabinettools.h"
#include "support/platform/testprinter.h"
#include "tools/tooltest.h"

namespace {

using cabinettest::StoredFile;
namespace fs = std::filesystem;

constexpr char commands[] =
    "<FeatureSet><Description>Paper</Description>\n"
    "<PDLSet><PDL>PJL</PDL><Instruction>@PJL</Instruction></PDLSet>\n"
    "<FeatureItem><Description>A4</Description>\n"
    "<PDLSet><PDL>PCL5</PDL><Instruction>&esc;&amp;l26A</Instruction></PDLSet>\n"
    "<PDLSet><PDL>PCL5</PDL><Qualifier>Q</Qualifier><Instruction>late</Instruction></PDLSet>\n"
    "<PDLSet><PDL>PCL6</PDL><Instruction>&OriginXY;&PhysicalAreaXY;</Instruction></PDLSet>\n"
    "</FeatureItem></FeatureSet>\n";

TEST(ProductCommands, ShowModelsPropertiesAndCommands) {
    const ToolFolder folder;
    folder.Write("a.map", "Model:A\nModel:B\nPDL:a.pdl\nX:1\n");
    folder.Write("a.pdl", commands);
    const std::string path = folder.GetPath();
    const struct {
        std::string line;
        int status;
        const char* out;
        const char* error;
    } runs[] = {
        {"product models " + path, 0, "A\nB\n", ""},
        {"product info " + path + " --model B", 0, "PDL=a.pdl\nX=1\n", ""},
        {"product info " + path + " --model A X PDL", 0, "1\na.pdl\n", ""},
        {"product models " + path + "/none", 1, "", "*is no folder"},
        {"product info " + path + " --model Nobody", 1, "", "*has no model \"Nobody\""},
        {"product info " + path + " --model A Y", 1, "", "*model \"A\" has no Y"},
        {"pdl " + path + " --model A --feature Paper --type pjl", 0, "@PJL", ""},
        {"pdl " + path + " --model A --feature Paper --option A4 --type PCL5 --qualifier Q", 0, "\x1B&l26A",
         ""},
        {"pdl " + path +
             " --model A --feature Paper --option A4 --type PCL6 --context -1,2,-2147483648,4 --hex",
         0, "FFFF020000000400\n", ""},
        {"pdl " + path + " --model A --feature F --type PS", 1, "",
         "*model \"A\" has no PS command for option \"\" of feature \"F\""},
    };
    for (const auto& run : runs) {
        SCOPED_TRACE(run.line);
        ExpectResult(RunLine(run.line), run.status, run.out, run.error);
    }
}

TEST(ProductCheck, SaysWhatAMaintainerWouldWantToKnow) {
    const ToolFolder folder;
    folder.Write("a.map",
                 "X:1\nModel:A\nXPDL:1\nPDL:a.pdl\nHLK:none.hlk\nMARG:../up\nmodel:B\nUSB_PRODUCT_ID:7\n"
                 "LIST:1;2\nModel: C\n\nEND:\ncomment;\nModel:D\nX:1\n");
    folder.Write("b.map", "Model:A\nX:1\nModel:E\nUSB_PRODUCT_ID:7\nPDL:b.pdl\n");
    folder.Write("b.pdl",
                 std::string(commands) +
                     "<FeatureSet><PDLSet><PDL>XPS</PDL><Instruction>\n&bogus;&esc</Instruction></PDLSet>\n"
                     "<PDLSet><PDL>PS</PDL></PDLSet></Qualifier><FeatureItem></FeatureSet>\n");
    const std::string line = "product check " + folder.GetPath();
    ToolResult result = RunLine(line);
    const std::string prefix = folder.GetPath();
    for (std::size_t at = 0; (at = result.out.find(prefix)) != std::string::npos;)
        result.out.erase(at, prefix.size() + 1);
    ExpectResult(result, 1,
                 "a.map:1: belongs to no model: none is named before it\n"
                 "a.map:2: names a missing file: \"1\"\n"
                 "a.map:4: \"PDL\" of model \"A\" is never reached: \"XPDL=1\" answers first\n"
                 "a.map:5: names a missing file: \"none.hlk\"\n"
                 "a.map:6: the path leads out of the product data folder or to a device\n"
                 "a.map:7: is a property; the key that names a model is \"Model\"\n"
                 "a.map:9: the value ends at its first \";\"\n"
                 "a.map:10: the blank in front of the name belongs to it\n"
                 "a.map:10: the model \" C\" has no properties\n"
                 "a.map:12: ends the file, having no key or no value: 2 records after it are never read\n"
                 "b.map:1: is never reached: a.map:2 answers for this model\n"
                 "b.map:3: is never found by its USB product id, which model \"A\" has too\n"
                 "b.pdl:5: is never reached: the instruction in line 4 answers first\n"
                 "b.pdl:8: its feature has no description\n"
                 "b.pdl:8: is in none of the languages PCL, PJL, PCL5, PCL6 and PS\n"
                 "b.pdl:8: drops the unknown entity \"&bogus;\"\n"
                 "b.pdl:8: drops everything from \"&esc\" on, which has no \";\"\n"
                 "b.pdl:10: \"Qualifier\" is closed but not open\n"
                 "b.pdl:10: \"FeatureItem\" is not closed where it should be\n"
                 "b.pdl:10: the set has no \"Instruction\" and gives nothing\n"
                 "3 files read: 20 findings\n",
                 "");
    folder.Write("a.map", "Model:A\nX:1\n");
    folder.Write("b.map", "Model:B\nX:1\n");
    ExpectResult(RunLine(line), 0, "2 files read: 0 findings\n", "");
    fs::resize_file(folder.PathOf("b.map"), std::uintmax_t{ProductData::largestFile} + 1);
    EXPECT_TRUE(Fits(RunLine(line).out, "*b.map: is larger than 64 MiB\n"));
}

TEST(ProductUnpack, TakesACabinetOrAFolderOfThem) {
    const ToolFolder folder;
    const std::string cabinet = folder.Write("in/a.cab", StoredFile("sub\\a.map", "Model:A\nX:1\n"));
    folder.Write("in/below/dtds.cab", StoredFile("b.dtd", "<!ELEMENT b EMPTY>"));
    const std::string text = folder.Write("in/text", "no cabinet");
    ExpectResult(RunLine("product unpack " + cabinet + " -o " + folder / "one"), 0, "sub/a.map\n", "");
    EXPECT_EQ(RunLine("product models " + folder / "one").out, "A\n");
    const ToolResult result = RunLine("product unpack " + folder / "in" + " -o " + folder / "all");
    ExpectResult(result, 0, "*a.cab\n", "");
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 2);
    EXPECT_EQ(folder.Read("all/sub/a.map") + folder.Read("all/below/DTDs/b.dtd"),
              "Model:A\nX:1\n<!ELEMENT b EMPTY>");
    ExpectRefused(RunLine("product unpack " + text + " -o " + folder / "one"), "FDIERROR_NOT_A_CABINET");
    EXPECT_EQ(RunLine("product unpack " + folder / "in").status, 2);
}

TEST(ProductClean, ListsAndDeletesWhatNoPrinterUses) {
    const ToolFolder folder;
    folder.Write("Product Data/used/a.map", "Model:A\nModel:B\nX:1\n");
    folder.Write("Product Data/unused/a.map", "Model:A\nX:1\n");
    const TestPrinter testPrinter;
    const Printer printer(testPrinter.GetName());
    const ProductData data(printer.GetHandle(), FromUtf8(folder / "Product Data/used"),
                           ProductData::ModelTypeName, NV_TEXT("A"));
    folder.Write("Product Data/used/a.map", "Model:A\nX:1\n");
    const std::string ofValue =
        "*would delete the value \"PDMap-B\" of printer " + QuotedText(testPrinter.GetName()) + "\n";
    const ToolResult values = RunLine("product clean --dry-run");
    ExpectResult(values, 0, ofValue, "");
    EXPECT_EQ(values.out.find("folder"), std::string::npos);
    const ToolResult both = RunLine("product clean --dry-run " + folder.GetPath());
    ExpectResult(both, 0, ofValue, "");
    EXPECT_TRUE(Fits(both.out, "*would delete the folder " + folder.GetPath())) << both.out;
    EXPECT_TRUE(fs::exists(folder.PathOf("Product Data/unused/a.map")));

    // Not all systems can delete values; the folders come first.
    EXPECT_TRUE(Fits(RunLine("product clean " + folder.GetPath()).out, "*deleted the folder "));
    EXPECT_FALSE(fs::exists(folder.PathOf("Product Data/unused")));
    EXPECT_TRUE(fs::exists(folder.PathOf("Product Data/used/a.map")));
}

}  // namespace
