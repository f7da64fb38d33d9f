// nvutil settings: reads, changes and moves the settings that printers keep in their driver data.
#include <CLI/CLI.hpp>

#include <exception>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "environment/devicesettingsmanager.h"
#include "environment/printer.h"
#include "nvutil/command.h"
#include "nvutil/files.h"
#include "nvutil/statefile.h"
#include "nvutil/statejson.h"
#include "nvutil/text.h"
#include "nvutil/versionscope.h"
#include "utilities/attributebytes/attributebytesindexedlist.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr auto description =
    "Settings of printers.\n"
    "On Windows printers are those of the spooler. Elsewhere NVUTIL_PRINTER_STORE names the file that\n"
    "keeps them, and a printer comes into being with its first settings.";

std::string DisplayOfPrinter(const Printer& printer) {
    return "printer " + QuotedText(printer.GetName());
}

const AttributeBytesNameSpacesId& SettingsNameSpace() {
    return PersistentAttributes::GetDataModelDocPropNameSpaceId();
}

/// The stored state, checked; it becomes the subject of the run.
/// @throws ExceptionFeatureNotFound when the printer has none
ByteBuffer ReadStored(ToolRun& run, Printer& printer) {
    ByteBuffer state;
    DWORD size = 0;
    const bool isStored = DeviceSettingsManager(printer).GetDeviceSettingsDataFromStorage(state, size);
    run.subject = DisplayOfPrinter(printer);
    if (!isStored) NV_THROW(ExceptionFeatureNotFound, "ReadStored", __LINE__, NV_TEXT("has no settings"));
    return state;
}

/// Refuses a list that the settings could not be read from again.
void RequireIndexable(const AttributeBytesRawList& list) {
    AttributeBytesIndexedList().ImportFromRawList(list);
}

/// Checks a state as a whole before it is stored or handed out.
StateContents RequireSettings(const ByteBuffer& state) {
    StateContents contents = ReadState(state);
    AttributeBytesRawList settings;
    contents.byNumber.GetNameSpaceAttributes(SettingsNameSpace(), settings);
    RequireIndexable(settings);
    return contents;
}

void GetAll(ToolRun& run, Printer& printer) {
    run.out << WriteStateJson(RequireSettings(ReadStored(run, printer)));
}

void GetOne(ToolRun& run, Printer& printer, const std::string& idJson) {
    run.subject = "ID";
    const auto id = ReadIdJson(idJson);
    const ByteBuffer state = ReadStored(run, printer);
    const DeviceSettingsManager manager(printer);
    const AttributeBytes* const found = manager.GetAttributeBytesIndexedListRef().GetAttributeBytesPtr(*id);
    if (found == nullptr)
        NV_THROW(ExceptionFeatureNotFound, "GetOne", __LINE__, NV_TEXT("has no such attribute"));
    run.out << WriteAttributeJson(*found) << '\n';
}

/// Changes one attribute of what is stored, which keeps the version of the driver that wrote it.
void SetOne(ToolRun& run, Printer& printer, const AttributeBytes& attribute) {
    PrinterDataUpdate update(printer);
    DeviceSettingsManager manager(printer);
    ByteBuffer state;
    DWORD size = 0;
    DriverVersion version = DriverVersion::GetCurrentDriverVersion();
    const bool isStored = manager.GetDeviceSettingsDataFromStorage(state, size);
    run.subject = DisplayOfPrinter(printer);
    if (isStored) version = RequireSettings(state).version;
    manager.GetUpdatableAttributeBytesIndexedListRef().SetAttributeBytes(attribute.GetAttributeBytesId(),
                                                                         attribute.GetAttributeBytesValue());
    run.subject.clear();
    const CurrentVersionScope scope(version);
    manager.SaveUpdatedAttributeBytesIndexedList();
    update.Commit();
}

/// Replaces all settings by those of a document.
void SetAll(ToolRun& run, Printer& printer, const StateDocument& document) {
    if (document.nameSpaces.GetCount() != 1 || !document.nameSpaces.Exists(SettingsNameSpace())) {
        NV_THROW(ExceptionInvalidArgument, "SetAll", __LINE__,
                 NV_TEXT("namespaces: settings are namespace 1 and no other"));
    }
    AttributeBytesRawList settings;
    document.nameSpaces.GetNameSpaceAttributes(SettingsNameSpace(), settings);
    RequireIndexable(settings);
    run.subject.clear();
    const CurrentVersionScope scope(document.version.value_or(DriverVersion::GetCurrentDriverVersion()));
    PrinterDataUpdate update(printer);
    DeviceSettingsManager(printer).SaveUpdatedDeviceSettingsFromDataModel(settings);
    update.Commit();
}

/// JSON given as the argument itself, or the content of the file that it names.
std::string ReadJsonArgument(ToolRun& run, const std::string& argument) {
    if (argument.starts_with('{')) {
        run.subject = "JSON";
        return argument;
    }
    const ByteBuffer bytes = ReadInput(run, argument, largestDocument);
    return {bytes.begin(), bytes.end()};
}

void Set(ToolRun& run, const std::string& name, const std::string& argument) {
    const std::string json = ReadJsonArgument(run, argument);
    // All of the input is read before the printer is touched.
    if (IsAttributeJson(json)) {
        const AttributeBytes attribute = ReadAttributeJson(json);
        run.subject.clear();
        Printer printer(FromUtf8(name), Printer::Opening::MayBeNew);
        return SetOne(run, printer, attribute);
    }
    const StateDocument document = ReadStateJson(json);
    Printer printer(FromUtf8(name), Printer::Opening::MayBeNew);
    SetAll(run, printer, document);
}

void Import(ToolRun& run, const std::string& name, const std::string& input) {
    const ByteBuffer state = ReadInput(run, input);
    RequireSettings(state);
    run.subject.clear();
    Printer printer(FromUtf8(name), Printer::Opening::MayBeNew);
    PrinterDataUpdate update(printer);
    DeviceSettingsManager(printer).WriteDeviceSettingsDataToStorage(state);
    update.Commit();
}

void Export(ToolRun& run, Printer& printer, const OutputChoice& output) {
    const ByteBuffer state = ReadStored(run, printer);
    RequireSettings(state);
    WriteOutput(run, output, state);
}

/// One line about a printer's settings; empty when it has none.
std::string VerdictOn(const std::string& name) {
    Printer printer(FromUtf8(name));
    ByteBuffer state;
    DWORD size = 0;
    if (!DeviceSettingsManager(printer).GetDeviceSettingsDataFromStorage(state, size)) return {};
    const StateContents contents = RequireSettings(state);
    std::string verdict = "ok       " + name + ": version " + VersionText(contents.version) + ", " +
                          CountText(contents.size, "byte") + ", " +
                          CountText(CountAllAttributes(contents), "attribute");
    UtcTime time;
    if (printer.GetPrinterDataTime(Printer::driverDataKey, DeviceSettingsManager::settingsValueName, time))
        verdict += ", written " + ToUtf8(time.GetDisplayString());
    return verdict;
}

/// Lists printers; one that cannot be read takes a line of its own and does not end the list.
void List(ToolRun& run, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        std::string verdict;
        try {
            verdict = VerdictOn(name);
        } catch (const std::exception& e) {
            verdict = "refused  " + name + ": " + RefusalText(e, "");
            run.exitStatus = exitstatus::refused;
        }
        if (!verdict.empty()) run.out << OneLine(verdict) << '\n';
    }
}

std::vector<std::string> NamesOfAllPrinters() {
    std::vector<std::string> names;
    for (const CXString& name : Printer::EnumeratePrinters())
        names.push_back(ToUtf8(name));
    return names;
}

struct Choice {
    std::string printer = {};
    std::string operand = {};
    OutputChoice output = {};
};

CLI::App* AddCommand(CLI::App& group, const std::string& name, const std::string& text, Choice& choice) {
    CLI::App* const command = group.add_subcommand(name, text);
    command->add_option("--printer", choice.printer, "The printer's name")->required();
    return command;
}

void AddGet(CLI::App& group, ToolRun& run) {
    const auto choice = std::make_shared<Choice>();
    CLI::App* const command = AddCommand(group, "get", "Print settings as JSON", *choice);
    command->add_option("ID", choice->operand,
                        "Only this attribute: {\"feature\": 12}, or any identifier of the JSON form, or the "
                        "number of a feature");
    command->callback([&run, choice] {
        Printer printer(FromUtf8(choice->printer));
        choice->operand.empty() ? GetAll(run, printer) : GetOne(run, printer, choice->operand);
    });
}

void AddSet(CLI::App& group, ToolRun& run) {
    const auto choice = std::make_shared<Choice>();
    CLI::App* const command =
        AddCommand(group, "set", "Change one attribute, or replace all of them", *choice);
    command
        ->add_option("JSON", choice->operand,
                     "One attribute, {\"id\": {\"feature\": 12}, \"value\": {\"integer\": 300}}, or a whole "
                     "document as `settings get` prints it; or the name of a file that holds it")
        ->required();
    command->callback([&run, choice] { Set(run, choice->printer, choice->operand); });
}

void AddList(CLI::App& group, ToolRun& run) {
    const auto choice = std::make_shared<Choice>();
    CLI::App* const command = group.add_subcommand("list", "List the printers that have settings");
    command->add_option("--printer", choice->printer, "Only this printer");
    command->callback([&run, choice] {
        List(run, choice->printer.empty() ? NamesOfAllPrinters() : std::vector{choice->printer});
    });
}

void AddExport(CLI::App& group, ToolRun& run) {
    const auto choice = std::make_shared<Choice>();
    CLI::App* const command = AddCommand(group, "export", "Write the stored state to a file", *choice);
    AddOutputOptions(*command, choice->output, "the state goes");
    command->callback([&run, choice] {
        Printer printer(FromUtf8(choice->printer));
        Export(run, printer, choice->output);
    });
}

void AddImport(CLI::App& group, ToolRun& run) {
    const auto choice = std::make_shared<Choice>();
    CLI::App* const command =
        AddCommand(group, "import", "Store a state, of another printer or of the other build too", *choice);
    command->add_option("STATE", choice->operand, "The state, as `settings export` writes it")->required();
    command->callback([&run, choice] { Import(run, choice->printer, choice->operand); });
}

}  // namespace

void AddSettingsCommands(CLI::App& app, ToolRun& run) {
    CLI::App* const group = app.add_subcommand("settings", description);
    group->require_subcommand(1);
    AddGet(*group, run);
    AddSet(*group, run);
    AddList(*group, run);
    AddExport(*group, run);
    AddImport(*group, run);
}
