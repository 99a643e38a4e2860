// A new, empty folder for one scope.
#pragma once

#include <string>

class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();  // removes it with all that is in it
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // "C:\..." without a separator at its end.
    const std::wstring& path() const
    {
        return mPath;
    }
    std::string utf8Path() const;

    // Makes a file with the given contents, and the folders on the way to it. Returns its whole path.
    std::wstring addFile(const std::wstring& relativePath, const std::string& contents = "") const;

    // Makes a folder and those on the way to it. Returns its whole path.
    std::wstring addFolder(const std::wstring& relativePath) const;

private:
    std::wstring mPath;
};
