/// @file
/// The records that travel between the library and its host: interfaces, and the classes behind them, which a host
/// may hold, copy and derive from.
///
/// All texts are UTF-8. Records are held by std::shared_ptr.
/// Threads: records have no locks. A record must not change once it was handed to Clipboard::SetClipboardData.
/// The orders of virtual operations and of members are part of the binary interface.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sd/clip/clipboard.h"
#include "sd/clip/export.h"

namespace sd::clip {

class ClipboardFileDataEx;

/// What became of a function that was passed to the thread that owns OLE.
enum class FuncExecStatus : std::int32_t {
    Executed = 1,   ///< it was run
    Discarded = 2,  ///< a later request took its place, and it was not run
};

/// One file or directory of a list.
/// For a local copy the library fills every field; for a list from the guest the host does.
struct MD_CLIPBOARD_API ClipfileDescription {
    std::string root;              ///< the directory that the copied item lies in, without a separator at its end
    std::string relativePath;      ///< path below root; empty for an item that lies directly in it
    std::string fileName;          ///< the name alone
    std::uint32_t attributes = 0;  ///< the platform's file attribute bits
    std::uint16_t mode = 0;        ///< the st_mode bits of the C runtime; bit 0x4000 marks a directory
    std::uint64_t size = 0;        ///< bytes
    std::int64_t createTime = 0;   ///< seconds since 1 January 1970 UTC
    std::int64_t accessTime = 0;   ///< seconds since 1 January 1970 UTC
    std::int64_t writeTime = 0;    ///< seconds since 1 January 1970 UTC

    ClipfileDescription();
    ClipfileDescription(const ClipfileDescription& other);
    ClipfileDescription(ClipfileDescription&& other) noexcept;
    ClipfileDescription& operator=(const ClipfileDescription& other);
    ClipfileDescription& operator=(ClipfileDescription&& other) noexcept;
    ~ClipfileDescription();
};

/// Takes the data of the guest's files as they arrive.
/// @param file which file of the list the data belong to
/// @param data the next bytes of that file
/// @param size count of bytes; 0 for a file that is empty
/// Threads: any one thread of the host, but never from inside the request function.
using FileDataRequestCallback =
    std::function<void(const ClipfileDescription& file, unsigned char* data, unsigned long long size)>;

/// Asks the host to deliver the files of a list; called once for a list.
/// @param file the file that was asked for first
/// @param sink through which the host then delivers all files of the list
/// @return any text; the library does not read it
/// Threads: the library's own on which the platform serves the pasting application. What it throws fails that paste.
using FileRequestFunc = std::function<std::string(const ClipfileDescription& file, FileDataRequestCallback sink)>;

/// Asks the host to stop the delivery.
/// @param file the file that is being read; before one is, the file that was asked for first
/// Threads: the one that serves the pasting application, one that delivers, or one that takes the list off the
/// clipboard. What it throws is logged.
using FileCancelFunc = std::function<void(const ClipfileDescription& file)>;

/// Asks the host whether a paste may begin.
/// @return false to veto it
/// Threads: as for FileRequestFunc, and so is what it throws.
using OLEClipboardPasteFunc = std::function<bool()>;

/// Tells the host that a placeholder landed.
/// @param data the record with its target record set
/// @return 0 for success
/// Threads: one of the library's for each drive, and under a lock; see Clipboard::SetClipboardData. What it throws is
/// logged.
using FileLazyRenderingCallback = std::function<int(std::shared_ptr<ClipboardFileDataEx> data)>;

/// A text.
class MD_CLIPBOARD_API ClipboardTextData : public ClipboardData {
public:
    ClipboardTextData();
    ClipboardTextData(const ClipboardTextData& other);
    ClipboardTextData& operator=(const ClipboardTextData& other);
    ~ClipboardTextData() override;

    ClipboardFormat GetFormat() override = 0;

    /// @param text UTF-8; replaces what was set before
    virtual void SetText(std::string text) = 0;

    /// @return a copy; empty until one was set
    virtual std::string GetText() = 0;
};

class MD_CLIPBOARD_API ClipboardTextDataImpl : public ClipboardTextData {
public:
    ClipboardTextDataImpl();
    ClipboardTextDataImpl(const ClipboardTextDataImpl& other);
    ClipboardTextDataImpl& operator=(const ClipboardTextDataImpl& other);
    ~ClipboardTextDataImpl() override;

    ClipboardFormat GetFormat() override;  ///< @return ClipboardFormat::Text
    void SetText(std::string text) override;
    std::string GetText() override;

private:
    friend class TestAccess;
    std::string mText;
};

/// An image: only the fact that there is one.
class MD_CLIPBOARD_API ClipboardImageData : public ClipboardData {
public:
    ClipboardImageData();
    ClipboardImageData(const ClipboardImageData& other);
    ClipboardImageData& operator=(const ClipboardImageData& other);
    ~ClipboardImageData() override;

    ClipboardFormat GetFormat() override = 0;

    /// @param image stays the caller's; no record keeps it
    virtual void SetImage(void* image) = 0;

    /// @return null
    virtual void* GetImage() = 0;
};

/// Holds nothing, by decision: pixels never cross the boundary.
class MD_CLIPBOARD_API ClipboardImageDataImpl : public ClipboardImageData {
public:
    ClipboardImageDataImpl();
    ClipboardImageDataImpl(const ClipboardImageDataImpl& other);
    ClipboardImageDataImpl& operator=(const ClipboardImageDataImpl& other);
    ~ClipboardImageDataImpl() override;

    ClipboardFormat GetFormat() override;  ///< @return ClipboardFormat::Image
    void SetImage(void* image) override;   ///< ignores its argument
    void* GetImage() override;             ///< @return always null
};

/// An element of a rich text: two words that the library copies and never interprets.
struct RichtextItem {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
};

/// A rich text.
class MD_CLIPBOARD_API ClipboardRichtextData : public ClipboardData {
public:
    ClipboardRichtextData();
    ClipboardRichtextData(const ClipboardRichtextData& other);
    ClipboardRichtextData& operator=(const ClipboardRichtextData& other);
    ~ClipboardRichtextData() override;

    /// @return a new, empty ClipboardRichtextDataImpl
    static std::shared_ptr<ClipboardRichtextData> Create();

    ClipboardFormat GetFormat() override = 0;

    /// @param items replace what was set before
    virtual void SetItems(std::vector<RichtextItem> items) = 0;

    /// @return a copy; empty until some were set
    virtual std::vector<RichtextItem> GetItems() = 0;
};

class MD_CLIPBOARD_API ClipboardRichtextDataImpl : public ClipboardRichtextData {
public:
    ClipboardRichtextDataImpl();
    ClipboardRichtextDataImpl(const ClipboardRichtextDataImpl& other);
    ClipboardRichtextDataImpl& operator=(const ClipboardRichtextDataImpl& other);
    ~ClipboardRichtextDataImpl() override;

    ClipboardFormat GetFormat() override;  ///< @return ClipboardFormat::Richtext
    void SetItems(std::vector<RichtextItem> items) override;
    std::vector<RichtextItem> GetItems() override;

private:
    friend class TestAccess;
    std::vector<RichtextItem> mItems;
};

/// A list of files, with the host's functions for fetching their contents.
class MD_CLIPBOARD_API ClipboardFileData : public ClipboardData {
public:
    ClipboardFileData();
    ClipboardFileData(const ClipboardFileData& other);
    ClipboardFileData& operator=(const ClipboardFileData& other);
    ~ClipboardFileData() override;

    /// @return a new, empty ClipboardFileDataImpl
    static std::shared_ptr<ClipboardFileData> Create();

    ClipboardFormat GetFormat() override = 0;

    /// Appends to the list; it does not replace what the list held.
    /// @param files what is appended, in its order
    virtual void SetFiles(std::vector<ClipfileDescription> files) = 0;

    /// @return the list itself, not a copy; valid while the record lives
    virtual std::vector<ClipfileDescription>& GetFiles() = 0;

    /// @param request called when a local application pastes; may be empty, and then nothing can be pasted
    /// @param cancel  called when a running delivery is to stop; may be empty
    /// @return true
    virtual bool SetFileFuncs(FileRequestFunc request, FileCancelFunc cancel) = 0;

    /// Drops the function at this level; ClipboardFileDataImpl keeps it.
    /// @param paste asked before a paste begins; may be empty, which is consent
    virtual void SetOLEClipboardPasteFunc(OLEClipboardPasteFunc paste);

    /// @return a copy of the request function
    virtual FileRequestFunc GetFileRequestFunc() = 0;
};

/// A list of files that can tell where a placeholder landed.
class MD_CLIPBOARD_API ClipboardFileDataEx : public ClipboardFileData {
public:
    ClipboardFileDataEx();
    ClipboardFileDataEx(const ClipboardFileDataEx& other);
    ClipboardFileDataEx& operator=(const ClipboardFileDataEx& other);
    ~ClipboardFileDataEx() override;

    /// @return a new, empty ClipboardFileDataExImpl
    static std::shared_ptr<ClipboardFileDataEx> Create();

    /// For the library, which tells with it where a placeholder landed.
    /// @param target a record with one entry, whose root is the directory
    virtual void SetTargetClipboardData(std::shared_ptr<ClipboardFileData> target) = 0;

    /// @return the record of the last landing; null before the first
    virtual std::shared_ptr<ClipboardFileData> GetTargetClipboardData() = 0;

    /// @param callback called for each landing
    virtual void SetFileLazyRenderingCallback(FileLazyRenderingCallback callback) = 0;
};

/// The record of a local copy, and of a list for the streamed route. It has no target.
class MD_CLIPBOARD_API ClipboardFileDataImpl : public ClipboardFileDataEx {
public:
    ClipboardFileDataImpl();
    ClipboardFileDataImpl(const ClipboardFileDataImpl& other);
    ClipboardFileDataImpl& operator=(const ClipboardFileDataImpl& other);
    ~ClipboardFileDataImpl() override;

    ClipboardFormat GetFormat() override;  ///< @return ClipboardFormat::File
    void SetFiles(std::vector<ClipfileDescription> files) override;
    std::vector<ClipfileDescription>& GetFiles() override;
    bool SetFileFuncs(FileRequestFunc request, FileCancelFunc cancel) override;
    void SetOLEClipboardPasteFunc(OLEClipboardPasteFunc paste) override;
    FileRequestFunc GetFileRequestFunc() override;
    void SetTargetClipboardData(std::shared_ptr<ClipboardFileData> target) override;  ///< drops its argument
    std::shared_ptr<ClipboardFileData> GetTargetClipboardData() override;             ///< @return always null
    void SetFileLazyRenderingCallback(FileLazyRenderingCallback callback) override;   ///< drops its argument
    virtual FileCancelFunc GetFileCancelFunc();                                       ///< @return a copy

    OLEClipboardPasteFunc GetOLEClipboardPasteFunc() const;  ///< @return a copy
    std::uint64_t GetTransferredSize() const;                ///< @return bytes of the whole list received so far
    void SetTransferredSize(std::uint64_t size);             ///< @param size bytes

private:
    friend class TestAccess;
    std::vector<ClipfileDescription> mFiles;
    FileRequestFunc mFileRequestFunc;
    FileCancelFunc mFileCancelFunc;
    OLEClipboardPasteFunc mOLEClipboardPasteFunc;
    std::uint64_t mTransferredSize = 0;  // one delivery after the other changes it, and reads it
};

/// The record of a list for the placeholder route.
/// Threads: it may be copied, and assigned to another record, while the library replaces its target. Nothing may be
/// assigned to a record that is set as a list.
class MD_CLIPBOARD_API ClipboardFileDataExImpl : public ClipboardFileDataImpl {
public:
    ClipboardFileDataExImpl();
    ClipboardFileDataExImpl(const ClipboardFileDataExImpl& other);
    ClipboardFileDataExImpl& operator=(const ClipboardFileDataExImpl& other);
    ~ClipboardFileDataExImpl() override;

    void SetTargetClipboardData(std::shared_ptr<ClipboardFileData> target) override;
    std::shared_ptr<ClipboardFileData> GetTargetClipboardData() override;
    void SetFileLazyRenderingCallback(FileLazyRenderingCallback callback) override;
    FileLazyRenderingCallback GetFileLazyRenderingCallback() const;  ///< @return a copy

private:
    friend class TestAccess;
    std::shared_ptr<ClipboardFileData> mTargetData;  // replaced, read and copied as an atomic whole
    FileLazyRenderingCallback mFileLazyRenderingCallback;
};

}  // namespace sd::clip
