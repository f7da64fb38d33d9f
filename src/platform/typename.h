// Run-time type names in one spelling for every compiler.
#pragma once

#include <string>
#include <typeinfo>

namespace platform {

/// The name of a class as the Windows compiler's type information spells it: "class ExceptionFile".
///
/// Where the type information does not tell a struct from a class, every name begins with "class ".
std::string TypeName(const std::type_info& type);

}  // namespace platform
