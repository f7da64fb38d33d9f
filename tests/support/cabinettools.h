// Packs and unpacks cabinets in memory with the platform's cabinet library.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/cabinetbuilder.h"
#include "support/memoryfiles.h"
#include "utilities/compression/microsoftcabinetlibrary.h"

namespace cabinettest {

using NamedFiles = std::vector<std::pair<std::string, ByteBuffer>>;
using FileMap = std::map<std::string, ByteBuffer>;

inline constexpr const char* madeCabinet = "//folder//made.cab";

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

/// What became of an operation.
struct Outcome {
    bool succeeded = false;
    platform::cabinet::ERF errors{};
    ByteBuffer cabinet;               ///< Packing: the cabinet.
    FileMap files;                    ///< Unpacking: the files that were closed.
    std::vector<std::string> events;  ///< Unpacking: the notifications.
};

inline LONG NV_CABINET_CALL AnswerStatus(unsigned type, DWORD first, DWORD /*second*/, void* /*user*/) {
    if (MemoryFiles::Current().Fails(Call::status)) return -1;
    return type == platform::cabinet::statusCabinet ? static_cast<LONG>(first) : 0;
}

inline int NV_CABINET_CALL AnswerFilePlaced(platform::cabinet::CCAB*, char*, LONG, BOOL, void*) {
    return MemoryFiles::Current().Fails(Call::filePlaced) ? -1 : 0;
}

inline BOOL NV_CABINET_CALL RefuseNextCabinet(platform::cabinet::CCAB*, DWORD, void*) {
    return 0;
}

inline platform::cabinet::HFCI CreateFci(platform::cabinet::ERF& errors,
                                         platform::cabinet::CCAB& parameters) {
    using Files = MemoryFiles;
    return MicrosoftCabinetLibrary::GetShared().GetFciCreatePfn()(
        &errors, &AnswerFilePlaced, &Files::Allocate, &Files::Free, &Callback<&Files::OpenNamed>::Fci,
        &Callback<&Files::Read>::Fci, &Callback<&Files::Write>::Fci, &Callback<&Files::Close>::Fci,
        &Callback<&Files::Seek>::Fci, &Files::Delete, &Files::GetTempFile, &parameters, nullptr);
}

/// Packs files of the set into one cabinet, with a call that fails when the set says so.
inline Outcome Pack(MemoryFiles& set, const NamedFiles& files, WORD compression,
                    platform::cabinet::CCAB parameters = UsualParameters()) {
    const auto& library = MicrosoftCabinetLibrary::GetShared();
    Outcome outcome;
    for (const auto& [name, bytes] : files)
        set.Put(name, bytes);
    const platform::cabinet::HFCI context = CreateFci(outcome.errors, parameters);
    if (context == nullptr) return outcome;
    outcome.succeeded = true;
    for (const auto& file : files) {
        std::string name = file.first;
        outcome.succeeded = outcome.succeeded && library.GetFciAddFilePfn()(
                                                     context, name.data(), name.data(), 0, &RefuseNextCabinet,
                                                     &AnswerStatus, &MemoryFiles::GetOpenInfo, compression);
    }
    outcome.succeeded = outcome.succeeded &&
                        library.GetFciFlushFolderPfn()(context, &RefuseNextCabinet, &AnswerStatus) &&
                        library.GetFciFlushCabinetPfn()(context, 0, &RefuseNextCabinet, &AnswerStatus);
    library.GetFciDestroyPfn()(context);
    outcome.cabinet = set.Get(madeCabinet);
    return outcome;
}
inline Outcome Pack(const NamedFiles& files, WORD compression,
                    const platform::cabinet::CCAB& parameters = UsualParameters()) {
    MemoryFiles set;
    return Pack(set, files, compression, parameters);
}

inline FileHandle NV_CABINET_CALL RecordNotification(platform::cabinet::FDINOTIFICATIONTYPE type,
                                                     platform::cabinet::FDINOTIFICATION* notification) {
    using namespace platform::cabinet;
    auto& outcome = *static_cast<Outcome*>(notification->pv);
    MemoryFiles& set = MemoryFiles::Current();
    // The notification that a file is complete hands its handle over, even when it is answered with a
    // failure.
    const bool closed = type == fdintCLOSE_FILE_INFO && set.Close(notification->hf) == 0;
    if (type != fdintCOPY_FILE && set.Fails(Call::notify)) return -1;
    const auto text = [](const char* value) { return std::string(value != nullptr ? value : ""); };
    const auto record = [&](const std::string& what, std::initializer_list<int> numbers = {}) {
        outcome.events.push_back(what);
        for (const int number : numbers)
            outcome.events.back() += " " + std::to_string(number);
    };
    const std::string name = text(notification->psz1);
    constexpr int createAndTruncate = 0x300;
    switch (type) {
        case fdintCABINET_INFO:
            record("cabinet [" + name + "] [" + text(notification->psz2) + "] [" + text(notification->psz3) +
                       "]",
                   {notification->setID, notification->iCabinet});
            return 0;
        case fdintPARTIAL_FILE:
            record("partial " + name);
            return 0;
        case fdintCOPY_FILE:
            record("copy " + name, {static_cast<int>(notification->cb)});
            return name.starts_with("skip") ? 0
                                            : set.Open("unpacked/" + name, createAndTruncate, Call::notify);
        case fdintCLOSE_FILE_INFO:
            record("close " + name, {notification->date, notification->time, notification->attribs});
            outcome.files[name] = set.Get("unpacked/" + name);
            return closed ? 1 : 0;
        case fdintNEXT_CABINET:
            record("next " + name);
            return -1;
        default:
            return 0;
    }
}

inline platform::cabinet::HFDI CreateFdi(platform::cabinet::ERF& errors) {
    using Files = MemoryFiles;
    return MicrosoftCabinetLibrary::GetShared().GetFdiCreatePfn()(
        &Files::Allocate, &Files::Free, &Callback<&Files::OpenNamed>::Fdi, &Callback<&Files::Read>::Fdi,
        &Callback<&Files::Write>::Fdi, &Callback<&Files::Close>::Fdi, &Callback<&Files::Seek>::Fdi, -1,
        &errors);
}

/// Unpacks every file of a cabinet of the set whose name does not begin with "skip".
inline Outcome Unpack(const char* cabinet) {
    const auto& library = MicrosoftCabinetLibrary::GetShared();
    Outcome outcome;
    const platform::cabinet::HFDI context = CreateFdi(outcome.errors);
    if (context == nullptr) return outcome;
    std::string name = cabinet;
    std::string path = name.substr(0, name.rfind('/') + 1);
    name.erase(0, path.size());
    outcome.succeeded = library.GetFdiCopyPfn()(context, name.data(), path.data(), 0, &RecordNotification,
                                                nullptr, &outcome) != 0;
    library.GetFdiDestroyPfn()(context);
    return outcome;
}
inline Outcome Unpack(MemoryFiles& set, const ByteBuffer& cabinet) {
    set.Put(madeCabinet, cabinet);
    return Unpack(madeCabinet);
}
inline Outcome Unpack(const ByteBuffer& cabinet) {
    MemoryFiles set;
    return Unpack(set, cabinet);
}
inline Outcome Unpack(const CabinetBuilder& cabinet) {
    return Unpack(cabinet.Build());
}

/// What FDIIsCabinet says of the bytes; nothing when it says that they are no cabinet.
inline std::optional<platform::cabinet::FDICABINETINFO> Describe(const ByteBuffer& cabinet) {
    const auto& library = MicrosoftCabinetLibrary::GetShared();
    MemoryFiles set;
    set.Put(madeCabinet, cabinet);
    platform::cabinet::ERF errors{};
    const platform::cabinet::HFDI context = CreateFdi(errors);
    platform::cabinet::FDICABINETINFO info{};
    const bool isCabinet = library.GetFdiIsCabinetPfn()(context, set.Open(madeCabinet, 0), &info) != 0;
    library.GetFdiDestroyPfn()(context);
    return isCabinet ? std::optional(info) : std::nullopt;
}

}  // namespace cabinettest
