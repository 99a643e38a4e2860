// Records of every kind, honest and odd, for a data object that is given them directly: the checks of
// Clipboard::SetClipboardData do not stand before it. For one source file of a test program.
#pragma once

#include <windows.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "sd/clip/clipboard_data.h"
#include "seeded_random.h"

using FileList = std::vector<sd::clip::ClipfileDescription>;

// A list of another program's making, which knows nothing of the library's own.
class ForeignList : public sd::clip::ClipboardFileData {
public:
    sd::clip::ClipboardFormat GetFormat() override
    {
        return sd::clip::ClipboardFormat::File;
    }
    void SetFiles(FileList files) override
    {
        mFiles = std::move(files);
    }
    FileList& GetFiles() override
    {
        return mFiles;
    }
    bool SetFileFuncs(sd::clip::FileRequestFunc, sd::clip::FileCancelFunc) override
    {
        return false;
    }
    sd::clip::FileRequestFunc GetFileRequestFunc() override
    {
        return nullptr;
    }

private:
    FileList mFiles;
};

// A text that says it is files, and files that say they are a text.
class LyingText : public sd::clip::ClipboardTextDataImpl {
public:
    sd::clip::ClipboardFormat GetFormat() override
    {
        return sd::clip::ClipboardFormat::File;
    }
};
class LyingList : public sd::clip::ClipboardFileDataImpl {
public:
    sd::clip::ClipboardFormat GetFormat() override
    {
        return sd::clip::ClipboardFormat::Text;
    }
};

// Shorter than a descriptor's place for it; that nothing longer comes is for SetClipboardData to see to.
inline std::string makeOddName(SeededRandom& random)
{
    static const char* const kNames[] = {"a.txt",    "same", "", "..", "C:x", "\xC3\xA4\xF0\x9F\x98\x80",
                                         "\xFF\xFE", "a/b"};
    return random.oneIn(10) ? std::string(random.below(250), 'n') : random.pick(kNames);
}

inline std::uint64_t makeOddSize(SeededRandom& random)
{
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
    static constexpr std::uint64_t kSizes[] = {0, 1, 5, 100, 3000, kHalf - 1, kHalf, kHalf + 1, ~std::uint64_t{0}};
    return random.oneIn(200) ? 1200000 : random.pick(kSizes);
}

inline FileList makeOddList(SeededRandom& random)
{
    constexpr std::size_t kMany = 5000;
    FileList files(random.oneIn(300) ? kMany : random.below(5));
    for (sd::clip::ClipfileDescription& file : files) {
        file.fileName = makeOddName(random);
        file.relativePath = random.oneIn(3) ? "folder" : "";
        file.size = makeOddSize(random);
        file.attributes = static_cast<std::uint32_t>(random.oneIn(4) ? random.bits() : FILE_ATTRIBUTE_ARCHIVE);
        file.mode = static_cast<std::uint16_t>(random.oneIn(4) ? random.bits() : 0x8000);  // a directory's bit too
        file.writeTime = static_cast<std::int64_t>(random.bits());
    }
    return files;
}

// @param list filled into a record that takes one, with the functions
inline std::shared_ptr<sd::clip::ClipboardData> makeOddRecord(SeededRandom& random, const FileList& list,
                                                              sd::clip::FileRequestFunc request,
                                                              sd::clip::FileCancelFunc cancel,
                                                              sd::clip::OLEClipboardPasteFunc paste)
{
    std::shared_ptr<sd::clip::ClipboardFileData> files;
    switch (random.below(16)) {
        case 0:
            return nullptr;
        case 1:
            return std::make_shared<sd::clip::ClipboardTextDataImpl>();
        case 2:
            return std::make_shared<sd::clip::ClipboardImageDataImpl>();
        case 3:
            return sd::clip::ClipboardRichtextData::Create();
        case 4:
            return std::make_shared<LyingText>();
        case 5:
            files = std::make_shared<LyingList>();
            break;
        case 6:
            files = std::make_shared<ForeignList>();
            break;
        case 7:
            files = std::make_shared<sd::clip::ClipboardFileDataExImpl>();
            break;
        default:
            files = std::make_shared<sd::clip::ClipboardFileDataImpl>();
    }
    files->SetFiles(list);
    if (!random.oneIn(10))
        files->SetFileFuncs(std::move(request), random.oneIn(10) ? nullptr : std::move(cancel));
    if (random.oneIn(4))
        files->SetOLEClipboardPasteFunc(std::move(paste));
    return files;
}
