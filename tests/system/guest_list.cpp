#include "guest_list.h"

#include <algorithm>
#include <utility>

#include "example_support/joined_ole.h"
#include "example_support/message_pump.h"

using namespace sd::clip;

namespace {

HANDLE makeEvent()
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

bool waitForEvent(HANDLE event, int milliseconds)
{
    return WaitForSingleObject(event, static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
}

std::vector<ClipfileDescription> describe(const std::vector<GuestFile>& files)
{
    constexpr std::uint16_t kModeFolder = 0x4000;
    constexpr std::uint16_t kModeFile = 0x8000;
    std::vector<ClipfileDescription> list(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        list[i].relativePath = files[i].relativePath;
        list[i].fileName = files[i].fileName;
        list[i].size = files[i].bytes.size();
        list[i].attributes = files[i].isFolder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
        list[i].mode = files[i].isFolder ? kModeFolder : kModeFile;
    }
    return list;
}

}  // namespace

std::string makeBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t state = static_cast<std::uint32_t>(size) + 1;
    for (char& each : bytes) {
        state = state * 1664525 + 1013904223;  // a linear congruential generator; its high bits are the good ones
        each = static_cast<char>(state >> 24);
    }
    return bytes;
}

// ---- Gate ----

Gate::Gate() : mArrived(makeEvent()), mOpened(makeEvent()) {}

Gate::~Gate()
{
    CloseHandle(mArrived);
    CloseHandle(mOpened);
}

void Gate::pass()
{
    SetEvent(mArrived);
    pumpMessagesUntil(mOpened, INFINITE);
}

bool Gate::waitForArrival(int milliseconds) const
{
    return waitForEvent(mArrived, milliseconds);
}

void Gate::open()
{
    SetEvent(mOpened);
}

// ---- GuestList ----

GuestList::GuestList(std::vector<GuestFile> files, Delivery delivery)
    : mStop(makeEvent()),
      mDelivered(makeEvent()),
      mFiles(std::move(files)),
      mDescriptions(describe(mFiles)),
      mDelivery(std::move(delivery))
{
}

GuestList::~GuestList()
{
    end();
    CloseHandle(mStop);
    CloseHandle(mDelivered);
}

std::shared_ptr<ClipboardFileDataImpl> GuestList::makeRecord()
{
    auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles(mDescriptions);
    record->SetFileFuncs(
        [self = shared_from_this()](const ClipfileDescription&, FileDataRequestCallback sink) {
            ++self->mRequests;
            const std::lock_guard<std::mutex> lock(self->mThreadMutex);
            if (!self->mEnded && !self->mThread.joinable())
                self->mThread = std::thread([list = self.get(), sink = std::move(sink)] { list->deliverAll(sink); });
            return std::string();
        },
        [self = shared_from_this()](const ClipfileDescription&) { ++self->mCancels; });
    return record;
}

bool GuestList::waitForDelivery(int milliseconds) const
{
    return waitForEvent(mDelivered, milliseconds);
}

void GuestList::end()
{
    std::thread thread;
    {
        const std::lock_guard<std::mutex> lock(mThreadMutex);
        mEnded = true;
        thread.swap(mThread);
    }
    SetEvent(mStop);
    if (thread.joinable())
        thread.join();
}

void GuestList::deliverAll(const FileDataRequestCallback& sink)
{
    const JoinedOle ole;
    for (std::size_t i = 0; i < mFiles.size(); ++i) {
        if (!mFiles[i].isFolder && !deliverFile(i, sink))
            return;
    }
    SetEvent(mDelivered);
}

// Whether the delivery goes on. An empty file has one delivery too: by that the library knows that it is complete.
bool GuestList::deliverFile(std::size_t index, const FileDataRequestCallback& sink)
{
    std::string& bytes = mFiles[index].bytes;
    std::size_t begin = 0;
    do {
        if (mDelivery.before)
            mDelivery.before(mSent);
        if (pumpMessagesUntil(mStop, 0))
            return false;
        const std::size_t size = std::min(mDelivery.piece, bytes.size() - begin);
        sink(mDescriptions[index], reinterpret_cast<unsigned char*>(bytes.data()) + begin, size);
        begin += size;
        mSent += size;
        if (mDelivery.pause > 0 && pumpMessagesUntil(mStop, mDelivery.pause))
            return false;
    } while (begin < bytes.size());
    return true;
}
