// nvutil product unpack and clean: cabinets of product files, and product data that no printer uses.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>

#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "nvutil/command.h"
#include "nvutil/text.h"
#include "utilities/compression/cabinetunpacker.h"

namespace {

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

}  // namespace

void AddProductMaintenanceCommands(CLI::App& group, ToolRun& run) {
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
