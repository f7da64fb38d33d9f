// nvutil state: builds, shows, compares and checks persisted attribute states.
#include <CLI/CLI.hpp>

#include <exception>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "nvutil/command.h"
#include "nvutil/files.h"
#include "nvutil/progress.h"
#include "nvutil/statebytes.h"
#include "nvutil/statediff.h"
#include "nvutil/statefile.h"
#include "nvutil/statejson.h"
#include "nvutil/statetree.h"
#include "nvutil/text.h"
#include "nvutil/versionscope.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/utilitiesdll/driverversion.h"

namespace {

std::string_view TextOf(const ByteBuffer& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// For its scope, what is written is written by the version that the document names.
CurrentVersionScope WriteAs(const StateDocument& document) {
    return CurrentVersionScope(document.version.value_or(DriverVersion::GetCurrentDriverVersion()));
}

ByteBuffer BuildState(std::string_view json) {
    const StateDocument document = ReadStateJson(json);
    const auto scope = WriteAs(document);
    return PersistentAttributes(document.nameSpaces).GetPersistentAttributesState();
}

/// Prints a state as JSON. States by other writers may have bytes that the JSON form cannot express, such as
/// 2 for true or the type of a namespace's list. The user is told when building the state again would change
/// them.
void ShowJson(ToolRun& run, const StateContents& contents) {
    const std::string json = WriteStateJson(contents);
    const StateDocument document = ReadStateJson(json);
    const auto scope = WriteAs(document);
    ByteBuffer rebuilt;
    document.nameSpaces.GetAttributeBytesNameSpacesState(rebuilt);
    run.out << json;
    if (rebuilt != contents.uncompressed)
        run.error << "nvutil: " << OneLine(run.subject) << ": a state built from this JSON has other bytes\n";
}

/// Prints every byte, also of a damaged state as far as it can be read.
void ShowBytes(ToolRun& run, const ByteBuffer& state) {
    run.out << "Header\n";
    ReportHeaderFields(state, [&](const StateField& field) { run.out << WriteField(state, field); });
    PersistentAttributes::PersistentAttributesHeaderType header;
    ByteBuffer bytes;
    PersistentAttributes::GetComponentsFromStateDataBuffer(state, header, bytes);
    run.out << "\nCompressed: " << CountText(state.size() - sizeof header, "byte") << "\n\nUncompressed\n";
    ReportNameSpacesFields(bytes, [&](const StateField& field) { run.out << WriteField(bytes, field); });
    ReadState(state);  // finds damage that leaves every field readable
}

struct ShowChoice {
    std::string state;
    bool isJson = false;
    bool isBytes = false;
};

void Show(ToolRun& run, const ShowChoice& choice) {
    const ByteBuffer state = ReadInput(run, choice.state);
    if (choice.isBytes) return ShowBytes(run, state);
    const StateContents contents = ReadState(state);
    if (choice.isJson) return ShowJson(run, contents);
    run.out << WriteStateTree(contents);
}

void Diff(ToolRun& run, const std::string& before, const std::string& after, bool tellsByStatus) {
    const StateContents old = ReadState(ReadInput(run, before));
    const StateContents current = ReadState(ReadInput(run, after));
    const std::size_t count = WriteStateDiff(old, current, run.out);
    run.out << (count == 0 ? "no differences" : CountText(count, "difference")) << '\n';
    if (count != 0 && tellsByStatus) run.exitStatus = exitstatus::different;
}

std::string VerdictOn(ToolRun& run, const std::string& name) {
    const StateContents contents = ReadState(ReadInput(run, name));
    return name + ": " + CountText(contents.size, "byte") + ", version " + VersionText(contents.version) +
           ", " + CountText(contents.nameSpaces.size(), "namespace") + ", " +
           CountText(CountAllAttributes(contents), "attribute");
}

void Verify(ToolRun& run, const std::vector<std::string>& names) {
    Progress progress(run.error, names.size());
    for (const std::string& name : names) {
        progress.Show(name);
        std::string verdict;
        try {
            verdict = "ok       " + VerdictOn(run, name);
        } catch (const std::exception& e) {
            verdict = "refused  " + name + ": " + RefusalText(e, "");
            run.exitStatus = exitstatus::refused;
        }
        progress.Wipe();
        run.out << OneLine(verdict) << '\n';
    }
}

void AddBuild(CLI::App& group, ToolRun& run) {
    CLI::App* const command = group.add_subcommand("build", "Build a state from its JSON form");
    const auto input = std::make_shared<std::string>();
    const auto output = std::make_shared<OutputChoice>();
    command->add_option("IN.json", *input, "The JSON form, as `state show --json` prints it")->required();
    AddOutputOptions(*command, *output, "the state goes");
    command->callback([&run, input, output] {
        const ByteBuffer json = ReadInput(run, *input, largestDocument);
        WriteOutput(run, *output, BuildState(TextOf(json)));
    });
}

void AddShow(CLI::App& group, ToolRun& run) {
    CLI::App* const command = group.add_subcommand("show", "Show what a state holds");
    const auto choice = std::make_shared<ShowChoice>();
    command->add_option("STATE", choice->state, "The state")->required();
    CLI::Option* const json = command->add_flag("--json", choice->isJson, "Print the JSON form");
    command->add_flag("--bytes", choice->isBytes, "Print every byte with the field it belongs to")
        ->excludes(json);
    command->callback([&run, choice] { Show(run, *choice); });
}

void AddDiff(CLI::App& group, ToolRun& run) {
    CLI::App* const command = group.add_subcommand("diff", "Print what differs between two states");
    const auto names = std::make_shared<std::pair<std::string, std::string>>();
    const auto tellsByStatus = std::make_shared<bool>(false);
    command->add_option("A", names->first, "The state before")->required();
    command->add_option("B", names->second, "The state after")->required();
    command->add_flag("--exit-code", *tellsByStatus, "End with status 3 when there are differences");
    command->callback(
        [&run, names, tellsByStatus] { Diff(run, names->first, names->second, *tellsByStatus); });
}

void AddVerify(CLI::App& group, ToolRun& run) {
    CLI::App* const command = group.add_subcommand("verify", "Check states; one verdict a file");
    const auto names = std::make_shared<std::vector<std::string>>();
    command->add_option("STATE", *names, "The states")->required();
    command->callback([&run, names] { Verify(run, *names); });
}

}  // namespace

void AddStateCommands(CLI::App& app, ToolRun& run) {
    CLI::App* const group = app.add_subcommand("state", "Persisted attribute states");
    group->require_subcommand(1);
    AddBuild(*group, run);
    AddShow(*group, run);
    AddDiff(*group, run);
    AddVerify(*group, run);
}
