// What a pasting application receives for "FileContents": a stream over a file that may still be on its way.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <atomic>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "base/annotated_mutex.h"
#include "data_object/file_transfer.h"
#include "file_stream/medium_base.h"
#include "file_stream/transfer_reader.h"
#include "file_utilities/detail_file_description.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// What the mode argument of FileStream asks for.
constexpr std::int32_t kFileModeOpenLocal = 1;  // open the stream's own local file
constexpr std::int32_t kFileModeTransfer = 2;   // bytes come through the transfer only

// The size is known before the first byte has come, the position cannot be moved, and Read waits for the writer. One
// stream serves file after file; each file is read from its first byte.
//
// It lives by its COM count alone: made by new with a count of 1 that belongs to the data object, deleted by Release.
//
// Threads: any. mMutex is held through the whole of Read, its waits included, so the other operations wait for a
// running Read; called from inside it, on its own thread (a host that answers an event, or pumps messages in its
// cancel function), they do not lock again.
class FileStream : public IStream, public MediumBase {
public:
    FileStream(std::shared_ptr<DetailFileDescription> description, FileRequestFunc data, FileCancelFunc cancel,
               std::int32_t mode);

    // @param transfer where the records of files come from; kept, and it keeps the records. Nothing is ever found
    //                 without it
    FileStream(std::shared_ptr<DetailFileDescription> description, std::shared_ptr<FileTransfer> transfer,
               std::int32_t mode);

    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    // IUnknown:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // ISequentialStream:

    // @return S_OK for all of the bytes; S_FALSE for fewer: the end of a slice, or with 0 bytes the end of the file or
    //         a wait that failed; STG_E_REVERTED after Cancel or Disconnect; STG_E_INVALIDPOINTER for a null, the
    //         count's included
    HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override;
    // Succeeds and writes nothing: applications exist that take an error here for a failed paste.
    HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;

    // IStream:
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER libNewSize) override;
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                     ULARGE_INTEGER* pcbWritten) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) override;
    HRESULT STDMETHODCALLTYPE Revert() override;
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
    HRESULT STDMETHODCALLTYPE Clone(IStream** ppstm) override;

    // MediumBase:

    // Wakes a reader that waits for a slice, which goes on waiting to its deadline, and returns when it has ended. Not
    // undone by SetFile.
    void Cancel() override;

    // Points the stream at a file; the next Read begins with its first byte.
    // @return false if the stream is waiting, or if mode asks for the local file of a description without a path
    bool SetFile(std::shared_ptr<DetailFileDescription> description, FileRequestFunc data, FileCancelFunc cancel,
                 std::int32_t mode);

    // The same, and leaves the functions as they are. The transfer of the constructor stays in use.
    bool SetFile(std::shared_ptr<DetailFileDescription> description, const std::shared_ptr<FileTransfer>& transfer,
                 std::int32_t mode);

    // The stream's own local file. Under mMutex.
    void open() CLIP_REQUIRES(mMutex);
    void close() CLIP_REQUIRES(mMutex);

    // Does nothing but log.
    void onFileTransferData(const ClipfileDescription& description, const unsigned char* data, std::uint64_t size);

    // The data object has died: from now on Read gives STG_E_REVERTED and asks the transfer for nothing more. Returns
    // at once; a Read that waits for a record gives up after its pause, one that waits for a slice waits on. The slice
    // that was read last is closed.
    void Disconnect();

    // The file that the stream points at; may be null. Does not wait for a running Read.
    std::shared_ptr<DetailFileDescription> GetFileDescription() const;

private:
    friend class TestAccess;

    ~FileStream() override;

    HRESULT readCurrentFile(char* buffer, ULONG length, ULONG& copied);
    bool findPosition(DWORD origin, std::uint64_t& position) const CLIP_REQUIRES(mMutex);
    bool mayPointAnew() const CLIP_REQUIRES(mMutex);
    bool pointAtFile(std::shared_ptr<DetailFileDescription> description, std::int32_t mode) CLIP_REQUIRES(mMutex);
    void takeDescription(std::shared_ptr<DetailFileDescription> description) CLIP_REQUIRES(mMutex);
    void closeReaderIfEnded() CLIP_NO_THREAD_SAFETY_ANALYSIS;  // the check can't follow a lock that is tried in a loop
    bool isReadingHere() const;
    std::uint64_t localFileSize() CLIP_REQUIRES(mMutex);

    std::atomic<std::uint32_t> mRefCount{1};
    std::string mFilePath CLIP_GUARDED_BY(mMutex);  // where mLocalFile lies, UTF-8; nothing sets it yet
    std::string mFileName CLIP_GUARDED_BY(mMutex);  // the relative name of the file
    std::ifstream mLocalFile CLIP_GUARDED_BY(mMutex);
    std::uint64_t mFileSize CLIP_GUARDED_BY(mMutex) = 0;     // bytes
    FileRequestFunc mFileDataFunc CLIP_GUARDED_BY(mMutex);   // kept, not called
    FileCancelFunc mFileCancelFunc CLIP_GUARDED_BY(mMutex);  // kept, not called
    std::shared_ptr<DetailFileDescription> mFileDescription CLIP_GUARDED_BY(mDescriptionMutex);
    bool mIsWaiting CLIP_GUARDED_BY(mMutex) = false;  // nothing sets it yet
    bool mSeekable CLIP_GUARDED_BY(mMutex) = false;   // nothing sets it yet
    bool mUnusedFlag1 CLIP_UNGUARDED("cleared and not read") = false;
    bool mUnusedFlag2 CLIP_UNGUARDED("cleared and not read") = false;
    std::uint64_t mUnusedNumber1 CLIP_UNGUARDED("cleared and not read") = 0;
    std::uint64_t mUnusedNumber2 CLIP_UNGUARDED("cleared and not read") = 0;
    std::uint64_t mUnusedNumber3 CLIP_UNGUARDED("cleared and not read") = 0;
    TransferReader mReader CLIP_UNGUARDED("the reader's half is under mMutex");

    mutable Mutex mDescriptionMutex CLIP_ACQUIRED_AFTER(mMutex);  // a leaf: nothing is called under it
    std::atomic<std::thread::id> mReadingThread{};                // who is inside Read and so holds mMutex
};

}  // namespace sd::clip
