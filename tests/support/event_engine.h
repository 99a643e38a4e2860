// What stands in the engine's place in tests that have none: it hears the events.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "support/clipboard_engine.h"

struct EngineEvent {
    std::string operation;
    std::string stage;
    std::int64_t number;
    std::string message;
};

// The process's engine from when it is made; lives until the process ends.
class EventEngine final : public sd::clip::ClipboardEngine {
public:
    // @param hear is called with each event, on the thread that raises it
    explicit EventEngine(std::function<void(const EngineEvent&)> hear) : mHear(std::move(hear))
    {
        Register(*this);
    }

    void notifyClipboardEvent(std::string operation, std::string stage, std::string /*dataType*/, std::int64_t number,
                              std::string message, std::string /*result*/, std::string /*errorCode*/,
                              std::string /*errorDetail*/) override
    {
        mHear({std::move(operation), std::move(stage), number, std::move(message)});
    }
    std::string cacheDirectory() const override
    {
        return {};
    }
    void resetOleclipboardOf(const sd::clip::FileRequest& /*request*/) override {}
    void resetClipCObjectData(sd::clip::ClipDataObject* /*object*/) override {}

private:
    const std::function<void(const EngineEvent&)> mHear;
};
