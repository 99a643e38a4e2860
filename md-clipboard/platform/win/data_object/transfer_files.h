// The files of one list of which data has arrived.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/annotated_mutex.h"
#include "file_stream/transfer_file.h"
#include "sd/clip/clipboard_data.h"

namespace sd::clip {

// The relative path with the file name behind it and nothing between them, so "a" and "bc" share a record with "ab"
// and "c". The bytes as they are, NUL included.
std::string MakeFileKey(const ClipfileDescription& file);

// Owns the records; they stay where they are until it goes.
// Threads: any. Its lock is a leaf: nothing is called while it is held, but files are closed.
class TransferFiles {
public:
    TransferFiles() = default;
    TransferFiles(const TransferFiles&) = delete;
    TransferFiles& operator=(const TransferFiles&) = delete;

    // @return null if there is none
    TransferFile* Find(std::string_view key) const;
    TransferFile* Find(const ClipfileDescription& file) const;

    // Of several records with one key the first stays the one that is found.
    // @return the new record
    TransferFile* Add(std::string key, std::int64_t fileSize);

    // Closes every slice that is open for writing. No writer may be at work.
    void AbandonSlices();

    // The keys, in the order of the files' first deliveries.
    std::vector<std::string> Keys() const;

private:
    friend class TestAccess;

    const std::uint64_t mListNumber = NextListNumber();
    mutable Mutex mMutex;
    std::vector<std::unique_ptr<TransferFile>> mFiles CLIP_GUARDED_BY(mMutex);  // in the order of their first delivery
    // Its keys are views of the records' own.
    std::unordered_map<std::string_view, TransferFile*> mByKey CLIP_GUARDED_BY(mMutex);
};

}  // namespace sd::clip
