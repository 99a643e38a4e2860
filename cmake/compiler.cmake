# md_clipboard_compiler: the warnings, definitions and flags that all of this project's own code is compiled with.
add_library(md_clipboard_compiler INTERFACE)

if(MSVC)
    # 4251, 4275: standard library types in exported classes. Host and library must use the same runtime anyway.
    target_compile_options(md_clipboard_compiler INTERFACE /W4 /utf-8 /permissive- /wd4251 /wd4275
        $<$<BOOL:${MD_CLIPBOARD_WARNINGS_AS_ERRORS}>:/WX>)
else()
    target_compile_options(md_clipboard_compiler INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        -Wno-sign-conversion -Wcast-qual -Woverloaded-virtual -Wvla
        # No folder of a build machine stands in a binary: paths are relative to the repository.
        -ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -ffile-prefix-map=${CMAKE_BINARY_DIR}=build
        $<$<BOOL:${MD_CLIPBOARD_WARNINGS_AS_ERRORS}>:-Werror>)
endif()

if(WIN32)
    target_compile_definitions(md_clipboard_compiler INTERFACE
        UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
endif()

find_package(Threads REQUIRED)
