#include "file_utilities/path_text.h"

namespace sd::clip {

namespace {

constexpr char kBackslash = '\\';

// The length of the text without its trailing backslashes.
std::size_t measureTrimmed(std::string_view text)
{
    const std::size_t last = text.find_last_not_of(kBackslash);
    return last == std::string_view::npos ? 0 : last + 1;
}

std::string_view trimmed(std::string_view text)
{
    text = text.substr(0, measureTrimmed(text));
    const std::size_t first = text.find_first_not_of(kBackslash);
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

}  // namespace

void RemoveTrailingBackslashes(std::string& text)
{
    text.resize(measureTrimmed(text));
}

void TrimBackslashes(std::string& text)
{
    text = std::string(trimmed(text));
}

std::size_t FindLastBackslash(std::string_view text)
{
    const std::size_t position = text.rfind(kBackslash);
    return position == std::string_view::npos ? 0 : position;
}

void SplitFilePath(ClipfileDescription& description, const std::string& fullPath, const std::string& root)
{
    description.root = root;
    RemoveTrailingBackslashes(description.root);
    const std::size_t rootLength = description.root.size();

    const std::string_view path = std::string_view(fullPath).substr(0, measureTrimmed(fullPath));
    const std::size_t lastBackslash = FindLastBackslash(path);
    const std::string_view parent =
        rootLength < lastBackslash ? path.substr(rootLength, lastBackslash - rootLength) : std::string_view();
    description.relativePath = trimmed(parent);
    description.fileName = trimmed(path.substr(lastBackslash));
}

std::string MakePlatformPath(std::string path)
{
    const std::size_t given = path.size();
    RemoveTrailingBackslashes(path);
    const bool isDriveRoot = path.empty() || path.back() == ':';
    if (isDriveRoot && path.size() < given)
        path += kBackslash;
    return path;
}

}  // namespace sd::clip
