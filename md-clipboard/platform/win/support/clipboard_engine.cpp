#include "support/clipboard_engine.h"

#include <atomic>

namespace sd::clip {

namespace {

class NoEngine final : public ClipboardEngine {
public:
    void notifyClipboardEvent(std::string /*operation*/, std::string /*stage*/, std::string /*dataType*/,
                              std::int64_t /*number*/, std::string /*message*/, std::string /*result*/,
                              std::string /*errorCode*/, std::string /*errorDetail*/) override
    {
    }
    std::string cacheDirectory() const override
    {
        return {};
    }
    void resetOleclipboardOf(const FileRequest& /*request*/) override {}
    void resetClipCObjectData(ClipDataObject* /*object*/) override {}
};

std::atomic<ClipboardEngine*>& currentEngine()
{
    static NoEngine noEngine;
    static std::atomic<ClipboardEngine*> engine{&noEngine};
    return engine;
}

}  // namespace

ClipboardEngine& ClipboardEngine::Current()
{
    return *currentEngine();
}

void ClipboardEngine::Register(ClipboardEngine& engine)
{
    currentEngine() = &engine;
}

}  // namespace sd::clip
