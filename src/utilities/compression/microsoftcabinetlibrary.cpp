// MicrosoftCabinetLibrary: loading the module and resolving its functions in table order.
#include "utilities/compression/microsoftcabinetlibrary.h"

#include "platform/fork.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

namespace cabinet = platform::cabinet;

namespace {

/// Positions in the table of functions.
enum : std::size_t {
    fciCreate,
    fciAddFile,
    fciFlushCabinet,
    fciFlushFolder,
    fciDestroy,
    fdiCreate,
    fdiIsCabinet,
    fdiCopy,
    fdiDestroy,
};

}  // namespace

MicrosoftCabinetLibrary::MicrosoftCabinetLibrary() : MicrosoftCabinetLibrary("cabinet.dll") {}

MicrosoftCabinetLibrary::MicrosoftCabinetLibrary(const char* moduleName)
    : m_module(platform::LoadModule(moduleName)),
      m_functions{{
          {"FCICreate", nullptr},
          {"FCIAddFile", nullptr},
          {"FCIFlushCabinet", nullptr},
          {"FCIFlushFolder", nullptr},
          {"FCIDestroy", nullptr},
          {"FDICreate", nullptr},
          {"FDIIsCabinet", nullptr},
          {"FDICopy", nullptr},
          {"FDIDestroy", nullptr},
      }} {
    if (m_module == nullptr) {
        NV_THROW(ExceptionCabinetLibraryConstructionFailure,
                 "MicrosoftCabinetLibrary::MicrosoftCabinetLibrary", __LINE__,
                 NV_TEXT("Could not load the module %S"), moduleName);
    }
    for (Function& function : m_functions) {
        function.address = platform::FindModuleFunction(m_module, function.name);
        if (function.address != nullptr) continue;
        platform::UnloadModule(m_module);
        NV_THROW(ExceptionCabinetLibraryConstructionFailure,
                 "MicrosoftCabinetLibrary::MicrosoftCabinetLibrary", __LINE__,
                 NV_TEXT("The module %S has no function %S"), moduleName, function.name);
    }
}

MicrosoftCabinetLibrary::~MicrosoftCabinetLibrary() {
    platform::UnloadModule(m_module);
}

const MicrosoftCabinetLibrary& MicrosoftCabinetLibrary::GetShared() {
    static const auto* const shared = new MicrosoftCabinetLibrary;
    return *shared;
}

[[maybe_unused]] static const bool isMadeBeforeForks = platform::MakeBeforeForks([] {
    try {
        MicrosoftCabinetLibrary::GetShared();
    } catch (const NorvaException&) {  // NOLINT(bugprone-empty-catch): whoever needs it is told
    }
});

cabinet::FciCreateFunction MicrosoftCabinetLibrary::GetFciCreatePfn() const {
    return reinterpret_cast<cabinet::FciCreateFunction>(m_functions[fciCreate].address);
}

cabinet::FciAddFileFunction MicrosoftCabinetLibrary::GetFciAddFilePfn() const {
    return reinterpret_cast<cabinet::FciAddFileFunction>(m_functions[fciAddFile].address);
}

cabinet::FciFlushCabinetFunction MicrosoftCabinetLibrary::GetFciFlushCabinetPfn() const {
    return reinterpret_cast<cabinet::FciFlushCabinetFunction>(m_functions[fciFlushCabinet].address);
}

cabinet::FciFlushFolderFunction MicrosoftCabinetLibrary::GetFciFlushFolderPfn() const {
    return reinterpret_cast<cabinet::FciFlushFolderFunction>(m_functions[fciFlushFolder].address);
}

cabinet::FciDestroyFunction MicrosoftCabinetLibrary::GetFciDestroyPfn() const {
    return reinterpret_cast<cabinet::FciDestroyFunction>(m_functions[fciDestroy].address);
}

cabinet::FdiCreateFunction MicrosoftCabinetLibrary::GetFdiCreatePfn() const {
    return reinterpret_cast<cabinet::FdiCreateFunction>(m_functions[fdiCreate].address);
}

cabinet::FdiIsCabinetFunction MicrosoftCabinetLibrary::GetFdiIsCabinetPfn() const {
    return reinterpret_cast<cabinet::FdiIsCabinetFunction>(m_functions[fdiIsCabinet].address);
}

cabinet::FdiCopyFunction MicrosoftCabinetLibrary::GetFdiCopyPfn() const {
    return reinterpret_cast<cabinet::FdiCopyFunction>(m_functions[fdiCopy].address);
}

cabinet::FdiDestroyFunction MicrosoftCabinetLibrary::GetFdiDestroyPfn() const {
    return reinterpret_cast<cabinet::FdiDestroyFunction>(m_functions[fdiDestroy].address);
}
