// nvutil xml: shows XML documents as trees and checks them.
#include <CLI/CLI.hpp>

#include <cstddef>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "nvutil/command.h"
#include "nvutil/files.h"
#include "nvutil/text.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"
#include "utilities/xmlparser/comerror.h"
#include "utilities/xmlparser/npifparseexception.h"
#include "utilities/xmlparser/platformxmlparser.h"

namespace {

constexpr std::size_t largestDocument = 16 << 20;  // the library refuses smaller ones already

/// What an element's line shows of it: its tag.
std::string TagOf(XmlDomNode& element) {
    std::string tag = '<' + ToUtf8(element.getNodeName());
    const auto attributes = element.getAttributes();
    for (const auto& attribute : static_cast<PlatformDomNamedNodeMap&>(*attributes).getItems())
        tag += ' ' + ToUtf8(attribute->getNodeName()) + '=' + QuotedText(attribute->getNodeValue());
    return tag + '>';
}

/// One line: a tag, a text in quotes, or another node's name and what it holds.
std::string LineOf(XmlDomNode& node) {
    if (node.isElementNode()) return TagOf(node);
    const CXString value = node.getNodeValue();
    if (node.isTextNode()) return QuotedText(value);
    const std::string name = ToUtf8(node.getNodeName());
    return value.IsEmpty() ? name : name + ' ' + QuotedText(value);
}

void PrintTree(std::ostream& out, std::unique_ptr<XmlDomNode> root) {
    std::vector<std::unique_ptr<XmlDomNode>> path;
    path.push_back(std::move(root));
    for (;;) {
        if (!*path.back()) {
            path.pop_back();
            if (path.size() == 1) return;  // what follows the root is no part of it
            path.back() = path.back()->getNextSibling();
            continue;
        }
        out << std::string(2 * (path.size() - 1), ' ') << LineOf(*path.back()) << '\n';
        path.push_back(path.back()->getFirstChild());
    }
}

/// Prints a refusal in full, with the parse error if that is what it was.
void ReportInFull(ToolRun& run, const NpifParseException& exception, XmlDomDocument& document) {
    ReportRefusal(run, exception);
    run.error << ToUtf8(exception.GetCodeString()) << '\n';
    if (exception.GetCode() != NpifParseException::ErrorReportedDuringParse) return;
    auto& own = static_cast<PlatformDomDocument&>(document);
    run.error << ToUtf8(PlatformDomDocument::formatParseErrorDisplayString(own.getParseError())) << '\n';
}

/// Parses a file; why it is refused is printed.
void Parse(ToolRun& run, const std::string& name, PlatformXmlParser& parser) {
    ByteBuffer bytes = ReadInput(run, name, largestDocument);
    try {
        if (bytes.empty()) {
            ThrowNpifParseException(NpifParseException::ParseResultedInEmptyDomDocument, "ParseXml", __FILE__,
                                    __LINE__);
        }
        parser.parse(bytes.getLpbyte(), bytes.getDword());
    } catch (const NpifParseException& exception) {
        ReportInFull(run, exception, *parser.getDocument());
        run.exitStatus = exitstatus::refused;
    }
}

void Show(ToolRun& run, const std::string& name) {
    PlatformXmlParser parser(FromUtf8(name), false);
    Parse(run, name, parser);
    if (run.exitStatus == exitstatus::success)
        PrintTree(run.out, parser.getDocument()->getDocumentElement()->getAsDomNode());
}

void Validate(ToolRun& run, const std::string& name) {
    PlatformXmlParser parser(FromUtf8(name), true);
    Parse(run, name, parser);
    if (run.exitStatus == exitstatus::success) run.out << OneLine("ok       " + name) << '\n';
}

using Command = void (*)(ToolRun& run, const std::string& name);

/// Runs a command whose engine may fail with an error that is no standard exception.
void Run(ToolRun& run, const std::string& name, Command command) {
    try {
        command(run, name);
    } catch (const _com_error& error) {
        throw NorvaComException(PlatformXmlParser::formatCOMExceptionDisplayString(error),
                                NV_TEXT("tools/nvutil/xmlcommand"), __LINE__, NV_TEXT("Run"),
                                UtilitiesDllPerThreadStorage::CopyExecutionContextStack(), error.Error());
    }
}

void AddCommand(CLI::App& group, ToolRun& run, const std::string& name, const std::string& description,
                Command command) {
    CLI::App* const app = group.add_subcommand(name, description);
    const auto file = std::make_shared<std::string>();
    app->add_option("FILE", *file, "The document")->required();
    app->callback([&run, file, command] { Run(run, *file, command); });
}

}  // namespace

void AddXmlCommands(CLI::App& app, ToolRun& run) {
    CLI::App* const group = app.add_subcommand("xml", "XML documents");
    group->require_subcommand(1);
    AddCommand(*group, run, "show", "Print a document as a tree", Show);
    AddCommand(*group, run, "validate", "Check a document, against its DTD if it has one beside it",
               Validate);
}
