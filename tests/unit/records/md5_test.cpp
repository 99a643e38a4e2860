#include "base/md5.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using sd::clip::Md5Hex;

TEST(Md5, AnswersTheSuiteOfTheRfc)
{
    EXPECT_EQ(Md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Md5Hex("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(Md5Hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(Md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(Md5Hex("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(Md5Hex("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(Md5Hex("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, IsRightOnBothSidesOfEveryBlockBorder)
{
    struct Case {
        std::size_t length;
        const char* digits;
    };
    const std::vector<Case> cases = {
        {55, "ef1772b6dff9a122358552954ad0df65"},      {56, "3b0c8ac703f828b04c6c197006d17218"},
        {57, "652b906d60af96844ebd21b674f35e93"},      {63, "b06521f39153d618550606be297466d5"},
        {64, "014842d480b571495a4a0363793f7367"},      {65, "c743a45e0d2e6a95cb859adae0248435"},
        {119, "8a7bd0732ed6a28ce75f6dabc90e1613"},     {120, "5f61c0ccad4cac44c75ff505e1f1e537"},
        {127, "020406e1d05cdc2aa287641f7ae2cc39"},     {128, "e510683b3f5ffe4093d021808bc6ff70"},
        {129, "b325dc1c6f5e7a2b7cf465b9feab7948"},     {1000, "cabe45dcc9ae5b66ba86600cca6b8ba8"},
        {1000000, "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const Case& example : cases)
        EXPECT_EQ(Md5Hex(std::string(example.length, 'a')), example.digits) << example.length << " bytes";
}

TEST(Md5, TakesBytesOfEveryValue)
{
    std::string bytes;
    for (int value = 0; value < 256; ++value)
        bytes += static_cast<char>(value);
    EXPECT_EQ(Md5Hex(bytes), "e2c865db4162bed963bfaa9ef6ac18f0");
    EXPECT_EQ(Md5Hex(std::string("a\0b", 3)), "70350f6027bce3713f6b76473084309b");
}

TEST(Md5, ThreadsDoNotDisturbOneAnother)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (const bool isLong : {false, true}) {
        threads.emplace_back([&wrong, isLong] {
            const std::string text = isLong ? std::string(129, 'a') : "abc";
            const std::string expected =
                isLong ? "b325dc1c6f5e7a2b7cf465b9feab7948" : "900150983cd24fb0d6963f7d28e17f72";
            for (int i = 0; i < 2000; ++i)
                wrong += Md5Hex(text) == expected ? 0 : 1;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
