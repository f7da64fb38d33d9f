// MicrosoftCabinetLibrary: the platform's cabinet library and its nine functions.
#pragma once

#include <array>

#include "platform/cabinet.h"
#include "platform/module.h"

/// Holds "cabinet.dll" loaded and the addresses of the functions that make and read cabinets.
class NVUTIL_API MicrosoftCabinetLibrary {
public:
    /// Loads the library and finds its functions.
    /// @throws ExceptionCabinetLibraryConstructionFailure when the library or one of the functions is missing
    MicrosoftCabinetLibrary();
    MicrosoftCabinetLibrary(const MicrosoftCabinetLibrary&) = delete;
    MicrosoftCabinetLibrary& operator=(const MicrosoftCabinetLibrary&) = delete;
    /// Releases the library.
    ~MicrosoftCabinetLibrary();

    /// The one object that all cabinet contexts use, made on first use and then kept as long as the process
    /// lasts: modules cannot be released safely while this library itself is being unloaded.
    /// @throws ExceptionCabinetLibraryConstructionFailure as the constructor; the next call tries again
    static const MicrosoftCabinetLibrary& GetShared();

    platform::cabinet::FciCreateFunction GetFciCreatePfn() const;
    platform::cabinet::FciAddFileFunction GetFciAddFilePfn() const;
    platform::cabinet::FciFlushCabinetFunction GetFciFlushCabinetPfn() const;
    platform::cabinet::FciFlushFolderFunction GetFciFlushFolderPfn() const;
    platform::cabinet::FciDestroyFunction GetFciDestroyPfn() const;
    platform::cabinet::FdiCreateFunction GetFdiCreatePfn() const;
    platform::cabinet::FdiIsCabinetFunction GetFdiIsCabinetPfn() const;
    platform::cabinet::FdiCopyFunction GetFdiCopyPfn() const;
    platform::cabinet::FdiDestroyFunction GetFdiDestroyPfn() const;

protected:
    /// Takes another module's functions in place of "cabinet.dll"'s.
    explicit MicrosoftCabinetLibrary(const char* moduleName);

private:
    struct Function {
        const char* name;
        platform::ModuleFunction address;
    };

    platform::Module m_module;
    std::array<Function, 9> m_functions;
};
