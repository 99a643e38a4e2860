// All operations that a pasting application can call, at random.
//
// MD_CLIPBOARD_STRESS_CALLS: how many calls.
// MD_CLIPBOARD_STRESS_SEED: that of an earlier run, which is repeated exactly.
#include "random_com_calls.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "clipboard_win/clipboard_impl.h"
#include "process_counts.h"
#include "support/temporary_folder.h"
#include "support/watched_drives.h"

using namespace sd::clip;

TEST(AnyComCall, NeitherCrashesNorLeaks)
{
    constexpr std::size_t kWarmUp = 500;
    const auto count = static_cast<std::size_t>(readNumber("MD_CLIPBOARD_STRESS_CALLS", 100000));
    const LiveBlocks blocks(nullptr);
    const TemporaryFolder folder;
    std::string cache = folder.utf8Path() + "/cache/";
    std::replace(cache.begin(), cache.end(), '\\', '/');
    initLazyRenderer(*Clipboard::Get(), cache);
    RandomComCalls calls(chooseSeed());
    calls.call(kWarmUp);
    calls.letAllGo();
    const std::ptrdiff_t blocksBefore = LiveBlocks::count();
    const std::size_t handlesBefore = countHandles();
    calls.call(count);
    calls.letAllGo();
    EXPECT_LE(LiveBlocks::count(), blocksBefore + 20);
    EXPECT_LE(countHandles(), handlesBefore + 5);
}
