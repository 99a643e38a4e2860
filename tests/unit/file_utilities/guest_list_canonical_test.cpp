// What passes the check, joined to a folder by the platform's own means, must not leave it.
#include <windows.h>

#include <gtest/gtest.h>
#include <pathcch.h>
#include <shlwapi.h>

#include <string>
#include <vector>

#include "file_utilities/encoding.h"
#include "file_utilities/file_names.h"
#include "file_utilities/guest_list_check.h"
#include "honest_guest_names.h"
#include "hostile_guest_names.h"
#include "support/temporary_folder.h"

namespace sd::clip {
namespace {

const std::wstring kFolder = L"C:\\dest";
constexpr wchar_t kDevicePrefix[] = L"\\\\.\\";

// The names of both tables that the check lets pass, as an application gets them.
std::vector<std::wstring> makePassingNames(bool (*isWanted)(const GuestNameCase&))
{
    std::vector<GuestNameCase> all = makeHonestGuestNames();
    for (const GuestNameCase& name : makeHostileGuestNames())
        all.push_back(name);
    std::vector<std::wstring> passing;
    for (const GuestNameCase& name : all) {
        ClipfileDescription file;
        file.relativePath = name.relativePath;
        file.fileName = name.fileName;
        if (isWanted(name) && !FindRefusedEntry({file}, PasteRoute::kStreamed))
            passing.emplace_back(Utf8ToWide(GetRelativeName(file)).c_str());
    }
    return passing;
}

std::vector<std::wstring> makePassingNames()
{
    return makePassingNames([](const GuestNameCase&) { return true; });
}

bool liesIn(const std::wstring& folder, const std::wstring& path)
{
    return path == folder || path.rfind(folder + L'\\', 0) == 0;
}

bool isDevice(const std::wstring& path)
{
    return path.rfind(kDevicePrefix, 0) == 0 && path.find_first_of(L"\\/", 4) == std::wstring::npos;
}

// The whole path of a name in the folder, as the platform resolves it.
std::wstring resolve(const std::wstring& name)
{
    const std::wstring path = kFolder + L'\\' + name;
    wchar_t buffer[1024] = {};
    const DWORD length = GetFullPathNameW(path.c_str(), 1024, buffer, nullptr);
    return length < 1024 ? std::wstring(buffer, length) : std::wstring();
}

std::wstring combine(const std::wstring& folder, const std::wstring& name)
{
    wchar_t buffer[1024] = {};
    const HRESULT result = PathCchCombineEx(buffer, 1024, folder.c_str(), name.c_str(), PATHCCH_ALLOW_LONG_PATHS);
    return SUCCEEDED(result) ? buffer : L"";
}

TEST(GuestListCanonical, TheTablesHoldNamesThatPass)
{
    EXPECT_GE(makePassingNames().size(), 200u);
}

TEST(GuestListCanonical, WhatPassesJoinedToAFolderStaysInIt)
{
    for (const std::wstring& name : makePassingNames()) {
        const std::wstring full = resolve(name);
        EXPECT_TRUE(liesIn(kFolder, full) || isDevice(full))
            << testing::PrintToString(name) << " is " << testing::PrintToString(full);
    }
}

TEST(GuestListCanonical, WhatPassesIsNoDeviceUnlessItIsNamedLikeOne)
{
    const auto isOrdinary = [](const GuestNameCase& name) { return name.verdict != NameVerdict::kDevice; };
    for (const std::wstring& name : makePassingNames(isOrdinary)) {
        const std::wstring full = resolve(name);
        EXPECT_TRUE(liesIn(kFolder, full)) << testing::PrintToString(name) << " is " << testing::PrintToString(full);
    }
}

// A careful way to join two paths lets a name that is a whole path replace the folder.
TEST(GuestListCanonical, WhatPassesCombinedWithAFolderStaysInIt)
{
    for (const std::wstring& name : makePassingNames()) {
        const std::wstring combined = combine(kFolder, name);
        EXPECT_TRUE(liesIn(kFolder, combined))
            << testing::PrintToString(name) << " is " << testing::PrintToString(combined);
    }
}

TEST(GuestListCanonical, WhatPassesIsARelativePathForThePlatform)
{
    for (const std::wstring& name : makePassingNames())
        EXPECT_TRUE(PathIsRelativeW(name.c_str())) << testing::PrintToString(name);
}

// Makes the folders on the way, and a file, as an application does that writes whatever name it is given.
void writeBelow(const std::wstring& folder, const std::wstring& name)
{
    const std::wstring path = folder + L'\\' + name;
    for (std::size_t at = path.find_first_of(L"\\/", folder.size() + 1); at != std::wstring::npos;
         at = path.find_first_of(L"\\/", at + 1))
        CreateDirectoryW(path.substr(0, at).c_str(), nullptr);
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
}

std::vector<std::wstring> listEntries(const std::wstring& folder)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return names;
    do
        names.emplace_back(entry.cFileName);
    while (FindNextFileW(search, &entry));
    FindClose(search);
    return names;
}

TEST(GuestListCanonical, WhatPassesIsWrittenNowhereElse)
{
    const TemporaryFolder parent;
    const std::wstring folder = parent.addFolder(L"dest");
    const std::vector<std::wstring> around = listEntries(parent.path());
    const auto isOrdinary = [](const GuestNameCase& name) { return name.verdict != NameVerdict::kDevice; };
    for (const std::wstring& name : makePassingNames(isOrdinary)) {
        writeBelow(folder, name);
        ASSERT_EQ(around, listEntries(parent.path())) << testing::PrintToString(name);
    }
    EXPECT_GE(listEntries(folder).size(), 100u) << "most names can be written here too";
}

}  // namespace
}  // namespace sd::clip
