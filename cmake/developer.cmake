# Examples, tests and the benchmark.
if(WIN32)
    add_subdirectory(examples)
endif()
enable_testing()
add_subdirectory(tests)
if(WIN32)
    add_subdirectory(bench)
endif()
