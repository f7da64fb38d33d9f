// ProductData: models, their properties and files, commands, and what a printer's driver data keeps of them.
#include "environment/productdata.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "environment/productfolder.h"
#include "environment/textview.h"
#include "support/bytes.h"
#include "support/platform/testprinter.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

std::string Info(ProductData& data, int type) {
    CXString out = NV_TEXT("former");
    const bool isThere = data.GetInfo(static_cast<ProductData::InfoType>(type), out);
    EXPECT_EQ(isThere, !out.IsEmpty());
    return Narrow(out);
}

/// A path below the folder, with "/" between names; "-" for none.
std::string Path(ProductData& data, const ProductFolder& folder, const CXString& key) {
    CXString out = NV_TEXT("former");
    if (!data.GetPath(key, out)) return out.IsEmpty() ? "-" : "not emptied";
    std::string path = Narrow(out).substr(folder.GetPath().size());
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

constexpr char officePrinter[] =
    "Model:Office 10\nPDL:family\\office.pdl\nHLK:office.hlk\nCONTROLLERFAMILY:D\nFAMILYNAME:Office\n"
    "COMPANYNAME:NV\nPLATFORMVERSION:2.5\nCOLORCAPABLE:1\nRATEDSPEED:45\nUSB_PRODUCT_ID:0x10\n"
    "SYS_OBJECT_ID:1.3.6.1\nPRINTERLANG:PCL6,PCL5e,PScript3\nFAMPATH:family\n";

TEST(ProductData, AnswersForTheCurrentModel) {
    const ProductFolder folder;
    folder.Write("a.map", officePrinter);
    ProductData data = folder.Read("Office 10");
    EXPECT_TRUE(data.IsInitialized() && data.IsValidated());
    EXPECT_EQ(data.GetAssociatedPrinterHandle(), nullptr);
    std::string all;
    for (int type = -1; type <= 17; ++type)
        all += Info(data, type) + '|';
    EXPECT_EQ(all, "||D||Office 10|||family|0x10|||Office|NV|2.5|1|45||PCL6,PCL5e,PScript3||");
    EXPECT_EQ(data.GetControllerFamily(), DataModelIds::CONTROLLER_FAMILY_D);
    EXPECT_EQ(data.GetCompanyName(), DataModelIds::COMPANY_NV);
    EXPECT_EQ(data.GetPlatformVersion(), 2.5);
    EXPECT_EQ(data.GetRatedSpeed(), 45);
    EXPECT_EQ(data.GetSupportedPDLS(), 0x2C0u);

    const CXString sameFolder = folder.GetName() + NV_TEXT("//");
    ProductData same(nullptr, sameFolder, ProductData::ModelTypeUsbProductId, NV_TEXT("0x10"));
    ProductData unknown = folder.Read("Other");
    const CXString cache = data.GenerateDmCacheFileName();
    EXPECT_EQ(ViewOf(cache).rfind(ViewOf(folder.GetName()), 0), 0u) << Narrow(cache);
    EXPECT_EQ(cache, same.GenerateDmCacheFileName());
    EXPECT_NE(cache, unknown.GenerateDmCacheFileName());
}

TEST(ProductData, KnowsItsFolderByAnyNameAndAtAnyDepth) {
    const ProductFolder other;
    other.Write("a.map", "Model:Other\n");
    const ProductData before(nullptr, other.GetName(), ProductData::ModelTypeName, {});
    const ProductFolder folder;
    std::string deep;
    for (int i = 0; i < 40; ++i)
        deep += "d/";
    folder.Write(deep + "a.map", "Model:Own\n");
    for (const WChar* const end : {NV_TEXT(""), NV_TEXT("/"), NV_TEXT("/./d/..//")}) {
        ProductData data(nullptr, folder.GetName() + end, ProductData::ModelTypeName, {});
        ASSERT_EQ(data.GetModels().size(), 1u) << Narrow(end);
        EXPECT_EQ(Narrow(data.GetModels().front()), "Own");
    }
    ProductData none(nullptr, folder.NameOf("none"), ProductData::ModelTypeName, {});
    EXPECT_TRUE(none.GetModels().empty());
}

TEST(ProductData, ReadsCodesAndNumbersOfAnyText) {
    const ProductFolder folder;
    const struct {
        const char* languages;
        const char* number;
        const char* code;
        DWORD supported;
        int speed;
        double version;
        LONG family;
    } cases[] = {
        {"PSCRIPT", "12ppm", "M", 0x200, 12, 12, 1},
        {"pcl5PScript", " 7.9", "E", 0x280, 7, 7.9, 2},
        {"xps/xraster", "-3", "G", 0x500, -3, -3, 4},
        {"PCL6", "99999999999", "Y", 0x40, 0, 99999999999.0, 5},
        {"none", "inf", "MM", 0, 0, 0, 0},
        {"p-cl5", "x", "d", 0, 0, 0, 0},
    };
    for (const auto& each : cases) {
        folder.Write("a.map", std::string("Model:A\nPRINTERLANG:") + each.languages +
                                  "\nRATEDSPEED:" + each.number + "\nPLATFORMVERSION:" + each.number +
                                  "\nCONTROLLERFAMILY:" + each.code + "\n");
        ProductData data = folder.Read("A");
        EXPECT_EQ(data.GetSupportedPDLS(), each.supported) << each.languages;
        EXPECT_EQ(data.GetRatedSpeed(), each.speed) << each.number;
        EXPECT_EQ(data.GetPlatformVersion(), each.version) << each.number;
        EXPECT_EQ(data.GetControllerFamily(), each.family) << each.code;
        EXPECT_EQ(data.GetCompanyName(), DataModelIds::COMPANY_UNKNOWN);
    }
}

TEST(ProductData, KnowsNothingOfWhatIsMissing) {
    const ProductFolder folder;
    ProductData none;
    EXPECT_FALSE(none.IsInitialized() || none.IsValidated());
    ProductData unknown = folder.Read("Nobody's model");
    ProductData withoutFolder(nullptr, {}, ProductData::ModelTypeUsbProductId, NV_TEXT("nobody's id"));
    for (ProductData* data : {&none, &unknown, &withoutFolder}) {
        EXPECT_FALSE(data->IsValidated());
        CXString path;
        ByteBuffer bytes{1};
        EXPECT_FALSE(data->GetPath(ProductData::InfoTypePdl, path));
        EXPECT_FALSE(data->LoadFile(ProductData::InfoTypePdl, bytes));
        EXPECT_TRUE(bytes.empty());
        EXPECT_FALSE(
            data->GetPDLCommand(NV_TEXT("F"), NV_TEXT("O"), ProductData::PdlTypePcl5, bytes, nullptr, {}));
        EXPECT_FALSE(data->ValidateUsbProductId({}));
        EXPECT_EQ(data->GetRatedSpeed(), 0);
    }
    EXPECT_EQ(Narrow(unknown.GetModelName()), "Nobody's model");
}

TEST(ProductData, FindsModelsByNameAndId) {
    const ProductFolder folder;
    folder.Write("b/second.map.txt", "Model:Two\nUSB_PRODUCT_ID:only-two\nSYS_OBJECT_ID:1.2\n");
    folder.Write("B.map", "Model:Three\nModel:One\nUSB_PRODUCT_ID:one-and-three\n");
    folder.Write("a/first.map", "Model:One\nUSB_PRODUCT_ID:only-one\n");
    folder.Write("c.MAP", "Model:Four\nX:1\n");
    ProductData data(nullptr, folder.GetName(), ProductData::ModelTypeUsbProductId, NV_TEXT("one-and-three"));
    EXPECT_EQ(Narrow(data.GetModelName()), "Three");
    std::string models;
    for (const CXString& model : data.GetModels())
        models += Narrow(model) + ' ';
    EXPECT_EQ(models, "One Two Three ") << "by the names of files and folders, without regard to case";

    EXPECT_TRUE(data.ValidateUsbProductId(NV_TEXT("only-two")));
    EXPECT_EQ(Narrow(data.GetModelName() + NV_TEXT("/") + data.GetPrinterProductUniqueId()), "Two/only-two");
    EXPECT_TRUE(data.ValidateUsbProductId(NV_TEXT("ONLY-ONE"))) << "still validated from before";
    EXPECT_EQ(Narrow(data.GetModelName()), "Two");
    CXString model = NV_TEXT("One");
    EXPECT_TRUE(data.ValidateModelInfo(model, true));
    EXPECT_EQ(Narrow(data.GetPrinterProductUniqueId()), "only-one") << "the first of two files";
    model = NV_TEXT("one");
    EXPECT_FALSE(data.ValidateModelInfo(model, false));
    EXPECT_EQ(Narrow(data.GetModelName()), "One");
    data.Initialize(nullptr, folder.GetName(), ProductData::ModelTypeSysObjectId, NV_TEXT("1.2"));
    EXPECT_EQ(Narrow(data.GetModelName()), "Two");

    std::set<CXString> known;
    ProductData::EnumerateInstalledDriverModels(known);
    EXPECT_TRUE(known.contains(NV_TEXT("Three")) && !known.contains(NV_TEXT("Four")));

    folder.Write("a/first.map", "Model:One\nUSB_PRODUCT_ID:changed\n");
    data.ParseMapFile(folder.NameOf("a/first.map"));
    EXPECT_TRUE(data.ValidateUsbProductId(NV_TEXT("changed"))) << "what the file said before is forgotten";
    EXPECT_EQ(Narrow(data.GetModelName()), "One");
    data.ParseMapFile(folder.NameOf("missing.map"));
}

TEST(ProductData, ResolvesPathsInsideItsFolderOnly) {
    const ProductFolder folder;
    folder.Write("family/in-family", "");
    folder.Write("a.map",
                 "Model:A\nFAMPATH:family\nIN:in-family\nOUT:not-in-family\nDEEP:.\\x/y\\\\z\n"
                 "UP:a/../../b\nDOTS:a/.. /b\nROOT:/etc/passwd\nDRIVE:c:\\x\nSHARE:\\\\host\\x\nSTREAM:x:y\n"
                 "HERE:./\nSLASH:.//x\nSPACED: x\nCONSOLE:x/Con.txt\n");
    ProductData data = folder.Read("A");
    const std::pair<const char*, const char*> cases[] = {
        {"IN", "/family/in-family"},
        {"OUT", "/not-in-family"},
        {"FAMPATH", "/family"},
        {"SPACED", "/ x"},
        {"DEEP", "/x/y/z"},
        {"UP", "-"},
        {"DOTS", "-"},
        {"ROOT", "-"},
        {"DRIVE", "-"},
        {"SHARE", "-"},
        {"STREAM", "-"},
        {"HERE", "-"},
        {"SLASH", "-"},
        {"CONSOLE", "-"},
        {"NONE", "-"},
    };
    for (const auto& [key, path] : cases)
        EXPECT_EQ(Path(data, folder, CXString(key)), path) << key;
    CXString out;
    EXPECT_TRUE(data.GetMapFilePathFromRegistry(NV_TEXT("IN"), out, false));
    EXPECT_EQ(Narrow(out), "in-family");
    EXPECT_FALSE(data.GetMapFilePathFromRegistry(NV_TEXT("UP"), out, false));
    EXPECT_FALSE(ProductData(nullptr, {}, ProductData::ModelTypeName, NV_TEXT("A"))
                     .GetMapFilePathFromRegistry(NV_TEXT("IN"), out, true));
    EXPECT_EQ(Narrow(out), "");
}

constexpr char commands[] =
    "<FeatureSet><Description>Paper</Description>"
    "<PDLSet><PDL>pjl</PDL><Instruction>own</Instruction></PDLSet>"
    "<FeatureItem><Description>A4</Description>"
    "<PDLSet><PDL>PCL5</PDL><Qualifier>Tray 2</Qualifier><Instruction>\"tray\"&esc;2</Instruction></PDLSet>"
    "<PDLSet><PDL>PCL5</PDL><Instruction>any</Instruction></PDLSet>"
    "<PDLSet><PDL>PCL5</PDL><Qualifier>Tray 3</Qualifier><Instruction>hidden</Instruction></PDLSet>"
    "<PDLSet><PDL>PCL6</PDL><Instruction>&OriginXY;</Instruction></PDLSet></FeatureItem>"
    "<FeatureItem><Description>a4</Description><PDLSet><PDL>XPS</PDL><Instruction>5</Instruction></PDLSet>"
    "</FeatureItem></FeatureSet>"
    "<FeatureSet><Description>Paper</Description><FeatureItem><Description>A4</Description>"
    "<PDLSet><PDL>PS</PDL><Instruction>ps</Instruction></PDLSet></FeatureItem></FeatureSet>"
    "<FeatureSet><Description>Lost</Description>";

TEST(ProductData, FindsTheFirstCommandThatSuits) {
    const ProductFolder folder;
    folder.Write("a.map", officePrinter);
    folder.Write("family/office.pdl", commands);
    ProductData data = folder.Read("Office 10");
    LONG context[] = {100, 200, 300, 400};
    const struct {
        const char* feature;
        const char* option;
        int type;
        const char* qualifier;
        const char* bytes;
    } cases[] = {
        {"Paper", "A4", 1, "Tray 2", "74 72 61 79 1B 32"},
        {"Paper", "A4", 1, "Tray 3", "61 6E 79"},
        {"Paper", "A4", 1, "tray 2", "61 6E 79"},
        {"Paper", "A4", 1, "", "61 6E 79"},
        {"Paper", "A4", 2, "x", "64 00 C8 00"},
        {"Paper", "A4", 3, "", "70 73"},
        {"Paper", "", 0, "", "6F 77 6E"},
        {"Paper", "a4", 5, "", "35"},
        {"Paper", "A4", 0, "", "none"},
        {"paper", "A4", 1, "", "none"},
        {"Lost", "", 0, "", "none"},
    };
    for (const auto& each : cases) {
        ByteBuffer out{0x77};
        const bool isFound = data.GetPDLCommand(CXString(each.feature), CXString(each.option),
                                                static_cast<ProductData::PdlType>(each.type), out, context,
                                                CXString(each.qualifier));
        EXPECT_EQ(isFound ? Hex(out) : "none", each.bytes) << each.option << each.qualifier;
        EXPECT_TRUE(isFound || out == ByteBuffer{0x77}) << "kept when there is no command";
    }

    folder.Write("family/office.pdl",
                 "<FeatureSet><Description>F</Description><PDLSet><PDL>PS</PDL>"
                 "<Instruction>new</Instruction></PDLSet></FeatureSet>");
    ByteBuffer out;
    ProductData copy;
    copy.CopyFromAnother(data, false, true);
    EXPECT_TRUE(copy.FindPDLInstruction(NV_TEXT("Paper"), {}, ProductData::PdlTypePjl, {}, out, nullptr));
    EXPECT_FALSE(data.GetPDLCommand(NV_TEXT("F"), {}, ProductData::PdlTypePs, out, nullptr, {}));
    EXPECT_TRUE(data.GetPDLCommand(NV_TEXT("F"), {}, ProductData::PdlTypePs, out, nullptr, {}, true));
    EXPECT_EQ(Hex(out), "6E 65 77");
}

TEST(ProductData, TakesCommandFilesApart) {
    CXString text = NV_TEXT("x</FeatureSet><FeatureSet>1</FeatureSet>rest<FeatureSet>2");
    CXString feature;
    EXPECT_TRUE(ProductData::GetPDLXMLFeature(text, feature));
    EXPECT_EQ(Narrow(feature + NV_TEXT("|") + text), "<FeatureSet>1|rest<FeatureSet>2");
    EXPECT_FALSE(ProductData::GetPDLXMLFeature(text, feature));
    EXPECT_EQ(Narrow(feature + NV_TEXT("|") + text), "<FeatureSet>1|rest<FeatureSet>2");

    text = NV_TEXT("a\r\n\nb\r");
    std::string lines;
    for (CXString line; ProductData::GetPDLLine(text, line);)
        lines += '[' + Narrow(line) + ']';
    EXPECT_EQ(lines, "[a][][b]");

    const std::pair<const char*, int> types[] = {
        {"PCL", 0}, {"pjl", 0}, {"Pcl5", 1}, {"PCL6", 2},  {"ps", 3},
        {"XPS", 5}, {"", 5},    {" PS", 5},  {"PCL5e", 5},
    };
    for (const auto& [name, type] : types)
        EXPECT_EQ(ProductData::GetPDLType(CXString(name)), type) << name;
}

std::string Stored(const TestPrinter& printer, const WChar* name) {
    return Narrow(printer.ReadDirectly(name).getAsStringValue());
}

TEST(ProductDataOfAPrinter, IsKeptInItsDriverData) {
    const TestPrinter test;
    Printer printer(test.GetName());
    const ProductFolder folder;
    folder.Write("a.map", "Model:A\nX:1\nUSB_PRODUCT_ID:id-a\nModel:B\nX:2\n");
    ProductData data = folder.Read("B", printer.GetHandle());
    EXPECT_EQ(data.GetAssociatedPrinterHandle(), printer.GetHandle());
    EXPECT_EQ(Hex(test.ReadDirectly(NV_TEXT("PDMap-B"))), "58 00 3D 00 32 00 3B 00 00 00");
    EXPECT_EQ(Hex(test.ReadDirectly(NV_TEXT("xUPDCurrentModel"))), "42 00 00 00");
    EXPECT_EQ(Stored(test, NV_TEXT("PDMap-A")), "X=1;USB_PRODUCT_ID=id-a;");

    // Another process, which has no folder, reads all of it back.
    ProductData other(printer.GetHandle(), {}, ProductData::ModelTypeName, {});
    EXPECT_EQ(Narrow(other.GetModelName()), "B");
    EXPECT_TRUE(other.IsValidated());

    // What others have stored meanwhile counts from the next refresh on.
    StoreText(printer, NV_TEXT("PDMap-A"), NV_TEXT("USB_PRODUCT_ID=id-2;RATEDSPEED=9;"));
    StoreText(printer, NV_TEXT("PDMap-AB"), NV_TEXT("USB_PRODUCT_ID=id-2;"));
    printer.SetPrinterDataExW(Printer::driverDataKey, NV_TEXT("PDMap-D"), Printer::typeBinary, {1, 2, 3});
    StoreText(printer, NV_TEXT("PDMap-ALL_MODELS"), NV_TEXT("FAMILYNAME=all;"));
    EXPECT_TRUE(data.ValidateUsbProductId(NV_TEXT("id-2")));
    EXPECT_EQ(Narrow(data.GetModelName()), "A");
    EXPECT_EQ(data.GetRatedSpeed(), 9);
    CXString model = NV_TEXT("AB");
    EXPECT_TRUE(data.ValidateModelInfo(model, false));
    EXPECT_EQ(Info(data, ProductData::InfoTypeFamilyName), "") << "stored data is no instruction";
    model = NV_TEXT("D");
    EXPECT_FALSE(ProductData().ValidateModelInfo(model, false)) << "the models of a printer are its own";
    data.UpdateRegistryWithProductDataValues();
    EXPECT_EQ(Stored(test, NV_TEXT("xUPDCurrentModel")), "AB");

    EXPECT_THROW(data.Initialize(&model, {}, ProductData::ModelTypeName, NV_TEXT("D")),
                 ExceptionInvalidPrinterHandle);
    EXPECT_TRUE(data.IsInitialized() && data.IsValidated());
    EXPECT_EQ(data.GetModelName(), NV_TEXT("AB")) << "what was served still is";
    EXPECT_EQ(data.GetAssociatedPrinterHandle(), printer.GetHandle());
}

TEST(ProductDataOfAPrinter, KeepsItsFilesAndTheirOrderWhenItIsRefreshed) {
    const TestPrinter test;
    Printer printer(test.GetName());
    const ProductFolder folder;
    const ProductFolder other;
    folder.Write("a.map", "Model:A\nModel:B\nUSB_PRODUCT_ID:same\n");
    other.Write("z.map", "Model:Z\nUSB_PRODUCT_ID:id\n");
    ProductData data = folder.Read("A", printer.GetHandle());
    for (const char* const stored : {"USB_PRODUCT_ID=first;", "USB_PRODUCT_ID=id;"}) {
        for (const WChar* const model : {NV_TEXT("PDMap-B"), NV_TEXT("PDMap-Only")})
            StoreText(printer, model, CXString(stored));
        data.UpdateCachedMapData();
    }
    EXPECT_EQ(data.GetModels().size(), 2u);
    EXPECT_EQ(Narrow(data.GetPrinterProductUniqueId()), "same");
    data.ParseMapFile(other.NameOf("z.map"));
    EXPECT_TRUE(data.ValidateUsbProductId(NV_TEXT("id")));
    EXPECT_EQ(Narrow(data.GetModelName()), "B") << "before Z, and before the one that no file names";
    EXPECT_TRUE(data.ValidateUsbProductId(NV_TEXT("same")));
    EXPECT_EQ(Narrow(data.GetModelName()), "A") << "as its file says";
    CXString only = NV_TEXT("Only");
    EXPECT_TRUE(data.ValidateModelInfo(only, false));
}

TEST(MappingDataOfAPrinter, ReadsItsPropertiesWhenTheyAreBlank) {
    const TestPrinter test;
    Printer printer(test.GetName());
    printer.SetPrinterDataExW(Printer::driverDataKey, NV_TEXT("PDMap-Second"), Printer::typeString,
                              ByteBuffer(CXString(NV_TEXT("X=1;\0Y=2;"), 9)));
    MappingData named(NV_TEXT("First"), NV_TEXT(" "), {NV_TEXT("None"), NV_TEXT("Second")});
    EXPECT_EQ(Narrow(named.GetData(NV_TEXT("X"), printer)), "1");
    EXPECT_EQ(Narrow(named.GetData(NV_TEXT("Y"))), "") << "a text ends at its zero";
    MappingData withZero(CXString(NV_TEXT("a\0b"), 3));
    EXPECT_EQ(Narrow(withZero.GetData(NV_TEXT("X"), printer)), "") << "no such name can be stored";
}

TEST(ProductData, SurvivesFilesThatAreNone) {
    const ProductFolder folder;
    std::string noise;
    std::uint32_t state = 1;
    for (int i = 0; i < 300000; ++i)
        noise += static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    folder.Write("noise.map", noise);
    folder.Write("long.map", "Model:A\nX:" + std::string(8'000'000, 'x'));
    folder.Write("open.map", "Model:A\nPDL:open.pdl");
    std::string open;
    for (int i = 0; i < 200000; ++i)
        open += "<FeatureSet><FeatureItem><PDLSet><Instruction>";
    folder.Write("open.pdl", open);
    std::filesystem::create_directories(folder.PathOf("folder.map"));
    folder.Write("huge.map", "Model:Huge\n");
    std::filesystem::resize_file(folder.PathOf("huge.map"), std::uintmax_t{1} << 30);
    ProductData data = folder.Read("A");
    EXPECT_TRUE(data.IsValidated());
    CXString model = NV_TEXT("Huge");
    EXPECT_FALSE(data.ValidateModelInfo(model, false));
    ByteBuffer out;
    EXPECT_FALSE(data.GetPDLCommand({}, {}, ProductData::PdlTypeOther, out, nullptr, {}));
}

TEST(ProductData, ServesManyThreads) {
    const ProductFolder folder;
    folder.Write("a.map", officePrinter);
    folder.Write("family/office.pdl", commands);
    ProductData data = folder.Read("Office 10");
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 300; ++i) {
                CXString out;
                ByteBuffer bytes;
                std::set<CXString> models;
                const bool isRight = data.GetInfo(ProductData::InfoTypeFamilyName, out) &&
                                     out == NV_TEXT("Office") &&
                                     data.GetPDLCommand(NV_TEXT("Paper"), NV_TEXT("A4"),
                                                        ProductData::PdlTypePs, bytes, nullptr, {});
                if (!isRight) ++failures;
                if (i % 50 == 0) ProductData(nullptr, folder.GetName(), ProductData::ModelTypeName, {});
                if (i % 50 == 1) ProductData::EnumerateInstalledDriverModels(models);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

}  // namespace
