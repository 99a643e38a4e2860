// A root and a path: as they are, and the path below the root.
#include "file_utilities/path_text.h"

#include <fuzzer/FuzzedDataProvider.h>

#include "file_utilities/file_names.h"
#include "fuzz_check.h"

namespace {

std::string trimPlainly(std::string text)
{
    while (!text.empty() && text.back() == '\\')
        text.pop_back();
    while (!text.empty() && text.front() == '\\')
        text.erase(0, 1);
    return text;
}

std::string joinRuns(const std::string& text)
{
    std::string joined;
    for (const char byte : text) {
        if (byte != '\\' || joined.empty() || joined.back() != '\\')
            joined += byte;
    }
    return joined;
}

std::size_t findPlainly(const std::string& text)
{
    std::size_t last = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        last = text[i] == '\\' ? i : last;
    return last;
}

void checkTrimming(const std::string& text)
{
    std::string trimmed = text;
    sd::clip::TrimBackslashes(trimmed);
    require(trimmed == trimPlainly(text), "backslashes are trimmed on both sides");
    std::string cut = text;
    sd::clip::RemoveTrailingBackslashes(cut);
    require(text == cut + std::string(text.size() - cut.size(), '\\'), "only backslashes are removed, and at the end");
    require(cut.empty() || cut.back() != '\\', "no backslash is left at the end");
    require(sd::clip::FindLastBackslash(text) == findPlainly(text), "the last backslash is found");
    const std::string platformPath = sd::clip::MakePlatformPath(text);
    require(platformPath == cut || (platformPath == cut + "\\" && cut.size() < text.size()),
            "a platform path has one backslash at its end at the most, and only one that was there");
    require(platformPath == cut || cut.empty() || cut.back() == ':', "only the root of a drive keeps one");
}

void checkSplit(const std::string& path, const std::string& root)
{
    sd::clip::ClipfileDescription parts;
    sd::clip::SplitFilePath(parts, path, root);
    std::string cut = path;
    while (!cut.empty() && cut.back() == '\\')
        cut.pop_back();
    const std::size_t last = findPlainly(cut);
    std::string between;
    for (std::size_t i = parts.root.size(); i < last; ++i)
        between += cut[i];
    require(root == parts.root + std::string(root.size() - parts.root.size(), '\\'), "the root keeps its text");
    require(parts.root.empty() || parts.root.back() != '\\', "no backslash stands behind the root");
    require(parts.relativePath == trimPlainly(between), "the relative path lies between root and last backslash");
    require(parts.fileName == trimPlainly(cut.substr(last)), "the name stands behind the last backslash");
}

// Nothing that lies below the root is lost.
void checkBelow(const std::string& root, const std::string& path)
{
    const std::string name = trimPlainly(path);
    if (name.empty())
        return;
    sd::clip::ClipfileDescription parts;
    sd::clip::SplitFilePath(parts, root + '\\' + path, root);
    require(joinRuns(sd::clip::GetRelativeName(parts)) == joinRuns(name), "what lies below the root is told whole");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string root = input.ConsumeRandomLengthString(64);
    const std::string path = input.ConsumeRemainingBytesAsString();
    checkTrimming(root);
    checkTrimming(path);

    checkSplit(path, root);
    checkSplit(root + '\\' + path, root);
    checkBelow(root, path);
    return 0;
}
