// Names and paths of placeholders, and directories that may be roots.
#include "file_clipboard_lazy_renderer/placeholder_name.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <iterator>

#include "fuzz_check.h"

namespace {

std::wstring widen(const std::string& text)
{
    std::wstring wide;
    for (const char byte : text)
        wide += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    return wide;
}

void checkNames(const std::string& name, const std::string& suffix)
{
    sd::clip::ClipfileDescription file;
    file.fileName = name;
    const std::string sparseName = sd::clip::makeSparseName(file, suffix);
    const std::size_t shown = sparseName.size() - suffix.size() - 1;
    require(sparseName == name.substr(0, shown) + "." + suffix, "the suffix stands behind the name and a dot");
    require(shown == name.size() || name[shown] == '\0', "only a terminator ends the name");
    require(sparseName.find('\0') >= shown, "no terminator stands in it");

    std::string copy = sd::clip::appendCopySuffix(name);
    const std::size_t dot = copy.rfind('.');
    const std::size_t at = dot == std::string::npos || copy.size() == 3 ? copy.size() - 3 : dot - 3;
    require(copy.substr(at, 3) == "(2)", "the copy's suffix stands before the last dot or at the end");
    require(copy.erase(at, 3) == name, "nothing else is changed");

    const std::string cut = sd::clip::cutAtLastBackslash(name);
    require(name.compare(0, cut.size(), cut) == 0, "a cut leaves the beginning");
    require(cut.size() == name.size()
                ? name.find('\\') == std::string::npos
                : name[cut.size()] == '\\' && name.find('\\', cut.size() + 1) == std::string::npos,
            "the cut is made at the last backslash");
}

void checkReplacement(const std::wstring& path, const std::wstring& name)
{
    const std::wstring replaced = sd::clip::replaceFileName(path, name);
    require(replaced.size() >= name.size(), "the new name is in the path");
    const std::size_t kept = replaced.size() - name.size();
    require(replaced == path.substr(0, kept) + name, "what stands before the new name is the path's beginning");
    require(path.find_first_of(L"\\/", kept) == std::wstring::npos, "no separator is lost");
    require(kept == 0 || path[kept - 1] == L'\\' || path[kept - 1] == L'/', "the directory ends in a separator");
}

void checkCache(const std::string& path, const std::string& directory)
{
    bool isContained = false;
    for (std::size_t at = 0; !directory.empty() && at + directory.size() <= path.size(); ++at)
        isContained = isContained || path.substr(at, directory.size()) == directory;
    require(sd::clip::liesInCache(path, directory) == isContained, "a directory is found wherever it stands");
    require(sd::clip::liesInCache(widen(path), widen(directory)) == isContained, "in wide texts too");
}

// A root in one of its forms, and folders on it. Their depth tells whether they lead back to the root.
void checkRoot(FuzzedDataProvider& input)
{
    static const wchar_t* const kRoots[] = {L"C:",
                                            L"c:/",
                                            L"\\",
                                            L"/",
                                            L"\\\\s\\share",
                                            L"//s/share",
                                            L"\\\\?\\C:",
                                            L"\\\\.\\C:",
                                            L"\\??\\C:",
                                            L"//?/C:",
                                            L"\\\\?\\UNC\\s\\share",
                                            L"\\\\.\\unc\\s\\share",
                                            L"\\\\?\\Volume{0}",
                                            L"\\\\?\\Global\\C:"};
    static const wchar_t* const kFolders[] = {L"cache", L".", L"..", L"...", L"..a", L"UNC", L"C:", L"?", L" "};
    std::wstring directory = kRoots[input.ConsumeIntegralInRange<std::size_t>(0, std::size(kRoots) - 1)];
    const std::wstring root = directory;
    int depth = 0;
    bool leftRoot = false;
    for (int i = input.ConsumeIntegralInRange(0, 8); i > 0; --i) {
        const std::wstring folder = kFolders[input.ConsumeIntegralInRange<std::size_t>(0, std::size(kFolders) - 1)];
        directory += std::wstring(input.ConsumeIntegralInRange<std::size_t>(1, 2), input.ConsumeBool() ? L'/' : L'\\');
        directory += folder;
        leftRoot = leftRoot || (folder == L".." && depth == 0);
        if (folder == L"..")
            depth = depth > 0 ? depth - 1 : 0;
        else if (folder != L".")
            ++depth;
    }
    const bool isRefused = sd::clip::isEmptyOrRoot(directory);
    require(depth > 0 || isRefused, "what leads back to the root is the root");
    // Above the root of a device path lies no folder that anyone cleans, so what is taken for one there is open.
    require(depth == 0 || leftRoot || root == L"\\" || root == L"/" || !isRefused, "a folder is not the root");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    checkRoot(input);
    const std::string name = input.ConsumeRandomLengthString(64);
    const std::string other = input.ConsumeRandomLengthString(16);
    const std::string path = input.ConsumeRemainingBytesAsString();
    checkNames(name, other);
    checkReplacement(widen(path), widen(name));
    checkCache(path, other);
    const std::wstring directory = widen(path);
    require(sd::clip::isEmptyOrRoot(directory) == sd::clip::isEmptyOrRoot(directory + L'\0' + widen(name)),
            "a terminator ends a directory");
    return 0;
}
