// Tells a landing of the placeholder from every other added file.
#include <shlobj.h>

#include "base/log.h"
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_utilities/encoding.h"

namespace sd::clip {

namespace {

constexpr int kMostRetries = 5;
constexpr DWORD kRetryPause = 400;  // milliseconds

bool moveWithRetries(const std::wstring& source, const std::wstring& target)
{
    for (int count = 0;; ++count) {
        if (MoveFileExW(source.c_str(), target.c_str(), 0))
            return true;
        const DWORD error = GetLastError();
        if (count >= kMostRetries)
            return false;
        CLIP_LOG(kLogInfo, "Move file %s to %s failed, error code %d, wait a while and retry",
                 WideToUtf8(source).c_str(), WideToUtf8(target).c_str(), static_cast<int>(error));
        Sleep(kRetryPause);
    }
}

// As the file system shows it: of a name that is not UTF-8 the placeholder has a changed one. A name that can't be
// converted now is looked for as it is, and not as nothing, which every path contains.
std::string makeShownName(const std::string& name)
{
    const std::string shown = WideToUtf8(Utf8ToWide(name));
    return shown.empty() ? name : shown;
}

}  // namespace

// A match disarms nothing: whoever pastes the placeholder a second time is served a second time.
bool FileClipboardLazyRenderer::handleTargetFile(const std::wstring& root, const std::string& name)
{
    const std::vector<ClipfileDescription>& files = mLazyFileData->GetFiles();
    if (files.empty())
        return false;
    const std::string sparseName = makeShownName(makeSparseName(files.front(), mSparseSuffix));
    if (name.find(sparseName) == std::string::npos)
        return false;
    const std::wstring wideName = Utf8ToWide(name);
    const std::wstring target = root + wideName;
    const std::string shownTarget = WideToUtf8(target);
    const std::string folder = WideToUtf8(replaceFileName(target, L""));
    if (wideName.empty() || folder.empty()) {  // the host would bring its files to the drive's root, or anywhere
        CLIP_LOG(kLogError, "A landing can't be told, its path can't be converted: %s", name.c_str());
        return false;
    }
    CLIP_LOG(kLogInfo, "Sparce file %s, temp file matched: %s:\\%s", sparseName.c_str(), WideToUtf8(root).c_str(),
             name.c_str());
    const std::string cacheDir = cacheDirectory();
    const bool bypass = liesInCache(target, Utf8ToWide(cacheDir));
    CLIP_LOG(kLogInfo, "Renamed from %s, cache dir %s, bypass %d", shownTarget.c_str(), cacheDir.c_str(),
             bypass ? 1 : 0);
    if (bypass) {
        // Decision: the root goes as wide text where narrow text is awaited, and so shows its first letter.
        CLIP_LOG(kLogInfo, "Bypass cache file: %s%s", reinterpret_cast<const char*>(root.c_str()), name.c_str());
        return false;
    }
    CLIP_LOG(kLogInfo, "Full post process mode enabled, handle copy file without renaming it %s", shownTarget.c_str());
    return lazyRenderFileCopy(folder, "", sparseName);
}

bool FileClipboardLazyRenderer::renameTargetFile(const std::wstring& source, std::string& newName)
{
    const std::string shownSource = WideToUtf8(source);
    CLIP_LOG(kLogInfo, "Rename from %s", shownSource.c_str());
    CLIP_LOG(kLogInfo, "Rename file to %s", newName.c_str());
    std::wstring target = replaceFileName(source, Utf8ToWide(newName));
    while (pathExists(target)) {
        CLIP_LOG(kLogInfo, "Rename file already exists %s, append extra suffix", WideToUtf8(target).c_str());
        newName = appendCopySuffix(newName);
        target = replaceFileName(source, Utf8ToWide(newName));
    }
    CLIP_LOG(kLogInfo, "Move %s to %s", shownSource.c_str(), WideToUtf8(target).c_str());
    const bool moved = moveWithRetries(source, target);
    CLIP_LOG(kLogInfo, "File renamed: %d", moved ? 1 : 0);
    if (moved) {
        SHChangeNotify(SHCNE_DELETE, SHCNF_PATHW, source.c_str(), nullptr);
        SHChangeNotify(SHCNE_CREATE, SHCNF_PATHW, target.c_str(), nullptr);
        SHChangeNotify(SHCNE_UPDATEDIR, SHCNF_PATHW, source.c_str(), nullptr);
        SHChangeNotify(SHCNE_UPDATEDIR, SHCNF_PATHW, target.c_str(), nullptr);
    }
    return moved;
}

// A path that can't be looked at counts as there.
bool FileClipboardLazyRenderer::pathExists(const std::wstring& path)
{
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES)
        return true;
    const DWORD error = GetLastError();
    return error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND;
}

}  // namespace sd::clip
