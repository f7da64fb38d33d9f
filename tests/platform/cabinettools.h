// Packs and unpacks cabinets in memory with the platform's cabinet library, and builds them by hand.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "memoryfiles.h"
#include "platform/cabinet.h"
#include "platform/module.h"

namespace cabinettest {

/// The functions that a test calls, found by name.
struct CabinetLibrary {
    platform::cabinet::FciCreateFunction fciCreate = nullptr;
    platform::cabinet::FciAddFileFunction fciAddFile = nullptr;
    platform::cabinet::FciFlushCabinetFunction fciFlushCabinet = nullptr;
    platform::cabinet::FciFlushFolderFunction fciFlushFolder = nullptr;
    platform::cabinet::FciDestroyFunction fciDestroy = nullptr;
    platform::cabinet::FdiCreateFunction fdiCreate = nullptr;
    platform::cabinet::FdiIsCabinetFunction fdiIsCabinet = nullptr;
    platform::cabinet::FdiCopyFunction fdiCopy = nullptr;
    platform::cabinet::FdiDestroyFunction fdiDestroy = nullptr;

    static const CabinetLibrary& Get() {
        static const CabinetLibrary library;
        return library;
    }

private:
    CabinetLibrary() {
        const platform::Module module = platform::LoadModule("cabinet.dll");
        Find(module, "FCICreate", fciCreate);
        Find(module, "FCIAddFile", fciAddFile);
        Find(module, "FCIFlushCabinet", fciFlushCabinet);
        Find(module, "FCIFlushFolder", fciFlushFolder);
        Find(module, "FCIDestroy", fciDestroy);
        Find(module, "FDICreate", fdiCreate);
        Find(module, "FDIIsCabinet", fdiIsCabinet);
        Find(module, "FDICopy", fdiCopy);
        Find(module, "FDIDestroy", fdiDestroy);
    }

    template <class Function>
    static void Find(platform::Module module, const char* name, Function& function) {
        function = reinterpret_cast<Function>(platform::FindModuleFunction(module, name));
    }
};

using NamedFiles = std::vector<std::pair<std::string, Bytes>>;

/// Cabinet parameters with the library's usual values.
inline platform::cabinet::CCAB UsualParameters() {
    platform::cabinet::CCAB parameters{};
    parameters.cb = 0x7FFFFFFF;
    parameters.cbFolderThresh = 0x7FFFFFFF;
    parameters.iCab = 1;
    parameters.setID = 12345;
    std::strcpy(parameters.szCab, "made.cab");
    std::strcpy(parameters.szCabPath, "//folder//");
    return parameters;
}

inline constexpr const char* madeCabinet = "//folder//made.cab";

/// What became of an operation.
struct Outcome {
    bool succeeded = false;
    platform::cabinet::ERF errors{};
    Bytes cabinet;                       ///< Packing: the cabinet.
    std::map<std::string, Bytes> files;  ///< Unpacking: the files that were closed.
    std::vector<std::string> events;     ///< Unpacking: the notifications; packing: status and placed files.
};

inline LONG NV_CABINET_CALL RecordStatus(unsigned type, DWORD first, DWORD second, void* user) {
    auto& outcome = *static_cast<Outcome*>(user);
    if (MemoryFiles::Current().Fails(Call::status)) return -1;
    const char* const names[] = {"file ", "folder ", "cabinet "};
    outcome.events.push_back(names[type] + std::to_string(first) + " " + std::to_string(second));
    return type == platform::cabinet::statusCabinet ? static_cast<LONG>(first) : 0;
}

inline int NV_CABINET_CALL RecordFilePlaced(platform::cabinet::CCAB*, char* name, LONG size, BOOL,
                                            void* user) {
    if (MemoryFiles::Current().Fails(Call::filePlaced)) return -1;
    static_cast<Outcome*>(user)->events.push_back("placed " + std::string(name) + " " + std::to_string(size));
    return 0;
}

inline BOOL NV_CABINET_CALL RefuseNextCabinet(platform::cabinet::CCAB*, DWORD, void*) {
    return 0;
}

inline platform::cabinet::HFCI CreateFci(platform::cabinet::ERF& errors, platform::cabinet::CCAB& parameters,
                                         platform::cabinet::FciFilePlacedFunction filePlaced, void* user) {
    return CabinetLibrary::Get().fciCreate(
        &errors, filePlaced, &MemoryFiles::AllocateCallback, &MemoryFiles::FreeCallback,
        &MemoryFiles::FciOpen, &MemoryFiles::FciRead, &MemoryFiles::FciWrite, &MemoryFiles::FciClose,
        &MemoryFiles::FciSeek, &MemoryFiles::FciDelete, &MemoryFiles::FciGetTempFile, &parameters, user);
}

/// Packs files of the set into one cabinet, with a call that fails when the set says so.
inline Outcome Pack(MemoryFiles& set, const NamedFiles& files, WORD compression,
                    platform::cabinet::CCAB parameters = UsualParameters()) {
    const CabinetLibrary& library = CabinetLibrary::Get();
    Outcome outcome;
    for (const auto& [name, bytes] : files)
        set.Put(name, bytes);
    const platform::cabinet::HFCI context =
        CreateFci(outcome.errors, parameters, &RecordFilePlaced, &outcome);
    if (context == nullptr) return outcome;
    outcome.succeeded = true;
    for (const auto& [name, bytes] : files) {
        std::string text = name;
        outcome.succeeded =
            outcome.succeeded && library.fciAddFile(context, text.data(), text.data(), 0, &RefuseNextCabinet,
                                                    &RecordStatus, &MemoryFiles::FciGetOpenInfo, compression);
    }
    outcome.succeeded = outcome.succeeded &&
                        library.fciFlushFolder(context, &RefuseNextCabinet, &RecordStatus) &&
                        library.fciFlushCabinet(context, 0, &RefuseNextCabinet, &RecordStatus);
    library.fciDestroy(context);
    outcome.cabinet = set.Get(parameters.szCabPath + std::string(parameters.szCab)).value_or(Bytes{});
    return outcome;
}

inline platform::cabinet::FileHandle NV_CABINET_CALL RecordNotification(
    platform::cabinet::FDINOTIFICATIONTYPE type, platform::cabinet::FDINOTIFICATION* notification) {
    using namespace platform::cabinet;
    auto& outcome = *static_cast<Outcome*>(notification->pv);
    MemoryFiles& set = MemoryFiles::Current();
    // The notification that a file is complete hands its handle over, even when it is answered with a
    // failure.
    const bool closed = type == fdintCLOSE_FILE_INFO && set.Close(notification->hf) == 0;
    if (type != fdintCOPY_FILE && set.Fails(Call::notify)) return -1;
    const auto text = [](const char* value) { return value != nullptr ? std::string(value) : std::string(); };
    constexpr int createAndTruncate = 0x300;
    switch (type) {
        case fdintCABINET_INFO:
            outcome.events.push_back("cabinet [" + text(notification->psz1) + "] [" +
                                     text(notification->psz2) + "] [" + text(notification->psz3) + "] set " +
                                     std::to_string(notification->setID) + " index " +
                                     std::to_string(notification->iCabinet));
            return 0;
        case fdintPARTIAL_FILE:
            outcome.events.push_back("partial " + text(notification->psz1));
            return 0;
        case fdintCOPY_FILE:
            outcome.events.push_back("copy " + text(notification->psz1) + " " +
                                     std::to_string(notification->cb));
            if (text(notification->psz1).starts_with("skip")) return 0;
            return set.Open("unpacked/" + text(notification->psz1), createAndTruncate, Call::notify);
        case fdintCLOSE_FILE_INFO:
            outcome.events.push_back("close " + text(notification->psz1) + " date " +
                                     std::to_string(notification->date) + " time " +
                                     std::to_string(notification->time) + " attributes " +
                                     std::to_string(notification->attribs));
            outcome.files[text(notification->psz1)] =
                set.Get("unpacked/" + text(notification->psz1)).value_or(Bytes{});
            return closed ? 1 : 0;
        case fdintNEXT_CABINET:
            outcome.events.push_back("next " + text(notification->psz1));
            return -1;
        default:
            return 0;
    }
}

inline platform::cabinet::HFDI CreateFdi(platform::cabinet::ERF& errors) {
    return CabinetLibrary::Get().fdiCreate(&MemoryFiles::AllocateCallback, &MemoryFiles::FreeCallback,
                                           &MemoryFiles::FdiOpen, &MemoryFiles::FdiRead,
                                           &MemoryFiles::FdiWrite, &MemoryFiles::FdiClose,
                                           &MemoryFiles::FdiSeek, -1, &errors);
}

/// Unpacks every file of a cabinet whose name does not begin with "skip".
inline Outcome Unpack(MemoryFiles& set, const Bytes& cabinet) {
    const CabinetLibrary& library = CabinetLibrary::Get();
    Outcome outcome;
    set.Put(madeCabinet, cabinet);
    const platform::cabinet::HFDI context = CreateFdi(outcome.errors);
    if (context == nullptr) return outcome;
    char name[] = "made.cab";
    char path[] = "//folder//";
    outcome.succeeded = library.fdiCopy(context, name, path, 0, &RecordNotification, nullptr, &outcome) != 0;
    library.fdiDestroy(context);
    return outcome;
}

/// What FDIIsCabinet says of the bytes; nothing when it says that they are no cabinet.
inline std::optional<platform::cabinet::FDICABINETINFO> Describe(const Bytes& cabinet,
                                                                 platform::cabinet::ERF& errors) {
    const CabinetLibrary& library = CabinetLibrary::Get();
    MemoryFiles set;
    set.Put(madeCabinet, cabinet);
    const platform::cabinet::HFDI context = CreateFdi(errors);
    const platform::cabinet::FileHandle file = set.Open(madeCabinet, 0);
    platform::cabinet::FDICABINETINFO info{};
    const bool isCabinet = library.fdiIsCabinet(context, file, &info) != 0;
    set.Close(file);
    library.fdiDestroy(context);
    return isCabinet ? std::optional(info) : std::nullopt;
}

inline Outcome Unpack(const Bytes& cabinet) {
    MemoryFiles set;
    return Unpack(set, cabinet);
}

/// Appends a little-endian number.
template <class Number>
void Append(Bytes& bytes, Number number) {
    for (std::size_t i = 0; i < sizeof(number); ++i)
        bytes.push_back(static_cast<BYTE>(number >> (8 * i)));
}

inline void Append(Bytes& bytes, const std::string& text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

/// A cabinet as its writer would describe it; Build lays it out without checking that it makes sense.
struct HandMadeCabinet {
    struct Block {
        Bytes payload;
        std::uint16_t uncompressedSize = 0;
        std::uint32_t checksum = 0;
    };
    struct Folder {
        std::uint16_t compression = 1;
        std::vector<Block> blocks;
    };
    struct File {
        std::string name;
        std::uint32_t size = 0;
        std::uint32_t offset = 0;
        std::uint16_t folder = 0;
        std::uint16_t attributes = MemoryFiles::fileAttributes;
    };

    std::uint16_t flags = 0;
    std::uint16_t index = 0;
    std::uint8_t minorVersion = 3;
    std::uint8_t majorVersion = 1;
    Bytes headerReserve, folderReserve, dataReserve;
    std::vector<std::string> neighbours;  ///< Names of the neighbouring cabinets and disks, as the flags say.
    std::vector<Folder> folders;
    std::vector<File> files;

    Bytes Build() const {
        Bytes middle;  // What stands between the header's fixed part and the folder entries.
        if ((flags & 4) != 0) {
            Append(middle, static_cast<std::uint16_t>(headerReserve.size()));
            middle.push_back(static_cast<BYTE>(folderReserve.size()));
            middle.push_back(static_cast<BYTE>(dataReserve.size()));
            middle.insert(middle.end(), headerReserve.begin(), headerReserve.end());
        }
        for (const std::string& neighbour : neighbours)
            Append(middle, neighbour);

        const std::size_t filesOffset = 36 + middle.size() + folders.size() * (8 + folderReserve.size());
        std::size_t dataOffset = filesOffset;
        for (const File& file : files)
            dataOffset += 16 + file.name.size() + 1;

        Bytes folderEntries, data;
        for (const Folder& folder : folders) {
            Append(folderEntries, static_cast<std::uint32_t>(dataOffset + data.size()));
            Append(folderEntries, static_cast<std::uint16_t>(folder.blocks.size()));
            Append(folderEntries, folder.compression);
            folderEntries.insert(folderEntries.end(), folderReserve.begin(), folderReserve.end());
            for (const Block& block : folder.blocks) {
                Append(data, block.checksum);
                Append(data, static_cast<std::uint16_t>(block.payload.size()));
                Append(data, block.uncompressedSize);
                data.insert(data.end(), dataReserve.begin(), dataReserve.end());
                data.insert(data.end(), block.payload.begin(), block.payload.end());
            }
        }

        Bytes bytes = {'M', 'S', 'C', 'F', 0, 0, 0, 0};
        Append(bytes, static_cast<std::uint32_t>(dataOffset + data.size()));
        Append(bytes, std::uint32_t{0});
        Append(bytes, static_cast<std::uint32_t>(filesOffset));
        Append(bytes, std::uint32_t{0});
        bytes.push_back(minorVersion);
        bytes.push_back(majorVersion);
        Append(bytes, static_cast<std::uint16_t>(folders.size()));
        Append(bytes, static_cast<std::uint16_t>(files.size()));
        Append(bytes, flags);
        Append(bytes, std::uint16_t{12345});
        Append(bytes, index);
        bytes.insert(bytes.end(), middle.begin(), middle.end());
        bytes.insert(bytes.end(), folderEntries.begin(), folderEntries.end());
        for (const File& file : files) {
            Append(bytes, file.size);
            Append(bytes, file.offset);
            Append(bytes, file.folder);
            Append(bytes, MemoryFiles::fileDate);
            Append(bytes, MemoryFiles::fileTime);
            Append(bytes, file.attributes);
            Append(bytes, file.name);
        }
        bytes.insert(bytes.end(), data.begin(), data.end());
        return bytes;
    }
};

/// A cabinet with one file, "a", and one block of it for each payload.
inline HandMadeCabinet OneFile(std::uint16_t compression, std::uint32_t size,
                               std::vector<HandMadeCabinet::Block> blocks) {
    HandMadeCabinet cabinet;
    cabinet.folders = {{compression, std::move(blocks)}};
    cabinet.files = {{"a", size, 0, 0}};
    return cabinet;
}

/// The bytes of a cabinet with one file that is stored, of up to 32,768 bytes.
inline std::string StoredFile(const std::string& name, const std::string& content) {
    const auto size = static_cast<std::uint16_t>(content.size());
    HandMadeCabinet cabinet =
        OneFile(platform::cabinet::tcompTYPE_NONE, size, {{{content.begin(), content.end()}, size}});
    cabinet.files[0].name = name;
    const Bytes bytes = cabinet.Build();
    return {bytes.begin(), bytes.end()};
}

/// An MSZIP payload that stores its data.
inline Bytes StoredMszip(const Bytes& data) {
    Bytes payload = {'C', 'K', 1};
    Append(payload, static_cast<std::uint16_t>(data.size()));
    Append(payload, static_cast<std::uint16_t>(~data.size()));
    payload.insert(payload.end(), data.begin(), data.end());
    return payload;
}

/// An MSZIP payload of one match, 258 bytes at the largest distance, 32768, with fixed codes.
inline Bytes MatchAtLargestDistance() {
    return {'C', 'K', 0x1B, 0xBD, 0xFF, 0x1F, 0x00};
}

/// A folder of one LZX block with verbatim codes, "printer: ", 17 times "x" and " end".
inline HandMadeCabinet::Folder LzxFolder() {
    // clang-format off
    const Bytes payload = {
        0x00, 0x10, 0xE1, 0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0F, 0x00, 0xFF, 0xFF,
        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF2, 0xFF, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x20, 0x00, 0x07, 0x22, 0xFF, 0x4B, 0xFF, 0xFF, 0x80, 0xF0, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x7F, 0x88, 0xFF, 0xFF, 0x70, 0xF3, 0x5A, 0xB9, 0xD7, 0x6D,
        0x2D, 0x4B, 0x75, 0xCA, 0xBC, 0x20, 0x82, 0x2C, 0x6E, 0xCB, 0x00, 0xB2};
    // clang-format on
    return {platform::cabinet::tcompTYPE_LZX | 0x0F00, {{payload, 30}}};
}

/// A folder of one LZX block of plain bytes, which goes on over the cabinet's blocks. Their number is even.
inline HandMadeCabinet::Folder PlainLzxFolder(const Bytes& data) {
    const auto size = static_cast<std::uint32_t>(data.size());
    // No translation of calls, block type 3 and the size in 28 bits of 16-bit words, then three offsets.
    Bytes head;
    Append(head, static_cast<std::uint16_t>(0x3000 | size >> 12));
    Append(head, static_cast<std::uint16_t>(size << 4));
    for (int i = 0; i < 3; ++i)
        Append(head, std::uint32_t{1});
    HandMadeCabinet::Folder folder{platform::cabinet::tcompTYPE_LZX | 0x0F00, {}};
    for (std::size_t begin = 0; begin < data.size(); begin += 32768) {
        const std::size_t count = std::min<std::size_t>(32768, data.size() - begin);
        Bytes payload = begin == 0 ? head : Bytes();
        payload.insert(payload.end(), data.begin() + static_cast<std::ptrdiff_t>(begin),
                       data.begin() + static_cast<std::ptrdiff_t>(begin + count));
        folder.blocks.push_back({payload, static_cast<std::uint16_t>(count)});
    }
    return folder;
}

/// A folder of one Quantum block, "Quantum ", the bytes 00 80 FF, a blank, 16 times "x" and " end".
inline HandMadeCabinet::Folder QuantumFolder() {
    const Bytes payload = {0xD1, 0x61, 0x62, 0x7E, 0x1A, 0x5F, 0x29, 0x3B, 0xEF, 0xE5, 0x89, 0x35,
                           0x25, 0xAD, 0xE5, 0xD9, 0xE8, 0x41, 0x1D, 0x31, 0x00, 0x00, 0x00, 0x00};
    return {platform::cabinet::tcompTYPE_QUANTUM | 0x0A10, {{payload, 32}}};
}

/// Bytes without repetitions, the same on every run.
inline Bytes Noise(std::size_t size) {
    Bytes bytes(size);
    std::uint32_t state = 1;
    for (BYTE& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<BYTE>(state >> 24);
    }
    return bytes;
}

/// Bytes that compress well.
inline Bytes Prose(std::size_t size) {
    Bytes bytes(size);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < size; ++i) {
        if (i % 16 == 0) state = state * 1664525 + 1013904223;
        bytes[i] = static_cast<BYTE>("the quick brown fox jumps over it"[(i + (state >> 29)) % 33]);
    }
    return bytes;
}

}  // namespace cabinettest
