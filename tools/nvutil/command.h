// What the commands share: the streams of a run and how each group joins the command line.
#pragma once

#include <exception>
#include <iosfwd>
#include <string>

#include "nvutil/tool.h"

namespace CLI {
class App;
}

/// One run of the tool. Commands set the exit status when it is not success; what they throw is reported.
struct ToolRun {
    std::istream& in;
    std::ostream& out;
    std::ostream& error;
    int exitStatus = exitstatus::success;
    bool isVerbose = false;
    std::string subject = {};  ///< The file at hand, for the line that a refusal prints.
};

// Each adds one group of commands, which run once the whole command line has been read.
void AddStateCommands(CLI::App& app, ToolRun& run);
void AddBufferCommands(CLI::App& app, ToolRun& run);
void AddSettingsCommands(CLI::App& app, ToolRun& run);
void AddIniCommands(CLI::App& app, ToolRun& run);
void AddProductCommands(CLI::App& app, ToolRun& run);
void AddPdlCommands(CLI::App& app, ToolRun& run);
void AddBase64Commands(CLI::App& app, ToolRun& run);
void AddConvertCommand(CLI::App& app, ToolRun& run);
void AddIntegrityCommands(CLI::App& app, ToolRun& run);
void AddSealCommands(CLI::App& app, ToolRun& run);
void AddXmlCommands(CLI::App& app, ToolRun& run);
void AddExceptionsCommand(CLI::App& app, ToolRun& run);

/// Writes the line that tells why an input was refused, and the exception's description when verbose.
void ReportRefusal(ToolRun& run, const std::exception& exception);
