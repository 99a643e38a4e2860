#include "data_object/slice_path.h"

#include "file_utilities/replace_all.h"
#include "md5.h"

namespace sd::clip {

std::string MakeSlicePath(const std::string& cacheDirectory, const std::string& fileKey, std::int32_t index)
{
    // Whatever text stands for a file, its slices lie in the cache directory itself and not in a folder below it.
    const std::string name = ReplaceAll(Md5Hex(fileKey), "/", "_");
    return cacheDirectory + name + "." + std::to_string(index);
}

}  // namespace sd::clip
