// A test program can also be the second process of a test: started with "--role NAME ...", it plays that role instead
// of running tests. A test file registers its roles by a TestRole object of its own.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

using TestRoleFunction = std::function<int(const std::vector<std::string>& arguments)>;

struct TestRole {
    // The function's result is the process's exit code.
    TestRole(std::string name, TestRoleFunction function);
};

// The exit code of the role that the command line asks for; nothing if it asks for none.
std::optional<int> runTestRole(int argc, char** argv);
