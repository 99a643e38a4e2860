#include "host_process.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <utility>

#include "example_support/utf8_arguments.h"
#include "guest_list.h"
#include "sha256.h"

namespace fs = std::filesystem;

namespace {

void copy(const std::vector<std::wstring>& arguments)
{
    ChildProcess child(L"clip-copy.exe", arguments);
    EXPECT_EQ(child.waitForExit(), 0U) << child.output();
}

}  // namespace

HostProcess::HostProcess()
{
    mFolder.addFolder(L"guest");
    // A list that another test left would be reported first, and the host would leave.
    copy({L"--empty"});
}

void HostProcess::addGuestFile(const std::wstring& name, std::size_t size) const
{
    mFolder.addFile(L"guest\\" + name, makeBytes(size));
}

void HostProcess::startHost(const std::vector<std::wstring>& options)
{
    std::vector<std::wstring> arguments = {
        L"--guest", mFolder.path() + L"\\guest", L"--cache", mFolder.path() + L"\\cache", L"--lists", L"1"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    mHost.emplace(L"clip-host.exe", arguments);
    EXPECT_TRUE(waitForHost("offered "));
}

DWORD HostProcess::endHost()
{
    copy({mFolder.path() + L"\\guest"});
    return mHost->waitForExit(60000);
}

std::string HostProcess::hostOutput() const
{
    return mHost ? mHost->output() : "";
}

bool HostProcess::waitForHost(const std::string& text, int milliseconds) const
{
    return mHost->waitForOutput(text, milliseconds);
}

int HostProcess::countInHostOutput(const std::string& text) const
{
    const std::string output = hostOutput();
    int count = 0;
    for (std::size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + text.size()))
        ++count;
    return count;
}

ChildProcess HostProcess::startPaste(const std::wstring& target, std::vector<std::wstring> options) const
{
    options.insert(options.begin(), mFolder.path() + L"\\" + target);
    return ChildProcess(L"clip-paste.exe", options);
}

DWORD HostProcess::paste(const std::wstring& target, std::vector<std::wstring> options)
{
    ChildProcess child = startPaste(target, std::move(options));
    const DWORD code = child.waitForExit(150000);
    mOutput = child.output();
    return code;
}

void HostProcess::expectPasted(const std::wstring& target) const
{
    EXPECT_EQ(sumsBelow(mFolder.path() + L"\\" + target), sumsBelow(mFolder.path() + L"\\guest"));
}

void HostProcessTest::TearDown()
{
    if (!HasFailure())
        return;
    constexpr std::size_t kShown = 8000;
    const std::string output = hostOutput();
    std::printf("the host printed at last:\n%s\n",
                output.substr(output.size() - std::min(kShown, output.size())).c_str());
    std::fflush(stdout);
}
