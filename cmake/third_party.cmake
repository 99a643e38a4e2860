# Header-only libraries for the examples and the benchmark; the product uses none.
# On Debian they are packages with headers in /usr/include. The cross compiler must not search that folder, whose other
# headers are this machine's, so the build folder gets one that holds a link to each library and nothing else.
include_guard(GLOBAL)

# add_header_library(TARGET FOLDER PACKAGE PACKAGE_TARGET): on Windows from its CMake package, if there is one.
function(add_header_library target folder package package_target)
    if(CMAKE_HOST_WIN32)
        find_package(${package} CONFIG QUIET)
        if(TARGET ${package_target})
            add_library(${target} INTERFACE)
            target_link_libraries(${target} INTERFACE ${package_target})
        endif()
        return()
    endif()
    # Made whether the package is there or not: it may be installed later, when nothing configures again.
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/third_party)
    file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/third_party/${folder} SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/third_party)
endfunction()

add_header_library(cli11 CLI CLI11 CLI11::CLI11)
add_header_library(nlohmann_json nlohmann nlohmann_json nlohmann_json::nlohmann_json)
if(NOT TARGET cli11)
    message(FATAL_ERROR "The examples need CLI11: add the folder of its CMake package to CMAKE_PREFIX_PATH")
endif()
