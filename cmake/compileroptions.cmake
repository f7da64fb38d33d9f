# Warnings and sanitizers for the library's own targets, never for those of its dependencies.
add_library(nvutil_options INTERFACE)

if(MSVC)
    target_compile_options(nvutil_options INTERFACE /W4 /WX /utf-8 /permissive- /Zc:preprocessor)
else()
    target_compile_options(nvutil_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
    # GCC 12's flow analysis raises false alarms in standard containers that it has inlined, and about deletes
    # that a reference count guards. Clang and the sanitizers look for the real ones.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(nvutil_options INTERFACE
            -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow -Wno-use-after-free)
    endif()
endif()

if(NVUTIL_SANITIZERS)
    target_compile_options(nvutil_options INTERFACE
        -fsanitize=${NVUTIL_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(nvutil_options INTERFACE -fsanitize=${NVUTIL_SANITIZERS})
endif()

if(NVUTIL_FUZZERS)
    target_compile_options(nvutil_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
