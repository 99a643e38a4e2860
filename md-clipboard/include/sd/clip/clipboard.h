/// @file
/// The two interfaces between the library and its host: Clipboard, which the host calls, and ClipboardListener,
/// which the host implements. Start here; the records that travel through them stand in clipboard_data.h.
///
/// The order that a host follows:
///  1. Clipboard::Get.
///  2. Clipboard::SetListener, before Init: the first report comes two seconds after Init, to whoever listens then.
///  3. Clipboard::SetFileClipboardSupported(true) if the guest takes files; until then files are refused both ways.
///  4. Clipboard::InitFileLazyRenderer with a cache directory, and SetSupportFileClipboardFullPostProcessMode.
///  5. Clipboard::Init, on a thread that goes on to pump messages and whose last error was cleared before.
///  6. On OnClipboardFormats: Clipboard::GetClipboardData for a listed format, and send it to the guest.
///  7. On data from the guest: Clipboard::SetClipboardData, on a thread that may block.
///  8. At the end: Clipboard::UnInit.
///
/// Strings are UTF-8. Failures are told by results and by log lines under the tag "clipboard";
/// nothing is thrown but std::bad_alloc where memory runs out, and what NotifyFileLazyRenderingComplete tells.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sd/clip/export.h"

namespace sd::clip {

/// What kind of data a record holds. These are the library's own numbers, not the platform's clipboard formats.
/// The value 0 stands for "no such format".
enum class ClipboardFormat : std::int32_t {
    Text = 1,      ///< text
    Image = 2,     ///< an image
    File = 6,      ///< a list of files
    FileLazy = 8,  ///< an argument of Clipboard::SetClipboardData only: paste through one placeholder file
    Richtext = 9,  ///< rich text
};

/// The root of all records. Records are held by std::shared_ptr.
/// Threads: a record has no lock; it must not change once it was handed over.
class MD_CLIPBOARD_API ClipboardData {
public:
    ClipboardData();
    ClipboardData(const ClipboardData& other);
    ClipboardData& operator=(const ClipboardData& other);
    virtual ~ClipboardData();

    /// @return the kind of data that this record holds
    virtual ClipboardFormat GetFormat() = 0;
};

/// What the host implements to hear of clipboard changes and of operations on files.
///
/// Threads: both operations are called from several threads, possibly at once: OnClipboardFormats and the events of
/// copy detection on the library's worker; events of Clipboard::SetClipboardData on its caller's thread; events of a
/// paste on the thread on which the platform serves the pasting application; events of arriving data on the thread
/// that delivers them. A listener that blocks holds up its caller, never the thread that pumps messages.
/// From either operation the host may call Clipboard::GetClipboardData, SetListener, the setters and
/// NotifyFileTransferFailed. From the events "cancelTransfer", "transferFinish" and "endClipboardFile" it must not
/// deliver file data. From these and from "clientPaste", "triggerClipboardFilePaste" and "transferFail" it must not
/// call SetClipboardData, which refuses the list there.
///
/// A listener must not throw: on the library's own threads an exception ends the process, on the platform's it fails
/// the paste, and on the host's it comes back to the caller; a transfer ends, or is cancelled, all the same.
class MD_CLIPBOARD_API ClipboardListener {
public:
    ClipboardListener();
    ClipboardListener(const ClipboardListener& other);
    ClipboardListener& operator=(const ClipboardListener& other);

    /// A clipboard change was detected. The library's own placeholder is none (see Clipboard::SetClipboardData).
    /// @param formats what the host may fetch with Clipboard::GetClipboardData; empty after every change that offers
    ///        nothing for the guest, such as a copied text
    virtual void OnClipboardFormats(const std::vector<ClipboardFormat>& formats) = 0;

    /// Something happened to a file operation; for counting and tracing.
    /// @param operation   the flow, such as "clipboardFileCopy"
    /// @param stage       the step in that flow; "condition" means a gate that stopped it; may be empty
    /// @param dataType    always "file"
    /// @param number      a count of files or a size in bytes, by event; -1 where there is none
    /// @param message     readable text
    /// @param result      "sucess" or "error"; hosts compare this word, so its spelling stays
    /// @param errorCode   decimal error code ("1501": not set on the clipboard in time; "1502": waiting for file data
    ///                    timed out), else empty
    /// @param errorDetail short cause, else empty
    virtual void OnClipboardEvent(std::string operation, std::string stage, std::string dataType, std::int64_t number,
                                  std::string message, std::string result, std::string errorCode,
                                  std::string errorDetail) = 0;

protected:
    // Listeners are owned through the shared_ptr that they were made with and are never deleted through this
    // interface. A virtual destructor would take a slot and change the table that hosts are built against.
    ~ClipboardListener();
};

/// The clipboard engine, one for each process.
///
/// Threads: every operation may be called from any thread, but for Init, whose thread must pump messages afterwards.
/// The engine lives until the process ends, and the library stays loaded once its first thread runs.
class MD_CLIPBOARD_API Clipboard {
public:
    Clipboard();
    Clipboard(const Clipboard& other);
    Clipboard& operator=(const Clipboard& other);

    /// @return the one engine, made at the first call; null if the system had no memory or thread for it, in which
    ///         case the next call tries again
    static std::shared_ptr<Clipboard> Get();

    /// Makes the hidden window on the calling thread and starts to listen for clipboard changes. What the clipboard
    /// already holds is reported two seconds later. Must be called on a thread that dispatches messages.
    /// A last error that is left behind on the thread fails it: call SetLastError(0) before.
    /// @return always false; failures are in the log only
    virtual bool Init() = 0;

    /// Stops listening. The window and the worker stay.
    /// @return always false
    virtual bool UnInit() = 0;

    /// Opens the system clipboard for the calling thread; for work of the host's own. Tries up to ten times, for
    /// about 50 milliseconds. Opening again while it is open does nothing and succeeds.
    /// @return whether the clipboard is open
    virtual bool Open() = 0;

    /// Closes the system clipboard. One Close undoes any number of Opens. To be called on the thread of the Open.
    /// @return always true
    virtual bool Close() = 0;

    /// Tells whether the guest takes file lists.
    /// @param supported true if it does; false, as until the first call, has files refused both ways
    virtual void SetFileClipboardSupported(bool supported) = 0;

    /// Installs the listener in the place of any earlier one; null removes it. A call into the earlier listener that
    /// already runs on another thread goes on and keeps it alive.
    /// @param listener the host's; kept until it is replaced
    /// @return the engine
    virtual std::shared_ptr<Clipboard> SetListener(std::shared_ptr<ClipboardListener> listener) = 0;

    /// Reads the clipboard. For files this walks the copied directories and can take long.
    /// @param format what to read; ClipboardFormat::File is what OnClipboardFormats reports
    /// @return the record, a ClipboardFileDataImpl for files (its list is empty when all files are gone); null when
    ///         the clipboard holds no such data, cannot be opened or files are not supported
    virtual std::shared_ptr<ClipboardData> GetClipboardData(ClipboardFormat format) = 0;

    /// @return always empty; in the interface for hosts that were built against it
    virtual std::vector<ClipboardFormat> GetAvailableFormats() = 0;

    /// @return always false; in the interface for hosts that were built against it
    virtual bool IsFormatAvailable(ClipboardFormat format) = 0;

    /// Puts a file list from the guest on the local clipboard. Blocks until that is done, for up to an hour. The list
    /// must not change afterwards.
    ///
    /// Streamed route: no byte moves until a local application pastes. Then the record's request function is called
    /// once, from a thread of the library's, and the host delivers all files through the sink that it is given; from
    /// inside the request function it must not wait for its deliveries. Reports "setComplete" or "setFail" of
    /// "setClipboard".
    ///
    /// Placeholder route: cleans the cache directory, and puts one empty file on the clipboard as a cut one. Wherever
    /// it lands, it is removed and the record's callback is called, on a thread of the library's and under its lock:
    /// it has to return at once, with 0 if the host goes on to bring the files, and must not wait for another thread
    /// that calls SetClipboardData. The target record tells the directory in `root`, without a separator at its end; a
    /// drive root comes as `D:`. A placeholder that lands again is told again. Reports no event.
    ///
    /// The placeholder is no copy of the user's: the first look at the clipboard after it is set counts as a look at
    /// the placeholder. What the user copies before that look is taken for the placeholder too and is not reported;
    /// the next copy is. The look comes after some milliseconds, later while OnClipboardFormats or the thread of Init
    /// is busy, and for a list that was set before Init up to two seconds after Init. A host that must miss nothing
    /// waits that long and then asks GetClipboardData, which reads the clipboard whoever wrote it.
    ///
    /// Not from inside a paste: the record's other functions and the events of a paste (see ClipboardListener) must not
    /// call it; it returns false there.
    /// @param format ClipboardFormat::FileLazy for the placeholder route; anything else for the streamed route
    /// @param data   the list and the host's functions. For the placeholder route a ClipboardFileDataExImpl with its
    ///               callback; another file record is taken too, and nothing hears of its landing.
    /// @return whether the list was taken; false while the guest takes no files, while a list is transferring
    ///         (streamed route), for a record of another kind (placeholder route), and for a list with a name that
    ///         leads out of the folder it is pasted into, with a name of 260 units of UTF-16 or more (streamed route)
    ///         or with sizes that add up to 2^63 bytes or more
    virtual bool SetClipboardData(ClipboardFormat format, std::shared_ptr<ClipboardData> data) = 0;

    /// Stores the cache directory, for both routes, and starts the placeholder route: at the first call one thread for
    /// each drive begins to watch for placeholders, until the process ends. A later call only changes the directory.
    /// The streamed route writes what arrives into files there and never removes them. The placeholder route deletes
    /// all files in it, not those in its folders, each time a list is set, also when it refuses the list late: the
    /// directory must be the host's own. It spares the files of a streamed list that some application may still read.
    /// @param cacheDirectory UTF-8, absolute, with a separator at its end: nothing is appended, and placeholders would
    ///        land beside it. With forward slashes its parent folders are made where they are missing.
    ///        The library knows the directory by its text, so it needs the spelling that the system reports: long names
    ///        in the letter case of the disk, no `\\?\`, no junction and no second drive letter. In another spelling
    ///        the making of a placeholder can count as its landing, which removes it. ASCII only, unless the program's
    ///        manifest makes UTF-8 the active code page: slices would lie in a directory of another name.
    /// @return whether the drives could be listed
    virtual bool InitFileLazyRenderer(std::string cacheDirectory) = 0;

    /// The host's report that a transfer failed. Ends the list's stream and takes the list off the clipboard, unless
    /// something newer was copied. Waits for a read that runs on another thread, which can be 30 seconds, and for up
    /// to a second for a program that has the clipboard open; after that the list stays there. Messages that other
    /// threads send are served meanwhile. May be called on any thread, whether it joined OLE or
    /// not, and from inside the host's own functions and events. The record's cancel function may run on a thread of
    /// the library's while this waits, so the host must hold no lock of its own across this call.
    /// @param fail 1 ends the running transfer; any other value is only logged
    virtual void NotifyFileTransferFailed(std::uint32_t fail) = 0;

    /// The host's report that it has brought the files of a paste by placeholder, or that it could not. To be called
    /// once for each list that was set: throws std::future_error for a second report.
    /// @param result the host's result, 0 for success
    virtual void NotifyFileLazyRenderingComplete(std::int32_t result) = 0;

    /// In full post-process mode a copied directory stays a single entry of the list; otherwise it is walked down to
    /// its files.
    /// @param supported whether lists are made in that mode; false at the start
    virtual void SetSupportFileClipboardFullPostProcessMode(bool supported) = 0;

protected:
    // The engine is never deleted. A virtual destructor would take a slot and change the table that hosts are built
    // against.
    ~Clipboard();
};

}  // namespace sd::clip
