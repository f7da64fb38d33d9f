# Warnings and sanitizers for the library's own targets, never for those of its dependencies.
add_library(nvutil_options INTERFACE)

if(MSVC)
    target_compile_options(nvutil_options INTERFACE /W4 /WX /utf-8 /permissive- /Zc:preprocessor)
else()
    target_compile_options(nvutil_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
    # False alarms of GCC 12: a delete that a reference count guards, and std::string's operator+.
    target_compile_options(nvutil_options INTERFACE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-use-after-free>
        $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endif()

if(NVUTIL_SANITIZERS)
    target_compile_options(nvutil_options INTERFACE
        -fsanitize=${NVUTIL_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(nvutil_options INTERFACE -fsanitize=${NVUTIL_SANITIZERS})
endif()

if(NVUTIL_FUZZERS)
    target_compile_options(nvutil_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
