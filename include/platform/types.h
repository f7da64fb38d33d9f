// The integer, character and handle types of every interface, with the same widths on every platform.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#if defined(NVUTIL_BUILDING_LIBRARY)
#define NVUTIL_API __declspec(dllexport)
#else
#define NVUTIL_API __declspec(dllimport)
#endif
#else
#define NVUTIL_API __attribute__((visibility("default")))
#endif

#if defined(_WIN32)
/// One UTF-16 code unit.
using WChar = wchar_t;
/// A literal made of WChar code units.
#define NV_TEXT(literal) L##literal

// The same types under the same names as the platform's own headers, so that a user may include both.
using DWORD = unsigned long;
using LONG = long;
using HRESULT = long;
using HWND = struct HWND__*;
using HINSTANCE = struct HINSTANCE__*;
#else
/// One UTF-16 code unit.
using WChar = char16_t;
/// A literal made of WChar code units.
#define NV_TEXT(literal) u##literal

using DWORD = std::uint32_t;
using LONG = std::int32_t;
using HRESULT = std::int32_t;
using HWND = struct HWND__*;
using HINSTANCE = struct HINSTANCE__*;
#endif

using BYTE = unsigned char;
using WORD = unsigned short;
using BOOL = int;
using HANDLE = void*;

static_assert(sizeof(WChar) == 2 && sizeof(WORD) == 2 && sizeof(DWORD) == 4 && sizeof(LONG) == 4);
