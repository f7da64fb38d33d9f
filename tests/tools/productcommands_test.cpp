// Tests of `nvutil product`, `nvutil pdl` and `nvutil amp`.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "environment/productdata.h"
#include "environment/productfolder.h"
#include "tools/toolruns.h"

namespace {

constexpr char commands[] =
    "<FeatureSet><Description>Paper</Description>\n"
    "<PDLSet><PDL>PJL</PDL><Instruction>@PJL</Instruction></PDLSet>\n"
    "<FeatureItem><Description>A4</Description>\n"
    "<PDLSet><PDL>PCL5</PDL><Instruction>&esc;&amp;l26A</Instruction></PDLSet>\n"
    "<PDLSet><PDL>PCL5</PDL><Qualifier>Q</Qualifier><Instruction>late</Instruction></PDLSet>\n"
    "<PDLSet><PDL>PCL6</PDL><Instruction>&OriginXY;&PhysicalAreaXY;</Instruction></PDLSet>\n"
    "</FeatureItem></FeatureSet>\n";

TEST(ProductCommands, ListModelsPropertiesAndCommands) {
    const ProductFolder folder;
    folder.Write("a.map", "Model:A\nModel:B\nPDL:a.pdl\nX:1\n");
    folder.Write("a.pdl", commands);
    const std::string path = folder.GetPath();
    EXPECT_EQ(Nvutil({"product", "models", path}).out, "A\nB\n");
    EXPECT_EQ(Nvutil({"product", "info", path, "--model", "B"}).out, "PDL=a.pdl\nX=1\n");
    EXPECT_EQ(Nvutil({"product", "info", path, "--model", "A", "X", "PDL"}).out, "1\na.pdl\n");

    const auto pdl = [&path](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"pdl", path, "--model", "A", "--feature", "Paper"});
        return Nvutil(arguments).out;
    };
    EXPECT_EQ(pdl({"--type", "pjl"}), "@PJL");
    EXPECT_EQ(pdl({"--option", "A4", "--type", "PCL5", "--qualifier", "Q"}), "\x1B&l26A");
    EXPECT_EQ(pdl({"--option", "A4", "--type", "PCL6", "--context", "-1,2,-2147483648,4", "--hex"}),
              "FFFF020000000400\n");
    EXPECT_EQ(Nvutil({"amp", "-1&esc;&OriginXY;", "--context=7,8,9,10", "--hex"}).out, "2D311B07000800\n");
    EXPECT_EQ(Nvutil({"amp", "\u00E4\u20AC"}).out, "\xE4\x80");
}

TEST(ProductCommands, RefuseWhatIsNotThere) {
    const ProductFolder folder;
    folder.Write("a.map", "Model:A\nPDL:a.pdl\n");
    const std::string path = folder.GetPath();
    const auto expectRefused = [](const std::vector<std::string>& arguments, const std::string& text) {
        const ToolResult result = Nvutil(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.error.find(text), std::string::npos) << result.error;
    };
    expectRefused({"product", "models", path + "/none"}, "is no folder");
    expectRefused({"product", "info", path, "--model", "Nobody"}, "has no model \"Nobody\"");
    expectRefused({"product", "info", path, "--model", "A", "Y"}, "model \"A\" has no Y");
    expectRefused({"pdl", path, "--model", "A", "--feature", "F", "--type", "PS"}, "has no PS command");
    for (const std::string context : {"1,2,3", "1,2,3,4,", "1,2,3,2147483648", "1;2;3;4", "1,,3,4"})
        EXPECT_EQ(Nvutil({"amp", "x", "--context", context}).status, 2) << context;
}

TEST(ProductCheck, SaysWhatAMaintainerWouldWantToKnow) {
    const ProductFolder folder;
    folder.Write("a.map",
                 "X:1\nModel:A\nXPDL:1\nPDL:a.pdl\nHLK:none.hlk\nMARG:../up\nmodel:B\nUSB_PRODUCT_ID:7\n"
                 "LIST:1;2\nModel: C\n\nEND:\ncomment;\nModel:D\nX:1\n");
    folder.Write("b.map", "Model:A\nX:1\nModel:E\nUSB_PRODUCT_ID:7\nPDL:b.pdl\n");
    folder.Write("b.pdl",
                 std::string(commands) +
                     "<FeatureSet><PDLSet><PDL>XPS</PDL><Instruction>\n&bogus;&esc</Instruction></PDLSet>\n"
                     "<PDLSet><PDL>PS</PDL></PDLSet></Qualifier><FeatureItem></FeatureSet>\n");
    const ToolResult result = Nvutil({"product", "check", folder.GetPath()});
    EXPECT_EQ(result.status, 1);
    std::string out = result.out;
    const std::string prefix = folder.GetPath();
    for (std::size_t at = out.find(prefix); at != std::string::npos; at = out.find(prefix))
        out.erase(at, prefix.size() + 1);
    EXPECT_EQ(out,
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
              "3 files read: 20 findings\n");
    folder.Write("a.map", "Model:A\nX:1\n");
    folder.Write("b.map", "Model:B\nX:1\n");
    EXPECT_EQ(Nvutil({"product", "check", folder.GetPath()}).out, "2 files read: 0 findings\n");
    std::filesystem::resize_file(folder.GetPath() + "/b.map", std::uintmax_t{ProductData::largestFile} + 1);
    const std::string skipped = Nvutil({"product", "check", folder.GetPath()}).out;
    EXPECT_NE(skipped.find("b.map: is larger than 64 MiB\n"), std::string::npos) << skipped;
}

}  // namespace
