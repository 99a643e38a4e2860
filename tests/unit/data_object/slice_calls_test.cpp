// What a delivery and a read cost: the calls to the runtime's files behind them.
#include <gtest/gtest.h>
#include <io.h>

#include <string>

#include "sample_transfer.h"
#include "support/import_hook.h"

namespace {

int gReads = 0;
int gWrites = 0;
int gSeeks = 0;
decltype(&_read) gRealRead = nullptr;
decltype(&_write) gRealWrite = nullptr;
decltype(&_lseeki64) gRealSeek = nullptr;

int __cdecl countRead(int file, void* bytes, unsigned int size)
{
    ++gReads;
    return gRealRead(file, bytes, size);
}

int __cdecl countWrite(int file, const void* bytes, unsigned int size)
{
    ++gWrites;
    return gRealWrite(file, bytes, size);
}

__int64 __cdecl countSeek(int file, __int64 offset, int origin)
{
    ++gSeeks;
    return gRealSeek(file, offset, origin);
}

class SliceCalls : public testing::Test {
protected:
    SliceCalls()
    {
        gRealRead = mRead.real();
        gRealWrite = mWrite.real();
        gRealSeek = mSeek.real();
        gReads = gWrites = gSeeks = 0;
    }

private:
    const ImportHook<decltype(&_read)> mRead{nullptr, "_read", &countRead};
    const ImportHook<decltype(&_write)> mWrite{nullptr, "_write", &countWrite};
    const ImportHook<decltype(&_lseeki64)> mSeek{nullptr, "_lseeki64", &countSeek};
};

// Two slices of a mebibyte.
struct TwoSlices : SampleTransfer {
    TwoSlices() : SampleTransfer(2 * kMebibyte)
    {
        deliver(makeBytes(kMebibyte));
        deliver(makeBytes(kMebibyte));
        gReads = gSeeks = 0;
    }
};

}  // namespace

TEST_F(SliceCalls, ADeliveryWritesOnceAndAsksForNoPosition)
{
    SampleTransfer transfer(1000000);
    const std::string bytes = makeBytes(4096);
    transfer.deliver(bytes);
    gWrites = gSeeks = 0;
    for (int i = 0; i < 10; ++i)
        transfer.deliver(bytes);
    EXPECT_EQ(gWrites, 10);
    EXPECT_EQ(gSeeks, 0);
}

TEST_F(SliceCalls, ALargeReadReadsOnce)
{
    TwoSlices transfer;
    for (int i = 0; i < 15; ++i)
        transfer.read(65536);
    EXPECT_EQ(gReads, 15);
    EXPECT_EQ(gSeeks, 0);
}

TEST_F(SliceCalls, SmallReadsShareOne)
{
    TwoSlices transfer;
    for (int i = 0; i < 16; ++i)
        transfer.read(4096);
    EXPECT_EQ(gReads, 2);
    EXPECT_EQ(gSeeks, 0);
}

TEST_F(SliceCalls, TheEndOfASliceIsAskedForOnce)
{
    TwoSlices transfer;
    for (int i = 0; i < 16; ++i)
        transfer.read(65536);
    EXPECT_EQ(gReads, 17);
}
