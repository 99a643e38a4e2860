#include "portable_stream.h"

#include <utility>

#include "base/log.h"
#include "file_stream/read_heartbeat.h"
#include "file_stream/reading_mark.h"
#include "file_stream/transfer_file.h"

using namespace sd::clip;

PortableStream::PortableStream(std::shared_ptr<DetailFileDescription> description,
                               std::shared_ptr<ListTransfer> transfer)
    : mTransfer(std::move(transfer)), mDescription(std::move(description))
{
}

bool PortableStream::Read(void* bytes, std::uint32_t length, std::uint32_t* copied)
{
    if (mCancelled || mDisconnected)
        return false;
    gReadState = ReadState::kInRead;
    noteReadActivity();
    const bool result = readCurrentFile(static_cast<char*>(bytes), length, *copied);
    return result && !mCancelled && !mDisconnected;
}

bool PortableStream::readCurrentFile(char* buffer, std::uint32_t length, std::uint32_t& copied)
{
    if (isReadingHere())
        return false;
    const LockScope lock(mMutex);
    const ReadingMark mark(mReadingThread);
    if (mCancelled || mDisconnected)
        return false;
    TransferFile* const file = findTransferFile();
    if (file == nullptr || file->HasLostSlices())
        return false;
    if (std::exchange(mStartsAnew, false))
        file->Restart();
    std::uint32_t count = 0;
    if (!file->Read(buffer, length, &count) || file->HasLostSlices())
        return false;
    copied = count;
    noteReadActivity();
    if (file->CopiedSize() == file->FileSize())
        CLIP_LOG(kLogInfo, "%s copied finish.", file->Key().c_str());
    gReadState = ReadState::kBetweenReads;
    return true;
}

std::shared_ptr<DetailFileDescription> PortableStream::description() const
{
    const LockScope lock(mDescriptionMutex);
    return mDescription;
}

TransferFile* PortableStream::findTransferFile()
{
    const auto current = description();
    mTransferFile = current ? mTransfer->mFiles.Find(*current) : nullptr;
    return mTransferFile;
}

bool PortableStream::isReadingHere() const
{
    return mReadingThread == std::this_thread::get_id();
}
