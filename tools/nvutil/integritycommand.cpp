// nvutil crc, hash and checksum: the integrity values of files.
#include <CLI/CLI.hpp>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "nvutil/command.h"
#include "nvutil/files.h"
#include "nvutil/text.h"
#include "utilities/utilitiesdll/checksum.h"
#include "utilities/utilitiesdll/crc32.h"
#include "utilities/utilitiesdll/hash32.h"

namespace {

/// The value of one file, in upper-case hexadecimal digits.
using FileValue = std::string (*)(ToolRun& run, const std::string& name);

std::string CrcOf(ToolRun& run, const std::string& name) {
    DWORD crc = Crc32::GetCrc(nullptr, 0);
    ReadPieces(run, name, [&crc](std::span<const BYTE> piece) {
        crc = Crc32::GetCrc(piece.data(), static_cast<DWORD>(piece.size()), ~crc);
    });
    return HexNumber(crc, 8);
}

std::string HashOf(ToolRun& run, const std::string& name) {
    return HexNumber(Hash32::GetHash32(ReadInput(run, name)), 8);
}

std::string ShortHashOf(ToolRun& run, const std::string& name) {
    const ByteBuffer bytes = ReadInput(run, name);
    return HexNumber(Hash32::GetHash16(bytes.getLpbyte(), bytes.getDword()), 4);
}

std::string ChecksumOf(ToolRun& run, const std::string& name) {
    ByteBuffer bytes = ReadInput(run, name);
    const DWORD length = bytes.getDword();
    bytes.insert(bytes.end(), 2, 0);  // which the checksum of an odd length counts
    return HexNumber(Checksum::GetChecksum(bytes.getLpbyte(), length), 4);
}

/// A file that cannot be read is reported, and the others still have their values printed.
void PrintValues(ToolRun& run, const std::vector<std::string>& names, FileValue valueOf) {
    for (const std::string& name : names) {
        try {
            run.out << valueOf(run, name) << "  " << OneLine(name) << '\n';
        } catch (const std::exception& e) {
            ReportRefusal(run, e);
            run.exitStatus = exitstatus::refused;
        }
    }
}

struct Arguments {
    std::vector<std::string> names;
    bool isShort = false;
};

CLI::App* AddFilesCommand(CLI::App& app, const std::string& name, const std::string& description,
                          Arguments& arguments) {
    CLI::App* const command = app.add_subcommand(name, description);
    command->add_option("FILE", arguments.names, "The files")->required();
    return command;
}

}  // namespace

void AddIntegrityCommands(CLI::App& app, ToolRun& run) {
    const auto arguments = std::make_shared<Arguments>();
    AddFilesCommand(app, "crc", "Print the CRC-32 of files", *arguments)->callback([&run, arguments] {
        PrintValues(run, arguments->names, CrcOf);
    });
    CLI::App* const hash = AddFilesCommand(app, "hash", "Print the 32-bit hash of files", *arguments);
    hash->add_flag("--16", arguments->isShort, "Print its fold into 16 bits instead");
    hash->callback(
        [&run, arguments] { PrintValues(run, arguments->names, arguments->isShort ? ShortHashOf : HashOf); });
    AddFilesCommand(app, "checksum", "Print the 16-bit checksum of files, each as if two zero bytes followed",
                    *arguments)
        ->callback([&run, arguments] { PrintValues(run, arguments->names, ChecksumOf); });
}
