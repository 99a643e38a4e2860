// The empty file that stands on the clipboard in the place of a guest's files.
#pragma once

#include <windows.h>

#include <string>

namespace sd::clip {

// Makes one placeholder in the cache directory. The file stays when this object goes; a paste takes it away, or the
// next cleaning.
//
// Threads: one at a time.
class PlaceholderFile {
public:
    // @param cacheDir UTF-8, with a separator at its end
    explicit PlaceholderFile(std::string cacheDir);
    PlaceholderFile(const PlaceholderFile&) = delete;
    PlaceholderFile& operator=(const PlaceholderFile&) = delete;

    // For the log and for the platform.
    const std::string& CacheDir() const
    {
        return mCacheDir;
    }
    const std::wstring& WideCacheDir() const
    {
        return mWideCacheDir;
    }

    // Makes the directory's last component, if it is missing, and the empty file, and closes the file. To be called
    // once.
    // @param name UTF-8
    // @return whether the file is there; otherwise the log says why
    bool Create(const std::string& name);

    // Empty before Create has got that far.
    const std::wstring& Path() const
    {
        return mPath;
    }

    // Decision: what Create has closed is closed once more where its publication failed. That fails without a sound.
    void CloseOnceMore();

private:
    bool createDirectory() const;
    bool createEmptyFile();

    const std::string mCacheDir;
    const std::wstring mWideCacheDir;
    std::wstring mPath;
    HANDLE mFile = nullptr;  // as the platform gave it; closed by Create
};

}  // namespace sd::clip
