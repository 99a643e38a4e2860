#include "guest_paste.h"

#include <ole2.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>
#include <utility>

#include "example_support/utf8_arguments.h"
#include "example_support/wine_stream_fix.h"
#include "sha256.h"
#include "support/pumping_thread.h"
#include "support/recording_log.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

// The host's thread for lists. It lasts as long as the process: under Wine the OLE clipboard's window belongs to the
// first thread of a process that needs it, and dies with that thread.
PumpingThread& callingThread()
{
    static auto* const thread = [] {
        auto* const made = new PumpingThread;
        made->run([] {
            OleInitialize(nullptr);
            const WineStreamFix fixedAsLongAsTheThreadLives;
        });
        return made;
    }();
    return *thread;
}

std::string relativeName(const GuestFile& file)
{
    return file.relativePath.empty() ? file.fileName : file.relativePath + "\\" + file.fileName;
}

std::set<std::string> namesBelow(const fs::path& folder)
{
    std::set<std::string> names;
    if (!fs::is_directory(folder))
        return names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
        names.insert(toUtf8(entry.path().wstring().substr(folder.wstring().size() + 1)));
    return names;
}

// With the folders that they lie in.
std::set<std::string> namesOf(const std::vector<GuestFile>& files)
{
    std::set<std::string> names;
    for (const GuestFile& file : files) {
        std::string name = relativeName(file);
        names.insert(name);
        for (std::size_t end = name.rfind('\\'); end != std::string::npos; end = name.rfind('\\')) {
            name.resize(end);
            names.insert(name);
        }
    }
    return names;
}

}  // namespace

PasteTest::PasteTest()
{
    std::string cache = mFolder.utf8Path() + "/cache/";
    std::replace(cache.begin(), cache.end(), '\\', '/');
    mHost.clipboard().InitFileLazyRenderer(cache);
    mHost.listener().clear();
    RecordingLog::clear();
}

PasteTest::~PasteTest()
{
    mGate.open();
    for (const auto& list : mLists)
        list->end();
    callingThread().run([] { OleSetClipboard(nullptr); });
}

void PasteTest::TearDown()
{
    if (!HasFailure())
        return;
    constexpr std::size_t kShownLines = 40;
    const auto lines = RecordingLog::lines();
    std::printf("the last of %zu log lines:\n", lines.size());
    for (std::size_t i = lines.size() - std::min(kShownLines, lines.size()); i < lines.size(); ++i)
        std::printf("  %d %s\n", lines[i].level, lines[i].message.c_str());
    std::fflush(stdout);
}

std::shared_ptr<GuestList> PasteTest::makeList(std::vector<GuestFile> files, Delivery delivery)
{
    mLists.push_back(std::make_shared<GuestList>(std::move(files), std::move(delivery)));
    return mLists.back();
}

bool PasteTest::offer(const std::shared_ptr<GuestList>& list)
{
    return offer(list->makeRecord());
}

bool PasteTest::offer(const std::shared_ptr<ClipboardFileDataImpl>& record)
{
    bool taken = false;
    callingThread().run([&] { taken = mHost.clipboard().SetClipboardData(ClipboardFormat::File, record); });
    return taken;
}

std::shared_ptr<GuestList> PasteTest::offerNew(std::vector<GuestFile> files, Delivery delivery)
{
    auto list = makeList(std::move(files), std::move(delivery));
    EXPECT_TRUE(offer(list));
    return list;
}

ChildProcess PasteTest::startPaste(const std::wstring& target, std::vector<std::wstring> options) const
{
    options.insert(options.begin(), mFolder.path() + L"\\" + target);
    return ChildProcess(L"clip-paste.exe", options);
}

DWORD PasteTest::paste(const std::wstring& target, std::vector<std::wstring> options)
{
    ChildProcess child = startPaste(target, std::move(options));
    const DWORD code = child.waitForExit(100000);
    mOutput = child.output();
    return code;
}

void PasteTest::expectPasted(const GuestList& list, const std::wstring& target) const
{
    const fs::path folder = fs::path(mFolder.path()) / target;
    EXPECT_EQ(namesBelow(folder), namesOf(list.files()));
    for (const GuestFile& file : list.files()) {
        const std::wstring path = folder.wstring() + L"\\" + toUtf16(relativeName(file));
        if (file.isFolder)
            EXPECT_TRUE(fs::is_directory(path)) << relativeName(file);
        else
            EXPECT_EQ(sha256OfFile(path), sha256Of(file.bytes)) << relativeName(file);
    }
}

void PasteTest::expectNextListWorks()
{
    const auto list = offerNew({{"", "next.bin", makeBytes(1500000)}, {"folder", "next.txt", "next"}});
    EXPECT_EQ(paste(L"next list"), kPasteWritten) << mOutput;
    expectPasted(*list, L"next list");
}

std::size_t PasteTest::countEvents(const std::string& operation) const
{
    const auto events = mHost.listener().events();
    return static_cast<std::size_t>(std::count_if(
        events.begin(), events.end(), [&](const RecordedEvent& event) { return event.operation == operation; }));
}

bool PasteTest::waitForEvents(const std::string& operation, std::size_t count) const
{
    return waitUntil([&] { return countEvents(operation) >= count; });
}
