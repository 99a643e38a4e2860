#include "clipboard_win/pending_object.h"

#include "data_object/clip_data_object.h"

namespace sd::clip {

PendingObject::~PendingObject()
{
    if (ClipDataObject* const left = take())
        left->Release();
}

}  // namespace sd::clip
