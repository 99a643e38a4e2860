// The sweep itself: a fault that is planned is a fault that is made, and no platform call is forgotten.
#include <gtest/gtest.h>
#include <windows.h>

#include <set>

#include "fault_injector.h"
#include "fault_sweep.h"
#include "swept_import.h"
#include "swept_imports.h"

namespace {

HMODULE library()
{
    static const HMODULE module = LoadLibraryW(L"md-clipboard.dll");
    return module;
}

// Replaced in this program, where the test itself makes the calls.
class FaultInjection : public testing::Test {
protected:
    static SweptImport& attributes()
    {
        static SweptImport& import = *[] {
            SweptImport* const found = SweptImports::find("GetFileAttributesW");
            found->replaceIn(nullptr);
            return found;
        }();
        return import;
    }

    static DWORD ask()
    {
        SetLastError(ERROR_SUCCESS);
        return GetFileAttributesW(L"C:\\");
    }

    const std::string mName = attributes().name();
};

}  // namespace

TEST_F(FaultInjection, EachPlannedCallFailsAndNoOther)
{
    constexpr int kCalls = 3;
    FaultInjector::beginCount();
    for (int i = 0; i < kCalls; ++i)
        ask();
    FaultInjector::end();
    ASSERT_EQ(attributes().calls(), kCalls);
    const auto plan = FaultSweep::plan({{mName, {kCalls, kCalls}}}, SweptCalls::kAll);
    ASSERT_EQ(plan.size(), static_cast<std::size_t>(kCalls));
    for (const Fault& fault : plan) {
        FaultInjector::begin(fault);
        for (int call = 1; call <= kCalls; ++call) {
            const bool fails = ask() == INVALID_FILE_ATTRIBUTES;
            EXPECT_EQ(fails, call == fault.call);
            EXPECT_EQ(GetLastError(), fails ? DWORD{ERROR_ACCESS_DENIED} : DWORD{ERROR_SUCCESS});
        }
        const auto outcome = FaultInjector::end();
        EXPECT_TRUE(outcome.hit);
        EXPECT_TRUE(outcome.silent);
    }
}

TEST_F(FaultInjection, ACallThatDoesNotComeIsNotHit)
{
    FaultInjector::begin({mName, 2, "denied"});
    EXPECT_NE(ask(), INVALID_FILE_ATTRIBUTES);
    EXPECT_FALSE(FaultInjector::end().hit);
}

TEST_F(FaultInjection, CallsOutsideARunNeitherCountNorFail)
{
    FaultInjector::begin({mName, 1, "denied"});
    FaultInjector::end();
    EXPECT_NE(ask(), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(attributes().calls(), 0);
}

TEST_F(FaultInjection, AFaultThatThereIsNotIsRefused)
{
    EXPECT_THROW(FaultInjector::begin({"NoSuchImport", 1, "denied"}), std::runtime_error);
    EXPECT_THROW(FaultInjector::begin({mName, 1, "no such way"}), std::runtime_error);
}

TEST(SweepPlan, OfFirstAndLastHasTheOnlyCallOnce)
{
    const FaultSweep::Calls calls = {{"OpenClipboard", {1, 1}}, {"EmptyClipboard", {5, 5}}, {"CreateThread", {0, 0}}};
    const auto plan = FaultSweep::plan(calls, SweptCalls::kFirstAndLast);
    ASSERT_EQ(plan.size(), 3u);
    EXPECT_EQ(plan[0].import + std::to_string(plan[0].call), "OpenClipboard1");
    EXPECT_EQ(plan[1].import + std::to_string(plan[1].call), "EmptyClipboard1");
    EXPECT_EQ(plan[2].import + std::to_string(plan[2].call), "EmptyClipboard5");
    EXPECT_EQ(FaultSweep::plan(calls, SweptCalls::kAll).size(), 6u);
}

TEST(SweptImportTable, HasEachImportOfTheLibraryOrLeavesItOutWithAReason)
{
    for (const std::string& name : SweptImports::namesIn(library())) {
        const bool isSwept = SweptImports::find(name) != nullptr;
        EXPECT_NE(isSwept, SweptImports::leftOut().count(name) != 0) << name;
    }
}

TEST(SweptImportTable, NamesNothingThatTheLibraryDoesNotImport)
{
    const auto names = SweptImports::namesIn(library());
    const std::set<std::string> imported(names.begin(), names.end());
    for (const auto& import : SweptImports::all())
        EXPECT_EQ(imported.count(import->name()), 1u) << import->name();
    for (const auto& [name, reason] : SweptImports::leftOut())
        EXPECT_EQ(imported.count(name), 1u) << name;
}

TEST(SweptImportTable, SaysOfEachFailureWhatIsLoggedOrWhyNothingIs)
{
    for (const auto& import : SweptImports::all()) {
        EXPECT_FALSE(import->ways().empty()) << import->name();
        const bool isUnreached = SweptImports::unreached().count(import->name()) != 0;
        EXPECT_TRUE(isUnreached || !import->lines().empty() || import->silence() != nullptr) << import->name();
    }
}
