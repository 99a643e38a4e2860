#include "data_object/transfer_files.h"

#include <array>
#include <utility>

namespace sd::clip {

std::string MakeFileKey(const ClipfileDescription& file)
{
    return file.relativePath + file.fileName;
}

// For each delivery and each read: a key of common length takes no memory.
TransferFile* TransferFiles::Find(const ClipfileDescription& file) const
{
    std::array<char, 1024> key;
    const std::size_t pathSize = file.relativePath.size();
    const std::size_t size = pathSize + file.fileName.size();
    if (size > key.size())
        return Find(MakeFileKey(file));
    file.relativePath.copy(key.data(), pathSize);
    file.fileName.copy(key.data() + pathSize, file.fileName.size());
    return Find(std::string_view(key.data(), size));
}

TransferFile* TransferFiles::Find(std::string_view key) const
{
    LockScope lock(mMutex);
    const auto found = mByKey.find(key);
    return found == mByKey.end() ? nullptr : found->second;
}

TransferFile* TransferFiles::Add(std::string key, std::int64_t fileSize)
{
    auto made = std::make_unique<TransferFile>(std::move(key), fileSize, mListNumber);
    TransferFile* const file = made.get();
    LockScope lock(mMutex);
    mFiles.emplace_back();  // memory that runs out leaves an empty place at the most, not a record that can't be found
    mByKey.emplace(file->Key(), file);
    mFiles.back() = std::move(made);
    return file;
}

void TransferFiles::AbandonSlices()
{
    LockScope lock(mMutex);
    for (const auto& file : mFiles) {
        if (file != nullptr)
            file->AbandonSlice();
    }
}

std::vector<std::string> TransferFiles::Keys() const
{
    std::vector<std::string> keys;
    LockScope lock(mMutex);
    for (const auto& file : mFiles) {
        if (file != nullptr)
            keys.push_back(file->Key());
    }
    return keys;
}

}  // namespace sd::clip
