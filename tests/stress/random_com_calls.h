// A pasting application that calls anything at any time: all operations of the data object, of its enumerator and of
// its stream, with arguments of every kind, while data arrive and objects come and go.
#pragma once

#include <ole2.h>
#include <wrl/client.h>

#include <memory>
#include <string>
#include <vector>

#include "data_object/clip_data_object.h"
#include "data_object/file_request.h"
#include "seeded_random.h"

class RandomComCalls {
public:
    explicit RandomComCalls(std::uint64_t seed);
    ~RandomComCalls();
    RandomComCalls(const RandomComCalls&) = delete;
    RandomComCalls& operator=(const RandomComCalls&) = delete;

    void call(std::size_t count);

    // All objects die with their last references.
    void letAllGo();

private:
    struct Surroundings;  // what is replaced of the platform

    // One list with its data object, of which the test has the one reference.
    struct Offer {
        std::vector<sd::clip::ClipfileDescription> files;
        std::shared_ptr<sd::clip::FileRequest> request;
        Microsoft::WRL::ComPtr<IDataObject> data;
        sd::clip::FileDataRequestCallback sink;  // once the host was asked
    };

    void callOnce();
    void makeOffer();
    void dropOffer();
    void deliver();
    void deliverFile(const Offer& offer, const sd::clip::ClipfileDescription& file);
    void callTransfer(sd::clip::FileRequest& request);
    void callObject(IDataObject& data);
    void getData(IDataObject& data);
    void askForInterface(IUnknown& object);
    void askForInterfaceNowhere(IUnknown& object);
    void callEnumerator();
    void callStream();
    void callRareStreamOperation(IStream& stream);
    void read(IStream& stream);
    void dropStream();
    bool vetoes();
    FORMATETC anyFormat();
    IStream* anyStream()
    {
        return mStreams.empty() ? nullptr : mRandom.pick(mStreams).Get();
    }

    const std::unique_ptr<Surroundings> mSurroundings;
    SeededRandom mRandom;
    std::vector<std::unique_ptr<Offer>> mOffers;
    std::vector<sd::clip::FileDataRequestCallback> mOldSinks;  // of objects that are gone
    std::vector<Microsoft::WRL::ComPtr<IStream>> mStreams;
    Microsoft::WRL::ComPtr<IEnumFORMATETC> mFormats;
    std::string mBytes;
};
