// One file on its way from the guest: its slices on disk, written by one thread and read by another.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace sd::clip {

// The host's deliveries go to disk as a row of slice files, and a pasting application reads the finished ones in order
// while later ones are still arriving.
//
// Threads: one writer and one reader at the same time. Who has several of a kind lets them come one after the other.
// The two meet in mSlices and mSliceCount only: the writer changes them under mSliceMutex and may read them without
// it, the reader takes it whenever it reads them.
class TransferFile {
public:
    // @param key relative path and file name
    // @param fileSize bytes of the whole file
    TransferFile(std::string key, std::int64_t fileSize);

    TransferFile(const TransferFile&) = delete;
    TransferFile& operator=(const TransferFile&) = delete;

    // ---- The writer ----
    // Opens the slice unless one is open. A failure is remembered by the stream alone: writes to it do nothing.
    // @return whether a slice is open
    bool OpenSlice(const std::string& path);

    // Counts the bytes as ready, whether or not the disk took them.
    void Write(const unsigned char* data, unsigned long long size);

    // @return bytes in the open slice; negative after a failed open or write
    std::int64_t Position() const;

    // Closes the slice and adds it to those that the reader may open.
    void CloseSlice(const std::string& path);

    // Wakes a reader that waits. It looks again, and sleeps on if there is no new slice. Any thread may call this.
    void NotifySliceReady();

    // ---- The reader ----
    // Gives up to `length` bytes, all of one slice. No bytes stand for the end of the file, and the call after that
    // begins the file again; they also stand for a slice that cannot be read. Waits if no slice is ready.
    // @return false if the wait for a slice was in vain
    bool Read(char* buffer, std::uint32_t length, std::uint32_t* count);

    // Waits up to 30 seconds for the slice that the reader needs next; nothing else ends or prolongs the wait.
    bool WaitSliceReady();

    // Lets the next Read begin at the first byte.
    void Restart();

    // Their names and their order are known outside: they stay.
    const std::string mFileKey;
    std::vector<std::string> mSlices;  // paths of finished slices; guarded by mSliceMutex
    const std::int64_t mFileSize;
    std::int64_t mReadySize = 0;  // the writer's: bytes received
    // The writer's: one for the record's whole life, closed between slices.
    std::unique_ptr<std::ofstream> mSliceWriter;
    std::int32_t mSliceCount = 0;  // finished slices, and so the index of the one being written; guarded by mSliceMutex
    std::unique_ptr<std::ifstream> mSliceReader;  // the reader's: none between slices
    std::int64_t mCopiedSize = 0;                 // the reader's: bytes handed out in this pass
    std::int32_t mReadSliceIndex = 0;             // the reader's: position in mSlices of the slice to open next
    std::string mCurrentSlice;                    // the reader's: path of the slice being read
    std::mutex mSliceMutex;                       // held for a look or a change, never during a call to disk or host
    std::condition_variable mSliceReady;

private:
    bool hasCopiedAll() const;
    bool awaitNextSlice();
    std::string findNextSlice();
    void openNextSlice();
    void readOpenSlice(char* buffer, std::uint32_t length, std::uint32_t* count);
    void giveUpWaiting(std::uint32_t* count);
};

}  // namespace sd::clip
