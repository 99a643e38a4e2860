// What stands in the engine's place: it knows where slices lie, and nobody hears its events.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "support/clipboard_engine.h"

// Threads: any.
class PortableEngine final : public sd::clip::ClipboardEngine {
public:
    // @param cacheDirectory with a separator at its end
    explicit PortableEngine(std::string cacheDirectory) : mCacheDirectory(std::move(cacheDirectory)) {}

    void notifyClipboardEvent(std::string /*operation*/, std::string /*stage*/, std::string /*dataType*/,
                              std::int64_t /*number*/, std::string /*message*/, std::string /*result*/,
                              std::string /*errorCode*/, std::string /*errorDetail*/) override
    {
    }
    std::string cacheDirectory() const override
    {
        return mCacheDirectory;
    }
    void resetOleclipboardOf(const sd::clip::FileRequest& /*request*/) override {}
    void resetClipCObjectData(sd::clip::ClipDataObject* /*object*/) override {}

private:
    const std::string mCacheDirectory;
};
