// The file that a paste of the placeholder left in its target folder.
#pragma once

#include <string>

namespace sd::clip {

// Operations on the file at one path. Another program, such as the one that pastes, may have it open for a moment: what
// fails is tried again, six times in all, for two seconds.
//
// Threads: any, one at a time.
class TargetFile {
public:
    explicit TargetFile(std::wstring path);

    // A path that can't be looked at counts as there.
    bool Exists() const;

    // Moves the file to another name in its folder and tells the desktop. An existing file is not replaced: the new
    // name gets "(2)" until it is free.
    // @param newName UTF-8; receives the name that was free
    // @return whether the file was moved; this object still names the old path
    bool Rename(std::string& newName) const;

    // Deletes the file and tells the desktop. The outcome is in the log, and nowhere else.
    void Remove() const;

private:
    bool moveTo(const std::wstring& target) const;

    const std::wstring mPath;
};

}  // namespace sd::clip
