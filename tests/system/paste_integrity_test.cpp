// Every byte of a guest's files arrives in another program, whatever the sizes of files, deliveries and reads.
#include "guest_paste.h"
#include "sha256.h"

namespace {

class PasteIntegrity : public PasteTest {
protected:
    // Offers the files, pastes them and compares.
    void expectWhole(const std::vector<GuestFile>& files, std::size_t piece, std::uint32_t chunk)
    {
        SCOPED_TRACE("deliveries of " + std::to_string(piece) + ", reads of " + std::to_string(chunk));
        const std::wstring target = L"target" + std::to_wstring(++mPastes);
        mHost.listener().clear();
        const auto list = offerNew(files, {piece});
        EXPECT_EQ(paste(target, {L"--chunk", std::to_wstring(chunk)}), kPasteWritten) << mOutput;
        expectPasted(*list, target);
        EXPECT_TRUE(list->waitForDelivery());
        EXPECT_EQ(countEvents("transferFinish"), files.size());
        EXPECT_EQ(countEvents("endClipboardFile"), 1U);
        EXPECT_EQ(list->requests(), 1);
        EXPECT_EQ(list->cancels(), 0);
    }

private:
    int mPastes = 0;
};

// Sizes about one and three slices.
std::vector<GuestFile> makeFilesAboutASlice()
{
    return {
        {"", "empty", ""},
        {"", "one", makeBytes(1)},
        {"folder", "just under.bin", makeBytes(1048575)},
        {"folder", "slice.bin", makeBytes(1048576)},
        {"folder\\deeper", "just over.bin", makeBytes(1048577)},
        {"", "three.bin", makeBytes(3145728)},
    };
}

}  // namespace

TEST(Sha256, IsThatOfThePublishedExamples)
{
    EXPECT_EQ(sha256Of(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(sha256Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(sha256Of(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, OfAFileIsThatOfItsBytes)
{
    const TemporaryFolder folder;
    const std::string bytes = makeBytes(200000);
    EXPECT_EQ(sha256OfFile(folder.addFile(L"a.bin", bytes)), sha256Of(bytes));
    EXPECT_EQ(sha256OfFile(folder.path() + L"\\missing"), "");
}

TEST_F(PasteIntegrity, DeliveriesOfAThousandBytes)
{
    expectWhole(makeFilesAboutASlice(), 1000, 4096);
    expectWhole(makeFilesAboutASlice(), 1000, 8388608);
}

TEST_F(PasteIntegrity, DeliveriesThatFillASliceInSixteen)
{
    expectWhole(makeFilesAboutASlice(), 65536, 700000);
    expectWhole(makeFilesAboutASlice(), 65536, 1048576);
}

TEST_F(PasteIntegrity, DeliveriesOfOneSlice)
{
    expectWhole(makeFilesAboutASlice(), 1048576, 4096);
    expectWhole(makeFilesAboutASlice(), 1048576, 1048576);
}

TEST_F(PasteIntegrity, DeliveriesOfWholeFiles)
{
    expectWhole(makeFilesAboutASlice(), 5000000, 700000);
    expectWhole(makeFilesAboutASlice(), 5000000, 8388608);
}

TEST_F(PasteIntegrity, SingleBytes)
{
    const std::vector<GuestFile> small = {{"", "empty", ""}, {"", "small.bin", makeBytes(600)}};
    expectWhole(small, 1, 1);
    expectWhole(small, 1, 65536);
    expectWhole(small, 65536, 1);
}

TEST_F(PasteIntegrity, AFileOfAHundredMillionBytes)
{
    const std::vector<GuestFile> large = {{"", "large.bin", makeBytes(100000000)}};
    expectWhole(large, 65536, 1048576);
    expectWhole(large, 5000000, 700000);
}
