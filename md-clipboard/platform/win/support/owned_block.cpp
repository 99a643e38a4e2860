#include "support/owned_block.h"

namespace sd::clip {

OwnedBlock::~OwnedBlock()
{
    if (mBlock != nullptr)
        GlobalFree(mBlock);
}

void OwnedBlock::Free()
{
    GlobalFree(Release());
}

void OwnedBlock::GiveTo(STGMEDIUM& medium)
{
    medium.hGlobal = Release();
    medium.tymed = TYMED_HGLOBAL;
}

bool OwnedBlock::GiveToClipboard(UINT format)
{
    const bool taken = SetClipboardData(format, mBlock) != nullptr;
    if (taken)
        mBlock = nullptr;
    return taken;
}

}  // namespace sd::clip
