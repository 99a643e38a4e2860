#include "file_stream/transfer_file.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/log.h"
#include "file_stream/shared_stream_open.h"
#include "file_stream/slice_reader.h"
#include "support/clipboard_engine.h"
#include "support/clipboard_events.h"

namespace sd::clip {

namespace {

constexpr auto kLongestWait = std::chrono::seconds(30);

// The size of a slice that was never opened for writing: what lies under its name is not this file's.
constexpr std::int64_t kMissing = -1;

// Bytes of one call to a stream. The runtime below it refuses more than 2^31 - 1, or counts them in 32 bits.
constexpr unsigned long long kLongestCall = 16777216;

// The bytes that the stream gave, up to `length`.
std::uint32_t readPieces(std::istream& stream, char* buffer, std::uint32_t length)
{
    std::uint32_t total = 0;
    while (total < length && stream.good()) {
        const auto piece = std::min<unsigned long long>(length - total, kLongestCall);
        stream.read(buffer + total, static_cast<std::streamsize>(piece));
        total += static_cast<std::uint32_t>(stream.gcount());
    }
    return total;
}

void writePieces(std::ostream& stream, const unsigned char* data, unsigned long long size)
{
    const auto* bytes = reinterpret_cast<const char*>(data);
    for (unsigned long long written = 0; written < size;) {
        const auto piece = std::min(size - written, kLongestCall);
        stream.write(bytes + written, static_cast<std::streamsize>(piece));
        written += piece;
    }
}

// What the paths of all slices of a file have in common. The platform takes separators and letters of either kind for
// the same.
std::string nameOfSlices(const std::string& slicePath)
{
    std::string name = slicePath.substr(0, slicePath.rfind('.'));
    for (char& unit : name) {
        if (unit == '\\')
            unit = '/';
        else if (unit >= 'A' && unit <= 'Z')
            unit = static_cast<char>(unit - 'A' + 'a');
    }
    return name;
}

}  // namespace

TransferFile::TransferFile(std::string key, std::int64_t fileSize, std::uint64_t listNumber)
    : mFileKey(std::move(key)), mFileSize(fileSize), mSliceWriter(std::make_unique<std::ofstream>()), mClaim(listNumber)
{
}

bool TransferFile::OpenSlice(const std::string& path)
{
    if (mSliceWriter->is_open())
        return true;
    mSlicePath = path;
    if (!mClaim.Take(nameOfSlices(path)))
        return false;
    LockScope lock(mClaim.WritingMutex());
    if (!mClaim.IsLost())
        openShared(*mSliceWriter, path.c_str(), std::ios_base::out);
    if (mSliceWriter->is_open()) {
        mSliceSize = 0;
        mHasOpened = true;
    }
    return mSliceWriter->is_open();
}

void TransferFile::Write(const unsigned char* data, unsigned long long size)
{
    mReadySize += static_cast<std::int64_t>(size);
    LockScope lock(mClaim.WritingMutex());
    if (mClaim.IsLost()) {
        mSliceWriter->close();
        return;
    }
    writePieces(*mSliceWriter, data, size);
    mSliceWriter->flush();
    mSliceSize += static_cast<std::int64_t>(size);
    // The stream keeps what the disk did not take, and would write it when it is closed: by then the slice may be
    // another list's.
    if (mSliceWriter->is_open() && !mSliceWriter->good()) {
        mSliceWriter->close();
        mHasWriteFailed = true;
    }
}

// Counted: the stream would ask the platform for each delivery.
std::int64_t TransferFile::Position() const
{
    return mSliceWriter->is_open() ? mSliceSize : -1;
}

void TransferFile::CloseSlice(const std::string& path)
{
    mSliceWriter->flush();
    mSliceWriter->close();
    // Together and under the lock: a reader that sees the count finds the path, and no signal falls between its look
    // and its sleep.
    LockScope lock(mSliceMutex);
    mSliceSizes.resize(mSlices.size() + 1);
    mSliceSizes.back() = mHasOpened ? mSliceSize : kMissing;
    mHasOpened = false;
    mHasWriteFailed = false;
    mSlices.push_back(path);
    ++mSliceCount;
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes the stream that the record owns
void TransferFile::AbandonSlice()
{
    if (mSliceWriter->is_open())
        mSliceWriter->close();
}

void TransferFile::NotifySliceReady()
{
    mSliceReady.notify_one();
}

bool TransferFile::Read(char* buffer, std::uint32_t length, std::uint32_t* count)
{
    do {
        const Opening opening = openIfNeeded(count);
        if (opening != Opening::kOpen)
            return opening == Opening::kAtEnd;
    } while (!readOpenSlice(buffer, length, count));
    return true;
}

bool TransferFile::WaitSliceReady()
{
    LockScope lock(mSliceMutex);
    return waitFor(mSliceReady, mSliceMutex, kLongestWait,
                   [this]() CLIP_REQUIRES(mSliceMutex) { return mSliceCount > mReadSliceIndex; });
}

void TransferFile::RethrowReportFailure()
{
    if (const std::exception_ptr failure = std::exchange(mReportFailure, nullptr))
        std::rethrow_exception(failure);
}

void TransferFile::Restart()
{
    mSliceReader.reset();
    mCopiedSize = 0;
    mReadSliceIndex = 0;
}

void TransferFile::GiveUpReader()
{
    mSliceReader.reset();
}

// Makes the reader and has it open a slice, so far as these are not there.
TransferFile::Opening TransferFile::openIfNeeded(std::uint32_t* count)
{
    if (!mSliceReader) {
        if (hasCopiedAll()) {
            CLIP_LOG(kLogInfo, "Copy %s end.", mFileKey.c_str());
            mReadSliceIndex = 0;
            *count = 0;
            mCopiedSize = 0;
            return Opening::kAtEnd;
        }
        mSliceReader = std::make_unique<SliceReader>();
        CLIP_LOG(kLogInfo, "Create new ifstream:%p", static_cast<void*>(mSliceReader.get()));
    }
    return mSliceReader->is_open() ? Opening::kOpen : openNextSlice(count);
}

TransferFile::Opening TransferFile::openNextSlice(std::uint32_t* count)
{
    if (hasCopiedAll()) {
        CLIP_LOG(kLogInfo, "Copy end. copyed size:%lld, filesize:%lld", static_cast<long long>(mCopiedSize),
                 static_cast<long long>(mFileSize));
        *count = 0;
        mSliceReader.reset();
        mReadSliceIndex = 0;
        return Opening::kAtEnd;
    }
    if (mReadSliceIndex == 0)
        mCopiedSize = 0;
    if (awaitNextSlice()) {
        openFinishedSlice();
        return Opening::kOpen;
    }
    if (HasLostSlices()) {
        Restart();
        *count = 0;
        return Opening::kAtEnd;
    }
    giveUpWaiting(count);
    return Opening::kInVain;
}

bool TransferFile::hasCopiedAll() const
{
    return mCopiedSize >= mFileSize;
}

// Whether there is a slice to open, after a wait if it takes one.
bool TransferFile::awaitNextSlice()
{
    if (hasNextSlice())
        return true;
    CLIP_LOG(kLogInfo, "Wait slice file.. this=%p", static_cast<void*>(this));
    return WaitSliceReady();
}

bool TransferFile::hasNextSlice()
{
    LockScope lock(mSliceMutex);
    return static_cast<std::size_t>(mReadSliceIndex) < mSlices.size();
}

// A slice that cannot be opened is read as an empty one, so the file gets a hole there.
void TransferFile::openFinishedSlice()
{
    {
        const auto index = static_cast<std::size_t>(mReadSliceIndex);
        LockScope lock(mSliceMutex);
        mCurrentSlice = mSlices[index];
        mCurrentSliceSize = mSliceSizes[index];
    }
    mReadOfSlice = 0;
    if (mCurrentSliceSize != kMissing)
        openShared(*mSliceReader, mCurrentSlice.c_str(), std::ios_base::in);
    CLIP_LOG(kLogInfo, "Start Read(%d):%s isOpen:%d", mReadSliceIndex, mCurrentSlice.c_str(),
             mSliceReader->is_open() ? 1 : 0);
    ++mReadSliceIndex;
}

// A slice closes with its last byte and not at the call after it.
// @return false if the slice is shorter than what was written: nothing came, and the next slice has its turn, unless a
//         newer list has emptied this one
bool TransferFile::readOpenSlice(char* buffer, std::uint32_t length, std::uint32_t* count)
{
    const bool isBegun = mReadOfSlice > 0;
    *count = readPieces(*mSliceReader, buffer, length);
    mCopiedSize += *count;
    mReadOfSlice += *count;
    if (*count >= length && hasMoreInSlice())
        return true;
    CLIP_LOG(kLogInfo, "Read file (%s) finish. Close and delete ifstream:%p", mCurrentSlice.c_str(),
             static_cast<void*>(mSliceReader.get()));
    mSliceReader->close();
    mSliceReader.reset();
    return *count > 0 || !isBegun || HasLostSlices();
}

// A look one byte ahead costs as much as a small read, so it is taken at the end of what was written only.
bool TransferFile::hasMoreInSlice()
{
    return mReadOfSlice < mCurrentSliceSize || mSliceReader->peek() != std::ifstream::traits_type::eof();
}

// What has been copied stays, for the report that follows; the next Read begins the file again.
void TransferFile::giveUpWaiting(std::uint32_t* count)
{
    CLIP_LOG(kLogInfo, "Wait slice file timeout.");
    mReportFailure = nullptr;
    try {
        RaiseDownloadTimeout(ClipboardEngine::Current(), mCopiedSize, mFileSize);
    } catch (...) {
        mReportFailure = std::current_exception();
    }
    *count = 0;
    mSliceReader.reset();
    mReadSliceIndex = 0;
}

}  // namespace sd::clip
