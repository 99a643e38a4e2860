#include "file_utilities/file_names.h"

#include <algorithm>

namespace sd::clip {

namespace {

void appendDirectory(std::string& text, const std::string& directory)
{
    if (directory.empty())
        return;
    text += directory;
    text += '\\';
}

}  // namespace

std::string GetRelativeName(const ClipfileDescription& description)
{
    std::string name;
    appendDirectory(name, description.relativePath);
    return name + description.fileName;
}

std::string GetRelativeNameSlashed(const ClipfileDescription& description)
{
    std::string name = GetRelativeName(description);
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

std::string GetFullPath(const ClipfileDescription& description)
{
    std::string path;
    appendDirectory(path, description.root);
    appendDirectory(path, description.relativePath);
    return path + description.fileName;
}

}  // namespace sd::clip
