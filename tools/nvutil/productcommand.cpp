// nvutil product: what the product data of a folder says and what is wrong with it, its cabinets, and what no
// printer uses.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "nvutil/command.h"
#include "nvutil/productcheck.h"
#include "nvutil/productdataof.h"
#include "nvutil/text.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

struct Choice {
    std::string folder = {};
    std::string model = {};
    std::vector<std::string> keys = {};
};

void ListModels(ToolRun& run, const Choice& choice) {
    ProductData data;
    ReadFolder(run, choice.folder, data);
    for (const CXString& model : data.GetModels())
        run.out << OneLine(ToUtf8(model)) << '\n';
}

void ShowInfo(ToolRun& run, const Choice& choice) {
    ProductData data;
    ReadModel(run, choice.folder, choice.model, data);
    const MappingData mapping = data.GetMapping();
    for (const std::string& key : choice.keys) {
        const CXString value = mapping.GetData(FromUtf8(key));
        if (value.IsEmpty()) {
            NV_THROW(ExceptionUnknownKeyRequest, "ShowInfo", __LINE__, NV_TEXT("model \"%s\" has no %s"),
                     mapping.GetModel(), FromUtf8(key));
        }
        run.out << OneLine(ToUtf8(value)) << '\n';
    }
    if (!choice.keys.empty()) return;
    for (const CXString& property : mapping.GetAllData().Tokenize(WChar{';'})) {
        if (!property.IsEmpty()) run.out << OneLine(ToUtf8(property)) << '\n';
    }
}

void Check(ToolRun& run, const Choice& choice) {
    ProductData data;
    ReadFolder(run, choice.folder, data);
    const ProductFindings findings = CheckProductData(FromUtf8(choice.folder), data);
    for (const ProductFinding& finding : findings.all) {
        run.out << OneLine(ToUtf8(finding.file));
        if (finding.line > 0) run.out << ':' << finding.line;
        run.out << ": " << OneLine(finding.text) << '\n';
    }
    run.out << CountText(findings.files, "file") << " read: " << CountText(findings.all.size(), "finding")
            << '\n';
    if (!findings.all.empty()) run.exitStatus = exitstatus::refused;
}

struct UnpackArguments {
    std::string source;
    std::string target;
};

void Unpack(ToolRun& run, const UnpackArguments& arguments) {
    const CXString source = FromUtf8(arguments.source);
    const CXString target = FromUtf8(arguments.target);
    std::error_code ignored;
    if (std::filesystem::is_directory(productfiles::PathOf(source), ignored)) {
        for (const CXString& cabinet : ProductData::UnpackCabFilesInAllDirectoriesRecursively(source, target))
            run.out << OneLine(ToUtf8(cabinet)) << '\n';
        return;
    }
    const nvutil::CabinetUnpacker unpacker(source);
    unpacker.UnpackTo(target);
    for (const nvutil::CabinetFile& file : unpacker.GetFiles())
        run.out << OneLine(ToUtf8(file.path)) << '\n';
}

struct CleanArguments {
    std::string folder;
    bool isDryRun = false;
};

void Clean(ToolRun& run, const CleanArguments& arguments) {
    run.subject = "product data";
    const char* const done = arguments.isDryRun ? "would delete " : "deleted ";
    if (!arguments.folder.empty()) {
        run.subject = arguments.folder;
        for (const CXString& folder :
             ProductData::DeleteOrphanedProductDataFolders(FromUtf8(arguments.folder), arguments.isDryRun))
            run.out << done << "the folder " << OneLine(ToUtf8(folder)) << '\n';
    }
    for (const ProductData::PerPrinterRegKey& value :
         ProductData::DeleteOrphanedPerPrinterRegKeys(arguments.isDryRun))
        run.out << done << "the value " << QuotedText(value.valueName) << " of printer "
                << QuotedText(value.printer) << '\n';
}

CLI::App* AddCommand(CLI::App& group, ToolRun& run, const std::string& name, const std::string& text,
                     const std::shared_ptr<Choice>& choice, void (*command)(ToolRun&, const Choice&)) {
    CLI::App* const app = group.add_subcommand(name, text);
    app->add_option("FOLDER", choice->folder, "The product data folder")->required();
    app->callback([&run, choice, command] { command(run, *choice); });
    return app;
}

void AddMaintenanceCommands(CLI::App& group, ToolRun& run) {
    CLI::App* const unpack = group.add_subcommand("unpack", "Unpack cabinets of product files");
    const auto what = std::make_shared<UnpackArguments>();
    unpack
        ->add_option(
            "SOURCE", what->source,
            "A cabinet, or a folder: then every cabinet in it and below, each to the same folder below "
            "the target")
        ->required();
    unpack->add_option("-o,--output", what->target, "The target folder, created where it is missing")
        ->required();
    unpack->callback([&run, what] { Unpack(run, *what); });

    CLI::App* const clean = group.add_subcommand(
        "clean",
        "Delete the values of models that no installed printer uses, and folders in \"Product Data\"");
    const auto which = std::make_shared<CleanArguments>();
    clean->add_option("FOLDER", which->folder,
                      "Where the folder \"Product Data\" is; no folders if not given");
    clean->add_flag("--dry-run", which->isDryRun, "Only list what would be deleted");
    clean->callback([&run, which] { Clean(run, *which); });
}

}  // namespace

void AddProductCommands(CLI::App& app, ToolRun& run) {
    CLI::App* const group = app.add_subcommand("product", "Product data: models, their properties and files");
    group->require_subcommand(1);
    AddCommand(*group, run, "models", "List the models", std::make_shared<Choice>(), ListModels);
    const auto choice = std::make_shared<Choice>();
    CLI::App* const info = AddCommand(*group, run, "info", "Print properties of a model", choice, ShowInfo);
    info->add_option("--model", choice->model, "The model's name")->required();
    info->add_option("KEY", choice->keys, "Only the values of these, one a line");
    AddCommand(*group, run, "check", "Read all map and command files and report what is wrong with them",
               std::make_shared<Choice>(), Check);
    AddMaintenanceCommands(*group, run);
}
