#include "stress_guest.h"

#include <algorithm>

#include "example_support/joined_ole.h"
#include "sd/clip/clipboard.h"

using namespace sd::clip;

namespace {

constexpr std::size_t kLongestFile = 2500000;  // three slices
constexpr std::size_t kMostOldSinks = 16;
constexpr std::uint16_t kModeFolder = 0x4000;
constexpr std::uint16_t kModeFile = 0x8000;

const std::string& allBytes()
{
    static const std::string bytes = [] {
        std::string made(kLongestFile, '\0');
        std::uint32_t state = 1;
        for (char& each : made) {
            state = state * 1664525 + 1013904223;  // a linear congruential generator; its high bits are the good ones
            each = static_cast<char>(state >> 24);
        }
        return made;
    }();
    return bytes;
}

ClipfileDescription makeFile(std::string path, std::string name, std::uint64_t size)
{
    ClipfileDescription file;
    file.relativePath = std::move(path);
    file.fileName = std::move(name);
    file.size = size;
    file.attributes = FILE_ATTRIBUTE_ARCHIVE;
    file.mode = kModeFile;
    return file;
}

ClipfileDescription makeFolder(std::string name, std::uint64_t size = 0)
{
    ClipfileDescription folder = makeFile("", std::move(name), size);
    folder.attributes = FILE_ATTRIBUTE_DIRECTORY;
    folder.mode = kModeFolder;
    return folder;
}

bool isFolder(const ClipfileDescription& file)
{
    return (file.mode & kModeFolder) != 0;
}

}  // namespace

std::string contentsOf(std::size_t size)
{
    return allBytes().substr(0, size);
}

StressGuest& StressGuest::shared()
{
    static auto& guest = *new StressGuest;
    return guest;
}

StressGuest::StressGuest() : mThread([this] { serve(); }) {}

FileList StressGuest::makeHonestList(SeededRandom& random)
{
    static constexpr std::size_t kSizes[] = {0, 1, 5, 4096, 65536, 70000, 1048576, 1048577, kLongestFile};
    FileList files;
    const std::size_t count = 1 + random.below(4);
    for (std::size_t i = 0; i < count; ++i) {
        if (random.oneIn(6))
            files.push_back(makeFolder("folder" + std::to_string(i)));
        files.push_back(
            makeFile(random.oneIn(3) ? "folder" : "", "file" + std::to_string(i) + ".bin", random.pick(kSizes)));
    }
    return files;
}

FileList StressGuest::makeHostileList(SeededRandom& random)
{
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
    FileList files = makeHonestList(random);
    const std::size_t place = random.below(files.size());
    static const char* const kNames[] = {"..", "a\\..\\..\\b", "a/../b", "C:x", "\\\\server\\share\\x", "\\x", "/x"};
    switch (random.below(7)) {
        case 0:
            files[place].fileName = random.pick(kNames);
            break;
        case 1:
            files[place].relativePath = random.pick(kNames);
            break;
        case 2:
            files[place].size = kHalf + random.below(2);
            break;
        case 3:
            files.push_back(makeFile("", "half", kHalf - 1));
            files.push_back(makeFile("", "other half", kHalf - 1));
            break;
        case 4:
            files[place].fileName.assign(255 + random.below(1000), 'n');
            break;
        case 5:
            files.push_back(files[place]);  // the same name twice
            break;
        default:
            files.clear();
    }
    return files;
}

std::shared_ptr<ClipboardFileDataImpl> StressGuest::makeStreamedRecord(FileList files, int vetoOneIn)
{
    auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles(files);
    record->SetFileFuncs(
        [this, list = std::make_shared<const FileList>(std::move(files))](const ClipfileDescription&,
                                                                          FileDataRequestCallback sink) {
            ++mRequests;
            add({std::move(sink), list});
            return std::string("unread");
        },
        [this](const ClipfileDescription&) { ++mCancels; });
    if (vetoOneIn > 0)
        record->SetOLEClipboardPasteFunc([this, vetoOneIn] { return ++mPastes % vetoOneIn != 0; });
    return record;
}

std::shared_ptr<ClipboardFileDataExImpl> StressGuest::makeLazyRecord(FileList files)
{
    auto record = std::make_shared<ClipboardFileDataExImpl>();
    record->SetFiles(std::move(files));
    record->SetFileLazyRenderingCallback(
        [this](const std::shared_ptr<ClipboardFileDataEx>& data) { return land(data); });
    return record;
}

// With the library's lock for landings held.
int StressGuest::land(const std::shared_ptr<ClipboardFileDataEx>& data)
{
    const int count = ++mLandings;
    if (data->GetTargetClipboardData() == nullptr)
        return 1;
    if (count % 5 == 0)
        Clipboard::Get()->SetClipboardData(ClipboardFormat::FileLazy, makeLazyRecord(data->GetFiles()));
    return count % 3;
}

std::shared_ptr<ClipboardData> StressGuest::makeAnyRecord(SeededRandom& random)
{
    constexpr int kVetoOneIn = 8;
    switch (random.below(20)) {
        case 0:
            return nullptr;
        case 1:
            return std::make_shared<ClipboardTextDataImpl>();
        case 2:
            return std::make_shared<ClipboardImageDataImpl>();
        case 3:
            return ClipboardRichtextData::Create();
        case 4:
            return ClipboardFileData::Create();
        case 5:
            return makeLazyRecord(makeHostileList(random));
        case 6:
            return makeStreamedRecord(makeHostileList(random), 0);
        case 7:
        case 8:
            return makeLazyRecord(makeHonestList(random));
        default:
            return makeStreamedRecord(makeHonestList(random), kVetoOneIn);
    }
}

void StressGuest::add(Request request)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mWaiting.push_back(std::move(request));
    mChanged.notify_all();
}

void StressGuest::finishDeliveries()
{
    std::unique_lock<std::mutex> lock(mMutex);
    mForgetsSinks = true;
    mChanged.notify_all();
    mChanged.wait(lock, [this] { return mWaiting.empty() && !mIsBusy && !mForgetsSinks; });
}

void StressGuest::serve()
{
    const JoinedOle ole;
    SeededRandom random(chooseSeed());
    std::vector<Request> old;
    std::unique_lock<std::mutex> lock(mMutex);
    for (;;) {
        mChanged.wait(lock, [this] { return mForgetsSinks || !mWaiting.empty(); });
        mIsBusy = true;
        std::deque<Request> requests;
        requests.swap(mWaiting);
        const bool forgets = mForgetsSinks && requests.empty();
        lock.unlock();
        for (Request& request : requests) {
            deliver(request);
            deliverThroughAnOldSink(old, random);
            old.push_back(std::move(request));
        }
        requests.clear();
        if (forgets)
            old.clear();
        lock.lock();
        mIsBusy = false;
        mForgetsSinks = mForgetsSinks && !forgets;
        mChanged.notify_all();
    }
}

void StressGuest::deliver(const Request& request)
{
    constexpr std::size_t kPiece = 65536;
    std::string bytes = allBytes();
    for (const ClipfileDescription& file : *request.files) {
        if (isFolder(file))
            continue;
        const std::size_t whole = std::min<std::uint64_t>(file.size, bytes.size());
        std::size_t begin = 0;
        do {
            const std::size_t size = std::min(kPiece, whole - begin);
            request.sink(file, reinterpret_cast<unsigned char*>(bytes.data()) + begin, size);
            begin += size;
        } while (begin < whole);
    }
}

void StressGuest::deliverThroughAnOldSink(std::vector<Request>& old, SeededRandom& random)
{
    if (old.empty())
        return;
    const std::size_t place = random.below(old.size());
    unsigned char stray = 0;
    if (!old[place].files->empty())
        old[place].sink(old[place].files->front(), &stray, 1);
    if (old.size() == kMostOldSinks)
        old.erase(old.begin() + static_cast<std::ptrdiff_t>(place));
}
