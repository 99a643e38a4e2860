#include "support/owned_handle.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/import_hook.h"
#include "support/platform_function.h"

using sd::clip::OwnedHandle;

namespace {

const auto kHandle = reinterpret_cast<HANDLE>(0x7FFFFFF4);  // no handle of this process
const auto gRealClose = findInKernel32<decltype(&CloseHandle)>("CloseHandle");
const std::vector<HANDLE> kNothing;

std::vector<HANDLE> gClosed;

// Closings of what is no handle of this process are noted and fail.
class OwnedHandleTest : public testing::Test {
protected:
    OwnedHandleTest()
    {
        gClosed.clear();
    }

private:
    const ImportHook<decltype(&CloseHandle)> mClose{
        nullptr, "CloseHandle", +[](HANDLE handle) -> BOOL {
            if (handle != nullptr && handle != INVALID_HANDLE_VALUE && handle != kHandle)
                return gRealClose(handle);  // somebody else's
            gClosed.push_back(handle);
            SetLastError(77);
            return FALSE;
        }};
};

}  // namespace

TEST_F(OwnedHandleTest, ClosesItsHandleOnceAtItsEnd)
{
    {
        const OwnedHandle handle(kHandle);
        EXPECT_TRUE(handle.IsValid());
        EXPECT_EQ(handle.Get(), kHandle);
        EXPECT_EQ(gClosed, kNothing);
    }
    EXPECT_EQ(gClosed, std::vector<HANDLE>{kHandle});
}

TEST_F(OwnedHandleTest, WhatACallFailsWithIsNoHandleAndNotClosed)
{
    for (const HANDLE none : {HANDLE{nullptr}, INVALID_HANDLE_VALUE}) {
        const OwnedHandle handle(none);
        EXPECT_FALSE(handle.IsValid());
        EXPECT_EQ(handle.Get(), none);
    }
    EXPECT_EQ(gClosed, kNothing);
}

TEST_F(OwnedHandleTest, CloseTellsThePlatformsAnswerAndClosesOnce)
{
    {
        OwnedHandle handle(kHandle);
        EXPECT_FALSE(handle.Close());
        EXPECT_EQ(GetLastError(), 77u);
        EXPECT_FALSE(handle.IsValid());
    }
    EXPECT_EQ(gClosed, std::vector<HANDLE>{kHandle});
    OwnedHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    EXPECT_TRUE(event.Close());
}

TEST_F(OwnedHandleTest, CloseWithoutAHandleAsksThePlatform)
{
    EXPECT_FALSE(OwnedHandle(INVALID_HANDLE_VALUE).Close());
    EXPECT_EQ(gClosed, std::vector<HANDLE>{INVALID_HANDLE_VALUE});
}

TEST_F(OwnedHandleTest, AReleasedHandleIsTheCallers)
{
    EXPECT_EQ(OwnedHandle(kHandle).Release(), kHandle);
    EXPECT_EQ(gClosed, kNothing);
}
