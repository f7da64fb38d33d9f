// The command-line tool: hands the process's arguments and streams to RunTool.
#include <iostream>

#include "nvutil/platform/console.h"
#include "nvutil/tool.h"

int main(int argc, char** argv) {
    console::UseBinaryStreams();
    return RunTool(console::GetArguments(argc, argv), std::cin, std::cout, std::cerr);
}
