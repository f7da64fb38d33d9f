// nvutil exceptions: the table of type codes.
#include <CLI/CLI.hpp>

#include <ostream>

#include "nvutil/command.h"
#include "utilities/debuggingandexceptions/exceptions.h"

void AddExceptionsCommand(CLI::App& app, ToolRun& run) {
    CLI::App* const command = app.add_subcommand("exceptions", "Print the type codes of all exceptions");
    command->callback([&run] {
        for (const ExceptionTypeCode& type : GetExceptionTypeCodes())
            run.out << type.code << "  " << type.className << '\n';
    });
}
