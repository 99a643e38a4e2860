// An application that pastes what is on the OLE clipboard, on the thread that it runs on, which must have joined OLE.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <wrl/client.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "seeded_random.h"

class StressPaster {
public:
    // @param userCancelled called when the application gives a stream up in the middle
    StressPaster(std::uint64_t seed, std::function<void()> userCancelled);

    // Asks the clipboard for something: formats, a descriptor, contents at good and bad places; reads a stream to its
    // end, a part of it or nothing, and releases it now, some pastes later, or not before letGo.
    void pasteSomehow();

    // Pastes all files. @return their bytes by name; fewer if something was refused
    static std::map<std::wstring, std::string> pasteAll();

    // Releases what is still held.
    void letGo();

    // How much came, for the test's report.
    std::uint64_t bytes() const
    {
        return mBytes;
    }
    int streams() const
    {
        return mStreams;
    }

private:
    void askForFormats(IDataObject& data);
    void pasteContents(IDataObject& data);
    void readSomehow(IStream& stream);
    void askStream(IStream& stream);
    void keepOrRelease(Microsoft::WRL::ComPtr<IStream> stream);

    SeededRandom mRandom;
    const std::function<void()> mUserCancelled;
    std::vector<Microsoft::WRL::ComPtr<IStream>> mLate;   // released some pastes later
    std::vector<Microsoft::WRL::ComPtr<IStream>> mNever;  // held until letGo
    std::uint64_t mBytes = 0;
    int mStreams = 0;
};
