#include "file_stream/medium_base.h"

namespace sd::clip {

MediumBase::~MediumBase()
{
    if (mDestroyFunc)
        mDestroyFunc();
}

void MediumBase::Cancel()
{
    const LockScope lock(mMutex);
    mCancelled = true;
}

}  // namespace sd::clip
