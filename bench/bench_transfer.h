// A guest's list within this process: what a host delivers on its one side and a pasting application asks on the other.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <wrl/client.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "data_object/clip_data_object.h"
#include "sd/clip/clipboard_data.h"

// Descriptions of `count` files of `size` bytes, as a host makes them.
std::vector<sd::clip::ClipfileDescription> makeGuestFiles(std::size_t count, std::uint64_t size);

// A record of such a list whose functions do nothing.
std::shared_ptr<sd::clip::ClipboardFileDataImpl> makeGuestList(std::size_t count, std::uint64_t size);

// Reads as many bytes as the buffer holds, in one call. Throws std::runtime_error where fewer come.
void readWhole(IStream& stream, std::vector<unsigned char>& buffer);

// The library's data object for a list, without a clipboard.
// Throws std::runtime_error where the library refuses something, since figures of failures would look good.
class BenchTransfer {
public:
    // The slices go to the directory, which must stay; there is one for the process, so one transfer at a time.
    BenchTransfer(std::vector<sd::clip::ClipfileDescription> files, std::string cacheDirectory);
    ~BenchTransfer();
    BenchTransfer(const BenchTransfer&) = delete;
    BenchTransfer& operator=(const BenchTransfer&) = delete;

    // Has the library ask the host for the files and makes no stream yet: a silent reader would end the transfer.
    void request();

    // The next bytes of a file, after request or open.
    void deliver(std::size_t index, unsigned char* bytes, std::size_t size) const;

    // As an application asks for a file's contents.
    Microsoft::WRL::ComPtr<IStream> open(std::size_t index) const;

    // Asks for the list of names and sizes, and drops it.
    void renderDescriptor() const;

    // Throws unless the library has every byte of the list.
    void checkFinished() const;

    // Where a slice of a file lies.
    std::wstring slicePath(std::size_t index, std::int32_t slice) const;

private:
    void getData(CLIPFORMAT format, LONG index, DWORD kind, STGMEDIUM& medium) const;

    const CLIPFORMAT mDescriptorFormat;
    const CLIPFORMAT mContentsFormat;
    const std::string mCacheDirectory;
    std::vector<sd::clip::ClipfileDescription> mFiles;
    sd::clip::FileDataRequestCallback mSink;
    Microsoft::WRL::ComPtr<sd::clip::ClipDataObject> mObject;
};
