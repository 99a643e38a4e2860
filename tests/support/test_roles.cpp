#include "support/test_roles.h"

#include <cstdio>
#include <map>
#include <utility>

namespace {

std::map<std::string, TestRoleFunction>& roles()
{
    static std::map<std::string, TestRoleFunction> roles;
    return roles;
}

}  // namespace

TestRole::TestRole(std::string name, TestRoleFunction function)
{
    roles().emplace(std::move(name), std::move(function));
}

std::optional<int> runTestRole(int argc, char** argv)
{
    if (argc < 3 || std::string(argv[1]) != "--role")
        return std::nullopt;
    const auto role = roles().find(argv[2]);
    if (role == roles().end()) {
        std::printf("no role %s\n", argv[2]);
        return 98;
    }
    return role->second(std::vector<std::string>(argv + 3, argv + argc));
}
