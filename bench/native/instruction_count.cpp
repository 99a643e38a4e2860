// Runs the portable part of the library's work for deliveries or for Reads.
//   instruction_count [deliver|read BYTES]
// BYTES are those of each delivery or Read, a power of two up to 1048576. Without arguments it does both, and
// compares what is read with what was delivered. Slices lie in the current folder meanwhile.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "counted_calls.h"
#include "data_object/transfer_data_sink.h"
#include "file_stream/read_heartbeat.h"
#include "lumora_log.h"
#include "portable_engine.h"
#include "portable_stream.h"

using namespace sd::clip;

// Nothing is counted but the library: its log goes nowhere.
extern "C" void lumoraLogPrint(int /*module*/, int /*level*/, const char* /*tag*/, const char* /*format*/, ...) {}

namespace {

constexpr std::size_t kSliceSize = 1048576;
constexpr std::size_t kCountedSlices = 16;

// The same relative name for everybody: a slice's path costs instructions for each letter.
class SliceFolder {
public:
    SliceFolder()
    {
        std::filesystem::create_directories(directory());
    }
    ~SliceFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(directory(), ignored);
    }
    SliceFolder(const SliceFolder&) = delete;
    SliceFolder& operator=(const SliceFolder&) = delete;

    static std::string directory()
    {
        return "instruction_count_slices/";
    }
};

std::shared_ptr<DetailFileDescription> makeFile()
{
    auto file = std::make_shared<DetailFileDescription>();
    file->relativePath = "folder";
    file->fileName = "document-1.txt";
    file->size = (kCountedSlices + 2) * kSliceSize;  // more than comes: what the file's end costs is not looked at
    return file;
}

std::vector<unsigned char> makeSlice()
{
    std::vector<unsigned char> bytes(kSliceSize);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i * 2654435761U >> 16);
    return bytes;
}

// One file on its way.
class Paste {
public:
    void deliverSlice(std::size_t piece)
    {
        for (std::size_t begin = 0; begin < kSliceSize; begin += piece) {
            gReadState = ReadState::kInRead;  // so nothing is stalled, however slow the counting is
            countedDelivery(mSink, *mFile, mBytes.data() + begin, piece);
        }
    }

    void readSlice(std::size_t piece)
    {
        const auto length = static_cast<std::uint32_t>(piece);
        for (std::size_t begin = 0; begin < kSliceSize; begin += piece) {
            const std::uint32_t copied = countedRead(*mStream, mBuffer.data(), length);
            if (copied != length || !std::equal(mBuffer.data(), mBuffer.data() + length, mBytes.data() + begin))
                throw std::runtime_error("what is read is not what was delivered");
        }
    }

private:
    // As one that an application reads.
    std::shared_ptr<ListTransfer> makeTransfer() const
    {
        const auto record = std::make_shared<ClipboardFileDataImpl>();
        record->SetFiles({*mFile});
        auto transfer = std::make_shared<ListTransfer>();
        transfer->mState.SetRecord(record);
        transfer->mState.BeginRequest(*mFile);
        transfer->mState.NoteStream();
        return transfer;
    }

    const SliceFolder mFolder;
    const std::shared_ptr<DetailFileDescription> mFile = makeFile();
    const std::shared_ptr<ListTransfer> mTransfer = makeTransfer();
    const FileDataRequestCallback mSink = TransferDataSink::Make(mTransfer, [] {});
    const std::unique_ptr<PortableStream> mStream = std::make_unique<PortableStream>(mFile, mTransfer);
    std::vector<unsigned char> mBytes = makeSlice();
    std::vector<unsigned char> mBuffer = std::vector<unsigned char>(kSliceSize);
};

// The first slice is not counted: it makes the record, and whatever else only a first call does.
void deliver(std::size_t piece)
{
    Paste paste;
    paste.deliverSlice(piece);
    startCounting();
    for (std::size_t i = 0; i < kCountedSlices; ++i)
        paste.deliverSlice(piece);
}

void read(std::size_t piece)
{
    Paste paste;
    for (std::size_t i = 0; i <= kCountedSlices; ++i)
        paste.deliverSlice(kSliceSize);
    paste.readSlice(piece);
    startCounting();
    for (std::size_t i = 0; i < kCountedSlices; ++i)
        paste.readSlice(piece);
}

void tryBoth()
{
    Paste paste;
    for (const std::size_t piece : {4096, 65536}) {
        paste.deliverSlice(piece);
        paste.readSlice(piece);
    }
}

// @return bytes; 0 for what is no size of a piece
std::size_t parsePiece(const std::string& text)
{
    for (std::size_t piece = 1; piece <= kSliceSize; piece *= 2) {
        if (text == std::to_string(piece))
            return piece;
    }
    return 0;
}

int run(const std::vector<std::string>& arguments)
{
    if (arguments.empty()) {
        tryBoth();
        return 0;
    }
    const std::size_t piece = arguments.size() == 2 ? parsePiece(arguments[1]) : 0;
    if (piece == 0 || (arguments[0] != "deliver" && arguments[0] != "read")) {
        std::fprintf(stderr, "instruction_count [deliver|read BYTES]\n");
        return 2;
    }
    if (arguments[0] == "deliver")
        deliver(piece);
    else
        read(piece);
    return 0;
}

}  // namespace

int main(int count, char** arguments)
{
    try {
        PortableEngine engine(SliceFolder::directory());
        ClipboardEngine::Register(engine);
        return run({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "instruction_count: %s\n", error.what());
        return 1;
    }
}
