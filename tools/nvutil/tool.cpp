// The tool's one entry: the command line as a whole, and how failures are reported.
#include "nvutil/tool.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <ostream>
#include <vector>

#include "nvutil/command.h"
#include "nvutil/text.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace {

constexpr auto description =
    "Shows, builds, compares and checks what the printer driver stores.\n"
    "\"-\" stands for standard input or output.\n"
    "Exit status: 0 success, 1 the input was refused, 2 wrong usage.";

/// The groups of commands, in the order of the help.
constexpr void (*groups[])(CLI::App&, ToolRun&) = {
    AddStateCommands,     AddBufferCommands, AddSettingsCommands, AddIniCommands,
    AddProductCommands,   AddPdlCommands,    AddBase64Commands,   AddConvertCommand,
    AddIntegrityCommands, AddSealCommands,   AddXmlCommands,      AddExceptionsCommand,
};

// CLI11 takes "-5" for a number, but "-.5" for an option. Arguments that begin with "-." are therefore given
// to it with a zero in front, which no argument can hold, and the commands get them without it.
constexpr char mark = '\0';

std::string WithoutMark(const std::string& argument) {
    return argument.starts_with(mark) ? argument.substr(1) : argument;
}

/// Lets every command see the arguments as the user gave them.
void TakeMarksAway(CLI::App& app) {
    for (CLI::Option* const option : app.get_options())
        option->transform(WithoutMark);
    for (CLI::App* const command : app.get_subcommands(nullptr))
        TakeMarksAway(*command);
}

/// Parses and, by the commands' callbacks, runs. CLI11 reports by throwing.
void Parse(CLI::App& app, std::span<const std::string> arguments) {
    TakeMarksAway(app);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    for (std::string& argument : reversed) {
        if (argument.starts_with("-.")) argument.insert(argument.begin(), mark);
    }
    app.parse(std::move(reversed));
}

/// Whether every argument is valid UTF-8. Otherwise two names of different bytes could become the same name.
bool AreText(std::span<const std::string> arguments, ToolRun& run) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (ToUtf8(FromUtf8(arguments[i])) == arguments[i]) continue;
        run.error << "nvutil: argument " << i + 1 << " is not valid UTF-8\n";
        return false;
    }
    return true;
}

/// What was printed may still be in a buffer, and a full disk must not look like success.
void FinishOutput(ToolRun& run) {
    run.out.flush();
    if (run.out) return;
    run.subject = "standard output";
    NV_THROW(ExceptionWriteFile, "RunTool", __LINE__, NV_TEXT("cannot be written"));
}

/// The command-line library's own failures are wrong usage, except that help is success.
int ReportUsage(const CLI::App& app, const CLI::ParseError& error, ToolRun& run) {
    return app.exit(error, run.out, run.error) == 0 ? exitstatus::success : exitstatus::usage;
}

}  // namespace

void ReportRefusal(ToolRun& run, const std::exception& exception) {
    run.error << "nvutil: " << RefusalText(exception, run.subject) << '\n';
    if (run.isVerbose) run.error << ToUtf8(NorvaException::GetExceptionDescription(exception)) << '\n';
}

int RunTool(std::span<const std::string> arguments, std::istream& in, std::ostream& out,
            std::ostream& error) {
    ToolRun run{in, out, error};
    if (!AreText(arguments, run)) return exitstatus::usage;
    CLI::App app(description, "nvutil");
    app.allow_windows_style_options(false);  // a "/" begins a file's name, on every platform
    app.require_subcommand(1);
    app.fallthrough();
    app.add_flag("--verbose", run.isVerbose, "Describe a refusal in full");
    for (const auto addCommands : groups)
        addCommands(app, run);
    try {
        Parse(app, arguments);
        FinishOutput(run);
        return run.exitStatus;
    } catch (const CLI::ParseError& e) {
        return ReportUsage(app, e, run);
    } catch (const std::exception& e) {
        ReportRefusal(run, e);
        return exitstatus::refused;
    }
}
