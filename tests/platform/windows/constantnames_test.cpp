// The platform's constants as they are named here, held against its own headers.
#include <gtest/gtest.h>
#include <windows.h>

#include <winddiui.h>  // which needs the former

#include <cstdint>

#include "utilities/utilitiesdll/constantnames.h"

namespace {

// A wrong name or value does not compile.
#define NV_IS_PUBLISHED(name, value) static_assert((name) == (value));
NV_DEVICE_CAPABILITIES(NV_IS_PUBLISHED)
NV_DOCUMENT_EVENTS(NV_IS_PUBLISHED)
NV_XPS_DOCUMENT_EVENTS(NV_IS_PUBLISHED)
NV_DEVMODE_FIELDS(NV_IS_PUBLISHED)
NV_DEVMODE_MODES(NV_IS_PUBLISHED)

// Keys are pointers, which only a run can compare.
TEST(RegistryKeys, HaveThePublishedValues) {
#define NV_EXPECT_PUBLISHED(name, value) \
    EXPECT_EQ(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(name)), value);
    NV_REGISTRY_KEYS(NV_EXPECT_PUBLISHED)
}

}  // namespace
