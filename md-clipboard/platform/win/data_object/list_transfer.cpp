#include "data_object/list_transfer.h"

namespace sd::clip {

void ListTransfer::CloseSlicesIfEnded()
{
    if (!mState.DropsDeliveries() || !mDataLock.try_lock())
        return;
    mFiles.AbandonSlices();
    mDataLock.unlock();
}

}  // namespace sd::clip
