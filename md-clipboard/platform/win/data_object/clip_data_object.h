// The data object that stands on the OLE clipboard for a guest's file list. Only its name is known yet.
#pragma once

namespace sd::clip {

class ClipDataObject;

}  // namespace sd::clip
