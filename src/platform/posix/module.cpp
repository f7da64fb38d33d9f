// Modules by name: the table of those that are built in.
#include "platform/module.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/posix/cabinetfunctions.h"

namespace platform {

namespace {

struct BuiltInFunction {
    std::string_view name;
    ModuleFunction function;

    template <class Function>
    BuiltInFunction(std::string_view functionName, Function* functionAddress)
        : name(functionName), function(reinterpret_cast<ModuleFunction>(functionAddress)) {}
};

struct BuiltInModule {
    std::string_view name;  // In lower case; found in any.
    std::span<const BuiltInFunction> functions;
};

// Made at the first call, so that other static objects may load modules while they are constructed.
std::span<const BuiltInModule> BuiltInModules() {
    static const BuiltInFunction cabinetFunctions[] = {
        {"FCICreate", &cabinet::FCICreate},
        {"FCIAddFile", &cabinet::FCIAddFile},
        {"FCIFlushCabinet", &cabinet::FCIFlushCabinet},
        {"FCIFlushFolder", &cabinet::FCIFlushFolder},
        {"FCIDestroy", &cabinet::FCIDestroy},
        {"FDICreate", &cabinet::FDICreate},
        {"FDIIsCabinet", &cabinet::FDIIsCabinet},
        {"FDICopy", &cabinet::FDICopy},
        {"FDIDestroy", &cabinet::FDIDestroy},
    };
    static const BuiltInModule modules[] = {{"cabinet.dll", cabinetFunctions}};
    return modules;
}

char ToLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool EqualIgnoringCase(std::string_view name, std::string_view lowerCaseName) {
    return std::equal(name.begin(), name.end(), lowerCaseName.begin(), lowerCaseName.end(),
                      [](char left, char right) { return ToLower(left) == right; });
}

}  // namespace

Module LoadModule(const char* name) {
    for (const BuiltInModule& module : BuiltInModules()) {
        if (EqualIgnoringCase(name, module.name)) return const_cast<BuiltInModule*>(&module);
    }
    return nullptr;
}

ModuleFunction FindModuleFunction(Module module, const char* name) {
    if (module == nullptr) return nullptr;
    for (const BuiltInFunction& entry : static_cast<const BuiltInModule*>(module)->functions) {
        if (entry.name == name) return entry.function;
    }
    return nullptr;
}

// Built-in modules live as long as the library.
void UnloadModule(Module) {}

}  // namespace platform
