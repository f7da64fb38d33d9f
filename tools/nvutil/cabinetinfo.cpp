// The fields of a compressed buffer, as `buffer info` prints them.
#include "nvutil/cabinetinfo.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "nvutil/text.h"
#include "platform/cabinetformat.h"
#include "utilities/compression/cabinetentrypath.h"
#include "utilities/compression/compressedbufferfooter.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/bytebuffer.h"

namespace {

using namespace platform::cabinet;

constexpr std::size_t nameWidth = 18;

void WriteLine(std::ostream& out, std::string_view name, std::string_view value) {
    out << Padded(name, nameWidth) << value << '\n';
}

std::string NameOfFormat(unsigned format) {
    constexpr std::string_view names[] = {"unknown", "zlib", "cabinet"};
    return std::to_string(format) + " (" + std::string(format < std::size(names) ? names[format] : names[0]) +
           ')';
}

void WriteFooter(const CompressedBufferFooter& footer, std::size_t stateSize, std::ostream& out) {
    WriteLine(out, "State", CountText(stateSize, "byte"));
    WriteLine(out, "Footer", std::string(footer.signature) + ", " + CountText(footer.size, "byte"));
    WriteLine(out, "Format",
              footer.format ? NameOfFormat(static_cast<unsigned>(*footer.format)) : "not stored");
    WriteLine(out, "Setting", footer.setting ? std::to_string(*footer.setting) : "not stored");
    WriteLine(out, "Original size", CountText(static_cast<DWORD>(footer.originalSize), "byte"));
    WriteLine(out, "Compressed size", CountText(stateSize - footer.size, "byte"));
}

/// Prints a cabinet from front to back. The walks throw where it ends too early.
class CabinetPrinter {
public:
    CabinetPrinter(std::span<const BYTE> cabinet, std::ostream& out) : m_cabinet(cabinet), m_out(out) {}

    void Write() {
        nvutil::ByteWalk mark = WalkFrom(0);
        if (static_cast<std::uint32_t>(ByteBuffer::WalkBufferToGetInt(mark.cursor, mark.remaining)) !=
            headerSignature) {
            WriteLine(m_out, "Cabinet", "none: the signature is missing");
            return;
        }
        nvutil::ByteWalk walk = WalkFrom(0);
        WriteHeader(walk);
        WriteFolders(walk);
        WriteFiles();
        WriteBlocks();
    }

private:
    nvutil::ByteWalk WalkFrom(std::size_t offset) const {
        const std::size_t begin = std::min(offset, m_cabinet.size());
        return {m_cabinet.data() + begin, m_cabinet.size() - begin};
    }
    static BYTE TakeByte(nvutil::ByteWalk& walk) {
        return ByteBuffer::WalkBufferToGetByte(walk.cursor, walk.remaining);
    }
    template <class Structure>
    static Structure Take(nvutil::ByteWalk& walk) {
        BYTE bytes[encodedSize<Structure>];
        for (BYTE& byte : bytes)
            byte = TakeByte(walk);
        return Decode<Structure>(bytes);
    }
    static void Skip(nvutil::ByteWalk& walk, unsigned size) {
        for (unsigned i = 0; i < size; ++i)
            TakeByte(walk);
    }

    void WriteHeader(nvutil::ByteWalk& walk) {
        m_header = Take<Header>(walk);
        if ((m_header.flags & hasReservedAreas) != 0) {
            m_reserves = Take<ReserveSizes>(walk);
            Skip(walk, m_reserves.header);
        }
        const std::uint32_t size = m_header.cabinetSize;
        WriteLine(m_out, "Cabinet",
                  CountText(size, "byte") + ", version " + std::to_string(m_header.majorVersion) + '.' +
                      std::to_string(m_header.minorVersion) + ", flags 0x" + HexNumber(m_header.flags, 4));
        WriteLine(m_out, "Set",
                  std::to_string(m_header.setId) + ", cabinet " + std::to_string(m_header.cabinetIndex));
        WriteLine(m_out, "Entries",
                  CountText(m_header.folderCount, "folder") + ", " + CountText(m_header.fileCount, "file"));
        if (size < m_cabinet.size())
            WriteLine(m_out, "Behind the cabinet", CountText(m_cabinet.size() - size, "byte"));
    }

    void WriteFolders(nvutil::ByteWalk& walk) {
        constexpr std::string_view compressions[] = {"not compressed", "MSZIP", "Quantum", "LZX"};
        for (unsigned i = 0; i < m_header.folderCount; ++i) {
            const auto folder = Take<FolderEntry>(walk);
            Skip(walk, m_reserves.folder);
            m_folders.push_back(folder);
            WriteLine(m_out, "Folder " + std::to_string(i),
                      std::string(compressions[folder.compression & 3]) + ", " +
                          CountText(folder.blockCount, "block") + " from offset " +
                          std::to_string(folder.dataOffset));
        }
    }

    void WriteFiles() {
        nvutil::ByteWalk walk = WalkFrom(m_header.firstFileOffset);
        for (unsigned i = 0; i < m_header.fileCount; ++i) {
            const auto file = Take<FileEntry>(walk);
            std::string name;
            while (const BYTE character = TakeByte(walk))
                name += static_cast<char>(character);
            WriteLine(m_out, "File " + std::to_string(i),
                      QuotedText(DecodeCabinetName(name, file.attributes)) + ", " +
                          CountText(file.size, "byte") + " at offset " + std::to_string(file.offset) +
                          " of folder " + std::to_string(file.folder) + ", " + DosTime(file.date, file.time) +
                          ", attributes 0x" + HexNumber(file.attributes, 4));
        }
    }

    /// Ends at a folder that names blocks of a former one: printing them again for every folder could take
    /// very long.
    void WriteBlocks() {
        std::size_t end = 0;
        for (const FolderEntry& folder : m_folders) {
            std::size_t offset = folder.dataOffset;
            if (folder.blockCount != 0 && offset < end) {
                WriteLine(m_out, "Block 0",
                          "at offset " + std::to_string(offset) + ", which is another folder's");
                return;
            }
            for (unsigned i = 0; i < folder.blockCount; ++i) {
                nvutil::ByteWalk walk = WalkFrom(offset);
                const auto block = Take<DataHeader>(walk);
                Skip(walk, unsigned{m_reserves.data} + block.payloadSize);
                WriteLine(m_out, "Block " + std::to_string(i),
                          "at offset " + std::to_string(offset) + ", checksum 0x" +
                              HexNumber(block.checksum, 8) + ", " +
                              CountText(block.uncompressedSize, "byte") + " in " +
                              Grouped(block.payloadSize));
                offset = m_cabinet.size() - walk.remaining;
                end = offset;
            }
        }
    }

    /// "1997-03-12 11:13:52", from the two words of a DOS directory.
    static std::string DosTime(unsigned date, unsigned time) {
        const auto digits = [](unsigned number) { return (number < 10 ? "0" : "") + std::to_string(number); };
        return std::to_string(1980 + (date >> 9)) + '-' + digits(date >> 5 & 0xF) + '-' +
               digits(date & 0x1F) + ' ' + digits(time >> 11) + ':' + digits(time >> 5 & 0x3F) + ':' +
               digits((time & 0x1F) * 2);
    }

    std::span<const BYTE> m_cabinet;
    std::ostream& m_out;
    Header m_header;
    ReserveSizes m_reserves;  ///< Zeros where the cabinet has none.
    std::vector<FolderEntry> m_folders;
};

}  // namespace

void WriteBufferInfo(std::span<const BYTE> state, std::ostream& out) {
    const auto footer = ReadCompressedBufferFooter(state);
    if (!footer) {
        NV_THROW(ExceptionMissingOrBadCompressedBufferFooter, "WriteBufferInfo", __LINE__,
                 NV_TEXT("ends in no footer of a compressed buffer"));
    }
    WriteFooter(*footer, state.size(), out);
    const auto compressed = state.first(state.size() - footer->size);
    if (footer->format != CompressedBuffer::CF_CABINET || compressed.empty()) return;
    CabinetPrinter(compressed, out).Write();
}
