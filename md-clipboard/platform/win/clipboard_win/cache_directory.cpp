#include "clipboard_win/cache_directory.h"

namespace sd::clip {

CacheDirectory& CacheDirectory::Instance()
{
    static auto& directory = *new CacheDirectory;
    return directory;
}

void CacheDirectory::set(const std::string& path)
{
    LockScope lock(mMutex);
    mPath = path;
}

std::string CacheDirectory::path() const
{
    LockScope lock(mMutex);
    return mPath;
}

}  // namespace sd::clip
