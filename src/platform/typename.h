// Run-time type names in one spelling for every compiler.
#pragma once

#include <string>
#include <typeinfo>

namespace platform {

/// The name of a type as the Windows compiler's type information spells it: "class ExceptionFile".
std::string TypeName(const std::type_info& type);

}  // namespace platform
