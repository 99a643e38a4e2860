#include "support/owned_handle.h"

namespace sd::clip {

OwnedHandle::~OwnedHandle()
{
    if (IsValid())
        CloseHandle(mHandle);
}

bool OwnedHandle::Close()
{
    return CloseHandle(Release()) != FALSE;
}

}  // namespace sd::clip
