// Tells a landing of the placeholder from every other added file.
#pragma once

#include <optional>
#include <string>

namespace sd::clip {

// An added file that is named like the placeholder. Names are matched byte for byte, anywhere in the path.
//
// Threads: any, one at a time. Nothing here keeps a lock or asks the file system.
class Landing {
public:
    // @param root of the drive, such as `C:\`
    // @param name of the added file: UTF-8, relative to the root
    // @param sparseName the placeholder's name, as the bytes of the guest's name make it
    // @return nothing for a file of another name, and for one whose path can't be converted; the latter is in the log
    static std::optional<Landing> Find(const std::wstring& root, const std::string& name,
                                       const std::string& sparseName);

    // Whether this is no paste but the creation of the placeholder itself, which every preparation causes.
    // @param cacheDir UTF-8, with backslashes only
    bool LiesInCache(const std::string& cacheDir) const;

    // The folder that was pasted into: UTF-8, with its last backslash.
    const std::string& Folder() const
    {
        return mFolder;
    }

    // The placeholder's name as the file system shows it, UTF-8: of a name that is not UTF-8 it is another one.
    const std::string& SparseName() const
    {
        return mSparseName;
    }

private:
    Landing() = default;

    std::wstring mRoot;
    std::string mName;
    std::string mSparseName;
    std::wstring mTarget;  // the path of the added file
    std::string mShownTarget;
    std::string mFolder;
};

}  // namespace sd::clip
