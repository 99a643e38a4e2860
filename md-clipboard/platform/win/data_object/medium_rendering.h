// What a data object puts into a STGMEDIUM. Who asked for the data releases the medium, with ReleaseStgMedium.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <cstdint>
#include <vector>

#include "sd/clip/clipboard_data.h"
#include "support/owned_block.h"

namespace sd::clip {

// The FILEGROUPDESCRIPTORW of a list: one entry for each description, in their order. Every entry carries the present
// time: the guest's times are not shown.
// @return S_OK; DV_E_FORMATETC if the block can't be had or would not fit 32 bits
// A relative name of 260 units or more ends the process: no entry is truncated or left out.
HRESULT RenderFileGroupDescriptor(const std::vector<ClipfileDescription>& files, STGMEDIUM& medium);

// The block of a descriptor with so many entries, zeroed. Apart from the rendering, so that it can be asked for a list
// that is too long for any memory.
// @return none, with a line in the log, if the block can't be had or would not fit 32 bits
OwnedBlock AllocateDescriptorBlock(std::uint64_t entryCount);

// The 32-bit value 1. @return S_OK or E_OUTOFMEMORY
HRESULT RenderAsyncFlag(STGMEDIUM& medium);

}  // namespace sd::clip
