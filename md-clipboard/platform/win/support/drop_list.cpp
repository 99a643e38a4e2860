#include "support/drop_list.h"

#include <cstddef>

namespace sd::clip {

namespace {

constexpr UINT kAllFiles = 0xFFFFFFFF;  // asks for the count

}  // namespace

UINT DropList::CountFiles() const
{
    return DragQueryFileW(mDrop, kAllFiles, nullptr, 0);
}

std::wstring DropList::ReadPath(UINT index) const
{
    // Without a buffer the answer is the length, whatever the size is said to be.
    const UINT length = DragQueryFileW(mDrop, index, nullptr, MAX_PATH);
    std::wstring path(static_cast<std::size_t>(length) + 1, L'\0');
    if (DragQueryFileW(mDrop, index, path.data(), length + 1) == 0)
        path.clear();
    return path;
}

}  // namespace sd::clip
