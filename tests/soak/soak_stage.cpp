#include "soak_stage.h"

#include <cstring>
#include <filesystem>
#include <mutex>
#include <utility>

#include "example_support/utf8_arguments.h"
#include "system/paste_exit_codes.h"
#include "system/sha256.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

const std::wstring kFolder = L"C:\\soak";
const std::wstring kFolderOnD = L"D:\\soak";

std::mutex gAwaitedMutex;
std::string gAwaited = "nothing";

void setAwaited(std::string what)
{
    const std::lock_guard<std::mutex> lock(gAwaitedMutex);
    gAwaited = std::move(what);
}

// The same of what should be there.
std::map<std::string, std::string> sumsOf(const std::vector<GuestFile>& files)
{
    std::map<std::string, std::string> sums;
    for (const GuestFile& file : files) {
        const std::string name = nameBelow(file);
        sums[name] = file.isFolder ? "folder" : sha256Of(file.bytes);
        for (std::size_t end = name.find('\\'); end != std::string::npos; end = name.find('\\', end + 1))
            sums[name.substr(0, end)] = "folder";
    }
    return sums;
}

std::string tellDifference(const std::map<std::string, std::string>& expected,
                           const std::map<std::string, std::string>& found)
{
    for (const auto& [name, sum] : expected) {
        const auto other = found.find(name);
        const std::string seen = other == found.end() ? "missing" : other->second;
        if (seen != sum)
            return std::string(name).append(" should be ").append(sum).append(" and is ").append(seen);
    }
    for (const auto& each : found) {
        if (expected.count(each.first) == 0)
            return each.first + " should not be there";
    }
    return "";
}

}  // namespace

void expect(bool condition, const std::string& what)
{
    if (!condition)
        throw SoakFailure("not as expected: " + what);
}

std::string nameBelow(const GuestFile& file)
{
    return file.relativePath.empty() ? file.fileName : file.relativePath + "\\" + file.fileName;
}

SoakStage::SoakStage(std::uint64_t seed) : mRandom(seed)
{
    for (const std::wstring& folder : {kFolder, kFolderOnD}) {
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    mHost.clipboard().InitFileLazyRenderer("C:/soak/cache/");
}

SoakStage::~SoakStage()
{
    std::error_code ignored;
    for (const std::wstring& folder : {kFolder, kFolderOnD})
        fs::remove_all(folder, ignored);
}

std::string SoakStage::awaited()
{
    const std::lock_guard<std::mutex> lock(gAwaitedMutex);
    return gAwaited;
}

void SoakStage::await(const std::string& what, const std::function<bool()>& condition, int milliseconds)
{
    setAwaited(what);
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(milliseconds);
    while (!condition()) {
        if (GetTickCount64() >= end)
            throw SoakFailure("awaited in vain for " + std::to_string(milliseconds / 1000) + " seconds: " + what);
        Sleep(10);
    }
    setAwaited("nothing");
}

// ---- The guest ----

std::string SoakStage::makeContents(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t at = 0; at < size; at += sizeof(std::uint64_t)) {
        const std::uint64_t noise = mRandom.bits();
        std::memcpy(&bytes[at], &noise, std::min(sizeof noise, size - at));
    }
    return bytes;
}

// Round the size of a slice, and what is small or nothing.
std::vector<GuestFile> SoakStage::makeFiles()
{
    constexpr std::size_t kSlice = 1048576;
    const std::size_t large[] = {
        kSlice - 1, kSlice, kSlice + 1, 2 * kSlice, 3 * kSlice + 12345, mRandom.below(4 * kSlice)};
    return {{"",
             "gr\xC3\xBC\xC3\x9F"
             "e.txt",
             makeContents(mRandom.below(5000))},
            {"", "empty.txt", ""},
            {"folder", "middle.bin", makeContents(mRandom.below(kSlice))},
            {"folder\\deeper", "large.bin", makeContents(mRandom.pick(large))},
            {"", "empty folder", "", true},
            {"other", "last.bin", makeContents(1 + mRandom.below(3))}};
}

std::shared_ptr<GuestList> SoakStage::makeList(std::vector<GuestFile> files, Delivery delivery)
{
    mLists.push_back(std::make_shared<GuestList>(std::move(files), std::move(delivery)));
    return mLists.back();
}

void SoakStage::offer(const std::shared_ptr<GuestList>& list)
{
    setAwaited("the library to take a list");
    expect(mHost.offer(ClipboardFormat::File, list->makeRecord()), "the list is taken");
    setAwaited("nothing");
}

// ---- Other programs ----

ChildProcess SoakStage::startPaste(const std::wstring& target, std::vector<std::wstring> options)
{
    emptyFolder(folder(target));
    options.insert(options.begin(), folder(target));
    return ChildProcess(L"clip-paste.exe", options);
}

std::string SoakStage::waitForPaste(ChildProcess& paste, DWORD expectedCode)
{
    await(
        "the end of clip-paste", [&] { return !paste.running(); }, 120000);
    const DWORD code = paste.waitForExit();
    std::string output = paste.output();
    expect(code == expectedCode, "clip-paste ends with " + std::to_string(expectedCode) + ", not with " +
                                     std::to_string(code) + "; it printed:\n" + output);
    return output;
}

std::string SoakStage::paste(const std::wstring& target, DWORD expectedCode, std::vector<std::wstring> options)
{
    ChildProcess child = startPaste(target, std::move(options));
    return waitForPaste(child, expectedCode);
}

void SoakStage::copy(const std::vector<std::wstring>& arguments)
{
    ChildProcess child(L"clip-copy.exe", arguments);
    await("the end of clip-copy", [&] { return !child.running(); });
    expect(child.waitForExit() == 0, "clip-copy ends well: " + child.output());
}

// ---- Files ----

std::wstring SoakStage::folder(const std::wstring& target) const
{
    return target.find(L':') != std::wstring::npos ? target : kFolder + L"\\" + target;
}

// An application that was killed or has just ended may keep a file for a moment.
void SoakStage::emptyFolder(const std::wstring& folder)
{
    await("that " + toUtf8(folder) + " can be removed", [&] {
        std::error_code error;
        fs::remove_all(folder, error);
        return !error;
    });
}

void SoakStage::expectFiles(const std::vector<GuestFile>& files, const std::wstring& folder)
{
    const std::string difference = tellDifference(sumsOf(files), sumsBelow(folder));
    expect(difference.empty(), toUtf8(folder) + " is like its source: " + difference);
    countCompared(files);
}

void SoakStage::countCompared(const std::vector<GuestFile>& files)
{
    for (const GuestFile& file : files) {
        mFigures.files += file.isFolder ? 0 : 1;
        mFigures.bytes += file.bytes.size();
    }
}

// ---- The end of a round ----

void SoakStage::rest()
{
    for (const auto& list : mLists)
        list->end();
    mLists.clear();
    mHost.forget();
    copy({L"--text", L"a text that ends the round"});
    await("the report of a text", [this] { return mHost.countReports() > 0; });
    await("that no data object is left", [this] { return mHost.countDataObjects() == 0; });
    expect(mHost.receivedLists().empty(), "a text is no list of files");
}
