#include "file_clipboard_lazy_renderer/landing.h"

#include "base/log.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_utilities/encoding.h"

namespace sd::clip {

namespace {

// A name that can't be converted now is looked for as it is, and not as nothing, which every path contains.
std::string makeShownName(const std::string& name)
{
    const std::string shown = WideToUtf8(Utf8ToWide(name));
    return shown.empty() ? name : shown;
}

}  // namespace

std::optional<Landing> Landing::Find(const std::wstring& root, const std::string& name, const std::string& sparseName)
{
    Landing landing;
    landing.mSparseName = makeShownName(sparseName);
    if (name.find(landing.mSparseName) == std::string::npos)
        return std::nullopt;
    const std::wstring wideName = Utf8ToWide(name);
    landing.mRoot = root;
    landing.mName = name;
    landing.mTarget = root + wideName;
    landing.mShownTarget = WideToUtf8(landing.mTarget);
    landing.mFolder = WideToUtf8(replaceFileName(landing.mTarget, L""));
    // The host would bring its files to the drive's root, or anywhere.
    if (wideName.empty() || landing.mFolder.empty()) {
        CLIP_LOG(kLogError, "A landing can't be told, its path can't be converted: %s", name.c_str());
        return std::nullopt;
    }
    CLIP_LOG(kLogInfo, "Sparce file %s, temp file matched: %s:\\%s", landing.mSparseName.c_str(),
             WideToUtf8(root).c_str(), name.c_str());
    return landing;
}

bool Landing::LiesInCache(const std::string& cacheDir) const
{
    const bool bypass = liesInCache(mTarget, Utf8ToWide(cacheDir));
    CLIP_LOG(kLogInfo, "Renamed from %s, cache dir %s, bypass %d", mShownTarget.c_str(), cacheDir.c_str(),
             bypass ? 1 : 0);
    if (bypass) {
        // Decision: the root goes as wide text where narrow text is awaited, and so shows its first letter.
        CLIP_LOG(kLogInfo, "Bypass cache file: %s%s", reinterpret_cast<const char*>(mRoot.c_str()), mName.c_str());
        return true;
    }
    CLIP_LOG(kLogInfo, "Full post process mode enabled, handle copy file without renaming it %s", mShownTarget.c_str());
    return false;
}

}  // namespace sd::clip
