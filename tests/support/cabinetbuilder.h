// Cabinets as a test wants them: laid out soundly, then damaged in fields that are called by their names.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/cabinet.h"
#include "platform/cabinetformat.h"
#include "support/bytes.h"
#include "utilities/utilitiesdll/bytebuffer.h"

namespace cabinettest {

struct Block {
    ByteBuffer payload;
    std::size_t size = 0;  ///< Uncompressed.
    std::uint32_t checksum = 0;
};
struct FolderData {
    std::uint16_t compression = platform::cabinet::tcompTYPE_MSZIP;
    std::vector<Block> blocks;
};
struct FileData {
    std::string name;
    platform::cabinet::FileEntry entry;
};

/// All records of a cabinet but the names and bytes between them.
struct Records {
    platform::cabinet::Header header;
    platform::cabinet::ReserveSizes reserve;
    std::vector<platform::cabinet::FolderEntry> folders;
    std::vector<platform::cabinet::FileEntry> files;
    std::vector<platform::cabinet::DataHeader> blocks;
};

/// Collects what a cabinet holds and lays it out soundly: offsets, counts and sizes are always right unless
/// Damage changes them.
class CabinetBuilder {
public:
    CabinetBuilder& Folder(std::uint16_t compression, std::vector<Block> blocks) {
        return Folder({compression, std::move(blocks)});
    }
    CabinetBuilder& Folder(FolderData folder) {
        folders.push_back(std::move(folder));
        return *this;
    }
    /// @param entry  as it will stand there
    CabinetBuilder& File(std::string name, const platform::cabinet::FileEntry& entry) {
        files.push_back({std::move(name), entry});
        return *this;
    }
    CabinetBuilder& Reserve(ByteBuffer header, ByteBuffer folder, ByteBuffer block) {
        m_flags |= platform::cabinet::hasReservedAreas;
        m_headerReserve = std::move(header);
        m_folderReserve = std::move(folder);
        m_blockReserve = std::move(block);
        return *this;
    }
    /// @param names  of cabinets and disks, as many as the flags say
    CabinetBuilder& Neighbours(int flags, const std::vector<std::string>& names) {
        m_flags |= flags;
        for (const std::string& name : names)
            AppendName(m_neighbours, name);
        return *this;
    }
    /// Changes records when the cabinet has been laid out.
    CabinetBuilder& Damage(std::function<void(Records&)> change) {
        m_changes.push_back(std::move(change));
        return *this;
    }

    ByteBuffer Build() const {
        const Records records = LayOut();
        ByteBuffer bytes;
        Append(bytes, records.header);
        if (HasReserve()) Append(bytes, records.reserve).append(m_headerReserve);
        bytes.append(m_neighbours);
        for (const auto& folder : records.folders)
            Append(bytes, folder).append(m_folderReserve);
        for (std::size_t i = 0; i < files.size(); ++i)
            AppendName(Append(bytes, records.files[i]), files[i].name);
        auto record = records.blocks.begin();
        for (const FolderData& folder : folders) {
            for (const Block& block : folder.blocks)
                Append(bytes, *record++).append(m_blockReserve).append(block.payload);
        }
        return bytes;
    }

    // What has been added, which a test may change.
    std::vector<FolderData> folders;
    std::vector<FileData> files;

private:
    bool HasReserve() const { return (m_flags & platform::cabinet::hasReservedAreas) != 0; }

    Records LayOut() const {
        using namespace platform::cabinet;
        Records records;
        std::size_t end = encodedSize<Header> + m_neighbours.size();
        if (HasReserve()) end += encodedSize<ReserveSizes> + m_headerReserve.size();
        end += folders.size() * (encodedSize<FolderEntry> + m_folderReserve.size());
        const std::size_t firstFile = end;
        for (const FileData& file : files) {
            records.files.push_back(file.entry);
            end += encodedSize<FileEntry> + file.name.size() + 1;
        }
        for (const FolderData& folder : folders) {
            records.folders.push_back({static_cast<std::uint32_t>(end),
                                       static_cast<std::uint16_t>(folder.blocks.size()), folder.compression});
            for (const Block& block : folder.blocks) {
                records.blocks.push_back({block.checksum, static_cast<std::uint16_t>(block.payload.size()),
                                          static_cast<std::uint16_t>(block.size)});
                end += encodedSize<DataHeader> + m_blockReserve.size() + block.payload.size();
            }
        }
        records.reserve = {static_cast<std::uint16_t>(m_headerReserve.size()),
                           static_cast<std::uint8_t>(m_folderReserve.size()),
                           static_cast<std::uint8_t>(m_blockReserve.size())};
        records.header = {.signature = headerSignature,
                          .cabinetSize = static_cast<std::uint32_t>(end),
                          .firstFileOffset = static_cast<std::uint32_t>(firstFile),
                          .minorVersion = formatMinor,
                          .majorVersion = formatMajor,
                          .folderCount = static_cast<std::uint16_t>(folders.size()),
                          .fileCount = static_cast<std::uint16_t>(files.size()),
                          .flags = static_cast<std::uint16_t>(m_flags),
                          .setId = 12345};
        for (const auto& change : m_changes)
            change(records);
        return records;
    }

    template <class Record>
    static ByteBuffer& Append(ByteBuffer& bytes, const Record& record) {
        BYTE encoded[platform::cabinet::encodedSize<Record>];
        platform::cabinet::Encode(record, encoded);
        return bytes.appendLpbyte(encoded, sizeof encoded);
    }
    static void AppendName(ByteBuffer& bytes, const std::string& name) {
        bytes.insert(bytes.end(), name.c_str(), name.c_str() + name.size() + 1);
    }

    int m_flags = 0;
    ByteBuffer m_headerReserve, m_folderReserve, m_blockReserve, m_neighbours;
    std::vector<std::function<void(Records&)>> m_changes;
};

inline ByteBuffer BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

/// A cabinet with one file, "a", and one folder of some blocks.
inline CabinetBuilder OneFile(std::uint16_t compression, std::uint32_t size, std::vector<Block> blocks) {
    return CabinetBuilder().Folder(compression, std::move(blocks)).File("a", {.size = size});
}

/// The bytes of a cabinet with one file that is stored, of up to 32,768 bytes.
inline std::string StoredFile(const std::string& name, const std::string& content) {
    const ByteBuffer bytes =
        CabinetBuilder()
            .Folder(platform::cabinet::tcompTYPE_NONE, {{BytesOf(content), content.size()}})
            .File(name, {.size = static_cast<std::uint32_t>(content.size())})
            .Build();
    return {bytes.begin(), bytes.end()};
}

/// An MSZIP payload that stores its data.
inline ByteBuffer StoredMszip(const ByteBuffer& data) {
    const auto size = static_cast<std::uint16_t>(data.size());
    return Bytes("43 4B 01").appendValues(size, static_cast<std::uint16_t>(~size)).append(data);
}

/// An MSZIP payload of one match, 258 bytes at the largest distance, 32768, with fixed codes.
inline ByteBuffer MatchAtLargestDistance() {
    return Bytes("43 4B 1B BD FF 1F 00");
}

/// A folder of one LZX block with verbatim codes, "printer: ", 17 times "x" and " end".
inline FolderData LzxFolder() {
    const ByteBuffer payload = Bytes(
        "00 10 E1 01 00 00 01 00 00 00 00 00 0F 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF "
        "FF FF FF FF FF FF FF FF FF FF FF FF F2 FF 00 00 00 00 00 00 20 00 07 22 FF 4B FF FF 80 F0 00 00 "
        "00 00 00 00 00 00 7F 88 FF FF 70 F3 5A B9 D7 6D 2D 4B 75 CA BC 20 82 2C 6E CB 00 B2");
    return {platform::cabinet::tcompTYPE_LZX | 0x0F00, {{payload, 30}}};
}

/// A folder of one LZX block of plain bytes, which goes on over the cabinet's blocks. Their number is even.
inline FolderData PlainLzxFolder(const ByteBuffer& data) {
    const auto size = static_cast<std::uint32_t>(data.size());
    // No translation of calls, block type 3 and the size in 28 bits of 16-bit words, then three offsets.
    ByteBuffer payload;
    payload.appendValues(static_cast<std::uint16_t>(0x3000 | size >> 12),
                         static_cast<std::uint16_t>(size << 4), 1, 1, 1);
    FolderData folder{platform::cabinet::tcompTYPE_LZX | 0x0F00, {}};
    for (std::size_t begin = 0; begin < data.size(); begin += platform::cabinet::maxBlockSize) {
        const std::size_t count = std::min(platform::cabinet::maxBlockSize, data.size() - begin);
        payload.appendLpbyte(data.data() + begin, static_cast<DWORD>(count));
        folder.blocks.push_back({std::exchange(payload, {}), count});
    }
    return folder;
}

/// A folder of one Quantum block, "Quantum ", the bytes 00 80 FF, a blank, 16 times "x" and " end".
inline FolderData QuantumFolder() {
    return {platform::cabinet::tcompTYPE_QUANTUM | 0x0A10,
            {{Bytes("D1 61 62 7E 1A 5F 29 3B EF E5 89 35 25 AD E5 D9 E8 41 1D 31 00 00 00 00"), 32}}};
}

/// Bytes without repetitions, the same on every run.
inline ByteBuffer Noise(std::size_t size) {
    ByteBuffer bytes(size);
    std::uint32_t state = 1;
    for (BYTE& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<BYTE>(state >> 24);
    }
    return bytes;
}

/// Bytes that compress well.
inline ByteBuffer Prose(std::size_t size) {
    ByteBuffer bytes(size);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < size; ++i) {
        if (i % 16 == 0) state = state * 1664525 + 1013904223;
        bytes[i] = static_cast<BYTE>("the quick brown fox jumps over it"[(i + (state >> 29)) % 33]);
    }
    return bytes;
}

}  // namespace cabinettest
