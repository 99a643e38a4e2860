// A guest's list as a host hands it over: a record whose functions keep what the library asks of them, the listener of
// the process's engine, and a cache directory.
#pragma once

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "clipboard_win/clipboard_impl.h"
#include "data_object/clip_data_object.h"
#include "sd/clip/clipboard_data.h"
#include "support/recording_listener.h"
#include "support/temporary_folder.h"
#include "support/watched_drives.h"

class GuestList {
public:
    explicit GuestList(const std::vector<std::uint64_t>& sizes)
        : record(std::make_shared<sd::clip::ClipboardFileDataImpl>()), listener(std::make_shared<RecordingListener>())
    {
        for (std::size_t i = 0; i < sizes.size(); ++i)
            files.push_back(makeFile("file" + std::to_string(i), sizes[i]));
        record->SetFiles(files);
        record->SetFileFuncs(
            [this](const sd::clip::ClipfileDescription& file, sd::clip::FileDataRequestCallback given) {
                requested.push_back(file.fileName);
                sink = std::move(given);
                return std::string("unread");
            },
            [this](const sd::clip::ClipfileDescription& file) { cancelled.push_back(file.fileName); });
        const auto engine = sd::clip::ClipboardImpl::instance();
        engine->SetListener(listener);
        engine->SetFileClipboardSupported(true);
        std::string cache = folder.utf8Path() + "/cache/";
        std::replace(cache.begin(), cache.end(), '\\', '/');
        initLazyRenderer(*engine, cache);
    }
    ~GuestList()
    {
        sd::clip::ClipboardImpl::instance()->SetListener(nullptr);
    }
    GuestList(const GuestList&) = delete;
    GuestList& operator=(const GuestList&) = delete;

    static sd::clip::ClipfileDescription makeFile(const std::string& name, std::uint64_t size)
    {
        sd::clip::ClipfileDescription file;
        file.fileName = name;
        file.size = size;
        file.attributes = 0x20;
        return file;
    }

    // As the host's delivery thread.
    void deliver(std::size_t index, const std::string& bytes) const
    {
        std::string copy = bytes;
        sink(files[index], reinterpret_cast<unsigned char*>(copy.data()), copy.size());
    }

    // Messages of the events of one operation.
    std::vector<std::string> eventsOf(const std::string& operation) const
    {
        std::vector<std::string> messages;
        for (const RecordedEvent& event : listener->events()) {
            if (event.operation == operation)
                messages.push_back(event.message);
        }
        return messages;
    }

    TemporaryFolder folder;
    std::shared_ptr<sd::clip::ClipboardFileDataImpl> record;
    std::shared_ptr<RecordingListener> listener;
    std::vector<sd::clip::ClipfileDescription> files;
    sd::clip::FileDataRequestCallback sink;
    std::vector<std::string> requested;
    std::vector<std::string> cancelled;
};
