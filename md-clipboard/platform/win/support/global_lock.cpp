#include "support/global_lock.h"

#include <cstddef>

namespace sd::clip {

GlobalLockScope::GlobalLockScope(HGLOBAL handle) : mHandle(handle), mData(GlobalLock(handle)) {}

GlobalLockScope::~GlobalLockScope()
{
    if (mData != nullptr)
        Unlock();
}

void GlobalLockScope::Unlock()
{
    mData = nullptr;
    GlobalUnlock(mHandle);
}

std::wstring GlobalLockScope::textUpToTerminator() const
{
    const auto* text = static_cast<const wchar_t*>(mData);
    const std::size_t most = GlobalSize(mHandle) / sizeof(wchar_t);
    std::size_t length = 0;
    while (length < most && text[length] != L'\0')
        ++length;
    return std::wstring(text, length);
}

}  // namespace sd::clip
