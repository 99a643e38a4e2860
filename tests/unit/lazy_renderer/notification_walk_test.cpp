#include "file_clipboard_lazy_renderer/notification_walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace sd::clip {
namespace {

constexpr std::uint32_t kAdded = 1;      // FILE_ACTION_ADDED
constexpr std::size_t kHeaderSize = 12;  // three words stand before the name
constexpr std::size_t kNextEntryOffset = 0;
constexpr std::size_t kNameLength = 8;
constexpr std::size_t kReadSize = 16384;  // what a watcher reads at once

using Visits = std::vector<std::u16string>;
using Visitor = std::function<WalkStep(std::uint32_t action, const std::u16string& name)>;

// A buffer as the platform fills it, in which single words can be made to lie.
class ReadBuffer {
public:
    // @param padding bytes between the records, beside those that make a record begin at a multiple of four
    explicit ReadBuffer(std::size_t padding = 0) : mPadding(padding) {}

    ReadBuffer& add(const std::u16string& name, std::uint32_t action = kAdded)
    {
        if (mCount++ > 0) {
            const std::size_t previous = mLast;
            mLast = (mBytes.size() + 3) / 4 * 4 + mPadding;
            put(previous + kNextEntryOffset, static_cast<std::uint32_t>(mLast - previous));
        }
        mBytes.resize(mLast, 0);
        append(0);
        append(action);
        append(static_cast<std::uint32_t>(name.size() * sizeof(char16_t)));
        for (const char16_t unit : name) {
            mBytes.push_back(static_cast<unsigned char>(unit & 0xFF));
            mBytes.push_back(static_cast<unsigned char>(unit >> 8));
        }
        return *this;
    }

    // Overwrites a word of the record that was added last.
    ReadBuffer& lie(std::size_t field, std::uint32_t value)
    {
        put(mLast + field, value);
        return *this;
    }

    ReadBuffer& padTo(std::size_t size)
    {
        mBytes.resize(size);
        return *this;
    }

    std::size_t size() const
    {
        return mBytes.size();
    }

    // Walks the first `size` bytes in memory that ends with them: a sanitizer sees a step beyond.
    void visit(std::size_t size, const Visitor& visitor) const
    {
        const std::unique_ptr<unsigned char[]> bytes(new unsigned char[size]);
        std::copy_n(mBytes.data(), size, bytes.get());
        walkNotifications(bytes.get(), size, visitor);
    }

    // The names that are visited.
    Visits walk(std::size_t size) const
    {
        Visits visits;
        visit(size, [&visits](std::uint32_t, const std::u16string& name) {
            visits.push_back(name);
            return WalkStep::kGoOn;
        });
        return visits;
    }

    Visits walk() const
    {
        return walk(size());
    }

private:
    void put(std::size_t position, std::uint32_t value)
    {
        for (std::size_t i = 0; i < sizeof value; ++i)
            mBytes.at(position + i) = static_cast<unsigned char>(value >> 8 * i);
    }

    void append(std::uint32_t value)
    {
        mBytes.resize(mBytes.size() + sizeof value, 0);
        put(mBytes.size() - sizeof value, value);
    }

    std::size_t mPadding;
    std::vector<unsigned char> mBytes;
    std::size_t mLast = 0;
    int mCount = 0;
};

TEST(NotificationWalk, OneRecordIsVisitedOnce)
{
    EXPECT_EQ(Visits{u"a.txt"}, ReadBuffer().add(u"a.txt").walk());
    EXPECT_EQ(Visits{u"a.txt"}, ReadBuffer().add(u"a.txt").padTo(kReadSize).walk());
}

TEST(NotificationWalk, OfTwoRecordsOnlyTheFirstIsVisited)
{
    EXPECT_EQ(Visits{u"first"}, ReadBuffer().add(u"first").add(u"second").padTo(kReadSize).walk());
}

TEST(NotificationWalk, OfThreeRecordsOnlyTheFirstTwoAreVisited)
{
    const Visits expected = {u"first", u"second"};
    EXPECT_EQ(expected, ReadBuffer().add(u"first").add(u"second").add(u"third").padTo(kReadSize).walk());
}

TEST(NotificationWalk, OfAFullBufferAllButTheLastAreVisited)
{
    ReadBuffer buffer;
    std::size_t count = 0;
    for (; buffer.size() < kReadSize - 64; ++count)
        buffer.add(u"folder\\name");
    EXPECT_EQ(count - 1, buffer.walk().size());
}

TEST(NotificationWalk, ActionAndNameAreHandedOnAsTheyAre)
{
    const std::u16string lone(1, char16_t{0xD800});  // half a pair: for others to judge
    const ReadBuffer buffer = ReadBuffer().add(u"dir\\\u00E4", 5).add(lone, 0xFFFFFFFF).add(u"c", 0).add(u"last");
    std::vector<std::pair<std::uint32_t, std::u16string>> visits;
    buffer.visit(buffer.size(), [&visits](std::uint32_t action, const std::u16string& name) {
        visits.emplace_back(action, name);
        return WalkStep::kGoOn;
    });
    const decltype(visits) expected = {{5, u"dir\\\u00E4"}, {0xFFFFFFFF, lone}, {0, u"c"}};
    EXPECT_EQ(expected, visits);
}

TEST(NotificationWalk, ANameOf4096UnitsIsVisited)
{
    const std::u16string longest(4096, u'n');
    EXPECT_EQ(Visits{longest}, ReadBuffer().add(longest).walk());
    const Visits both = {longest, u"b"};
    EXPECT_EQ(both, ReadBuffer().add(longest).add(u"b").add(u"last").padTo(kReadSize).walk());
}

TEST(NotificationWalk, ANameOf4097UnitsDropsTheRest)
{
    const std::u16string tooLong(4097, u'n');
    EXPECT_EQ(Visits{}, ReadBuffer().add(tooLong).walk());
    EXPECT_EQ(Visits{}, ReadBuffer().add(tooLong).add(u"b").add(u"last").padTo(kReadSize).walk());
    EXPECT_EQ(Visits{u"a"}, ReadBuffer().add(u"a").add(tooLong).add(u"c").add(u"last").padTo(kReadSize).walk());
}

TEST(NotificationWalk, AnEmptyNameDropsTheRest)
{
    EXPECT_EQ(Visits{}, ReadBuffer().add(u"").walk());
    EXPECT_EQ(Visits{u"a"}, ReadBuffer().add(u"a").add(u"").add(u"c").add(u"last").walk());
}

TEST(NotificationWalk, AReadThatCompletedWithNothingLeavesAZeroedBufferWithoutARecord)
{
    EXPECT_EQ(Visits{}, ReadBuffer().padTo(kReadSize).walk());
}

TEST(NotificationWalk, AnOddLengthDropsTheRest)
{
    for (const std::uint32_t length : {1u, 3u, 9u, 0xFFFFFFFFu})
        EXPECT_EQ(Visits{}, ReadBuffer().add(u"name").lie(kNameLength, length).padTo(kReadSize).walk()) << length;
}

TEST(NotificationWalk, ALengthPastTheEndDropsTheRest)
{
    EXPECT_EQ(Visits{u"name"}, ReadBuffer().add(u"name").lie(kNameLength, 8).walk());
    for (const std::uint32_t length : {10u, 12u, 8192u, 0x7FFFFFFEu, 0x80000000u, 0xFFFFFFF4u, 0xFFFFFFFEu})
        EXPECT_EQ(Visits{}, ReadBuffer().add(u"name").lie(kNameLength, length).walk()) << length;
    const ReadBuffer second = ReadBuffer().add(u"a").add(u"name").lie(kNameLength, 0xFFFFFFF8);
    EXPECT_EQ(Visits{u"a"}, ReadBuffer(second).lie(kNextEntryOffset, 4).walk());
}

TEST(NotificationWalk, AnOffsetPastTheEndDropsTheRest)
{
    for (const std::uint32_t offset : {20u, 21u, 16384u, 0x7FFFFFFFu, 0x80000000u})
        EXPECT_EQ(Visits{u"name"}, ReadBuffer().add(u"name").lie(kNextEntryOffset, offset).walk()) << offset;
}

TEST(NotificationWalk, AnOffsetThatLeadsBackwardsDropsTheRest)
{
    // A negative offset is a large one, which would lead backwards where it wraps.
    for (const std::uint32_t offset : {0xFFFFFFFFu, 0xFFFFFFFCu, 0xFFFFFFECu, 0xFFFFFFE0u, 0xFFFFC000u}) {
        const ReadBuffer buffer = ReadBuffer().add(u"a").add(u"bb").lie(kNextEntryOffset, offset).padTo(kReadSize);
        EXPECT_EQ((Visits{u"a", u"bb"}), buffer.walk()) << offset;
    }
}

TEST(NotificationWalk, AnOffsetIntoItsOwnRecordDropsTheRest)
{
    for (std::uint32_t offset = 1; offset < kHeaderSize + 8; ++offset) {
        const ReadBuffer buffer = ReadBuffer().add(u"name").lie(kNextEntryOffset, offset).padTo(kReadSize);
        EXPECT_EQ(Visits{u"name"}, buffer.walk()) << offset;
    }
}

TEST(NotificationWalk, ARecordMayFollowAtAnOddAddress)
{
    const Visits expected = {u"abc", u"second"};
    EXPECT_EQ(expected, ReadBuffer(1).add(u"abc").add(u"second").add(u"last").walk());
}

TEST(NotificationWalk, ARecordThatEndsOutsideItsBufferIsNotVisited)
{
    const ReadBuffer buffer = ReadBuffer().add(u"a").add(u"second").lie(kNextEntryOffset, 1);
    EXPECT_EQ((Visits{u"a", u"second"}), buffer.walk());
    for (std::size_t size = 16; size < buffer.size(); ++size)
        EXPECT_EQ(Visits{u"a"}, buffer.walk(size)) << size;
}

TEST(NotificationWalk, ABufferTooSmallForARecordHasNone)
{
    const ReadBuffer buffer = ReadBuffer().add(u"n");
    for (std::size_t size = 0; size < buffer.size(); ++size)
        EXPECT_EQ(Visits{}, buffer.walk(size)) << size;
    EXPECT_EQ(Visits{u"n"}, buffer.walk());
}

TEST(NotificationWalk, NoMemoryAtAllHasNoRecord)
{
    int visits = 0;
    walkNotifications(nullptr, 0, [&visits](std::uint32_t, const std::u16string&) {
        ++visits;
        return WalkStep::kGoOn;
    });
    EXPECT_EQ(0, visits);
}

TEST(NotificationWalk, AVisitorThatAbandonsIsNotCalledAgain)
{
    const ReadBuffer buffer = ReadBuffer().add(u"a").add(u"b").add(u"c").add(u"last");
    int visits = 0;
    buffer.visit(buffer.size(), [&visits](std::uint32_t, const std::u16string&) {
        return ++visits == 2 ? WalkStep::kAbandon : WalkStep::kGoOn;
    });
    EXPECT_EQ(2, visits);
}

}  // namespace
}  // namespace sd::clip
