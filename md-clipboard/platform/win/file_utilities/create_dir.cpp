#include "file_utilities/create_dir.h"

#include <direct.h>
#include <io.h>

#include <cstdio>

#include "base/log.h"

namespace sd::clip {

int createDir(const std::string& path)
{
    constexpr int kExistence = 0;  // what _access is asked for
    CLIP_LOG(kLogInfo, "want create dir path:%s", path.c_str());
    if (path.empty()) {
        CLIP_LOG(kLogError, "Path is empty.");
        return -1;
    }
    if (_access(path.c_str(), kExistence) == 0) {
        CLIP_LOG(kLogInfo, "Path has exsit. path:%s", path.c_str());
        return 0;
    }

    const std::size_t separator = path.find_last_of(gDirSeparators);
    if (separator == std::string::npos)
        return -1;  // it would be its own parent, without end
    if (const int result = createDir(path.substr(0, separator)))
        return result;
    CLIP_LOG(kLogInfo, "prepare create dir path:%s", path.c_str());
    return _mkdir(path.c_str());
}

int RemoveFile(const std::string& path)
{
    return std::remove(path.c_str());
}

}  // namespace sd::clip
