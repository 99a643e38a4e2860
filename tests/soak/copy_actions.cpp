// Local copies, and placeholders that land.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include "example_support/utf8_arguments.h"
#include "sd/clip/clipboard.h"
#include "soak_actions.h"
#include "support/recording_log.h"
#include "system/lazy_test.h"
#include "system/paste_exit_codes.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

void writeFiles(const std::vector<GuestFile>& files, const std::wstring& folder)
{
    for (const GuestFile& file : files) {
        const fs::path path = folder + L"\\" + toUtf16(nameBelow(file));
        fs::create_directories(file.isFolder ? path : path.parent_path());
        if (!file.isFolder)
            std::ofstream(path, std::ios::binary) << file.bytes;
    }
}

// Whole paths and sizes.
using CopiedFiles = std::set<std::pair<std::string, std::uint64_t>>;

CopiedFiles findFiles(const std::vector<std::wstring>& paths)
{
    CopiedFiles files;
    for (const std::wstring& path : paths) {
        if (!fs::is_directory(path)) {
            files.emplace(toUtf8(path), fs::file_size(path));
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
            if (!entry.is_directory())
                files.emplace(toUtf8(entry.path().wstring()), entry.file_size());
        }
    }
    return files;
}

CopiedFiles describeReceived(const SoakHost::FileList& list)
{
    CopiedFiles files;
    for (const ClipfileDescription& file : list)
        files.emplace(file.root + "\\" + (file.relativePath.empty() ? "" : file.relativePath + "\\") + file.fileName,
                      file.size);
    return files;
}

std::wstring findPlaceholder()
{
    constexpr wchar_t kCache[] = L"C:\\soak\\cache";
    for (const fs::directory_entry& entry : fs::directory_iterator(kCache)) {
        std::wstring name = entry.path().filename().wstring();
        if (name.rfind(L"landing.txt.", 0) == 0)
            return name;
    }
    throw SoakFailure("no placeholder in the cache directory");
}

// A watcher passes over the last of several changes that came at once, so a landing may go unseen. Then the user pastes
// again.
void awaitLanding(SoakStage& stage, const LazyList& list, const std::wstring& landed)
{
    constexpr int kPatience = 3000;  // milliseconds
    int attempts = 0;
    stage.await("the landing of " + toUtf8(landed), [&] {
        if (list.waitForLandings(1, kPatience))
            return true;
        ++attempts;
        DeleteFileW(landed.c_str());
        std::ofstream(fs::path(landed), std::ios::binary).flush();
        return false;
    });
    stage.figures().landingsAgain += attempts;
}

void land(SoakStage& stage, const std::wstring& folder)
{
    stage.emptyFolder(folder);
    const std::vector<GuestFile> files = stage.makeFiles();
    const auto list = std::make_shared<LazyList>();
    expect(stage.host().offer(ClipboardFormat::FileLazy, list->makeRecord({"landing.txt"})), "the list is taken");
    stage.await("that the library knows its own write",
                [] { return RecordingLog::hasLine(5, "File clipboard lazy renderer is ready, skip onDetectCopy"); });
    const std::wstring landed = folder + L"\\" + findPlaceholder();
    stage.paste(folder, kPasteWritten);
    awaitLanding(stage, *list, landed);
    for (const Landing& landing : list->landings())
        expect(landing.root == toUtf8(folder), "the landing is in " + toUtf8(folder) + " and not in " + landing.root);
    writeFiles(files, folder);
    stage.host().clipboard().NotifyFileLazyRenderingComplete(0);
    stage.await("that the placeholder goes", [&] { return !fileExists(landed); });
    stage.expectFiles(files, folder);
    expect(!stage.host().wasToldOfFiles(), "the library's own write is no copy");
}

}  // namespace

void copyFiles(SoakStage& stage)
{
    const std::wstring folder = stage.folder(L"copied");
    stage.emptyFolder(folder);
    const std::vector<GuestFile> files = stage.makeFiles();
    writeFiles(files, folder);
    const std::vector<std::wstring> choices[] = {
        {folder},
        {folder + L"\\folder"},
        {folder + L"\\empty.txt"},
        {folder + L"\\folder", folder + L"\\empty.txt", folder + L"\\other"},
        {folder + L"\\other\\last.bin", folder + L"\\folder\\middle.bin"},
    };
    const auto paths = stage.random().pick(choices);
    stage.copy(paths);
    stage.await("a list of files", [&] { return stage.host().wasToldOfFiles(); });
    const CopiedFiles expected = findFiles(paths);
    stage.await("the very files that were copied", [&] {
        const auto lists = stage.host().receivedLists();
        return !lists.empty() && describeReceived(lists.back()) == expected;
    });
}

void copyText(SoakStage& stage)
{
    stage.copy({L"--text", L"a text"});
    stage.await("the report of a text", [&] { return stage.host().countReports() > 0; });
    expect(!stage.host().wasToldOfFiles() && stage.host().receivedLists().empty(), "a text is no list of files");
}

void landOnC(SoakStage& stage)
{
    land(stage, L"C:\\soak\\landed");
}

void landOnD(SoakStage& stage)
{
    land(stage, stage.random().oneIn(2) ? L"D:\\soak\\landed" : L"D:\\soak\\landed\\deeper");
}
