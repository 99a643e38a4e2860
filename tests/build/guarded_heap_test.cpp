// The guarded heap ends a program that touches what is not its own, and no other.
#include "support/guarded_heap.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/test_roles.h"

namespace {

constexpr int kUnharmed = 42;

// All volatile, so that the compiler neither sees nor leaves out what is wrong here.
char* volatile gBlock = nullptr;
volatile char gRead = 0;

void allocate(std::size_t size)
{
    gBlock = static_cast<char*>(std::malloc(size));
}
void release()
{
    std::free(gBlock);
}
void write(std::ptrdiff_t offset)
{
    volatile char* volatile place = gBlock + offset;
    *place = 'x';
}
void read(std::ptrdiff_t offset)
{
    volatile char* volatile place = gBlock + offset;
    gRead = *place;
}

// With what is wrong last.
const std::map<std::string, std::function<void()>> kDamages = {
    {"none", [] { write(0); }},
    {"write-behind", [] { write(32); }},
    {"read-behind", [] { read(32); }},
    {"late-write", [] { release(), write(0); }},
    {"late-read", [] { release(), read(0); }},
    {"double-free", [] { release(), release(); }},
    {"write-before", [] { write(-1), release(); }},
    {"write-into-the-alignment", [] { allocate(30), write(30), release(); }},
    {"free-inside", [] { gBlock = gBlock + 16, release(); }},
};

const TestRole damaging("damaging", [](const std::vector<std::string>& arguments) {
    SetErrorMode(SEM_NOGPFAULTERRORBOX | SEM_FAILCRITICALERRORS);
    allocate(32);
    kDamages.at(arguments.at(0))();
    return kUnharmed;
});

// With all that the allocator gives, from several threads.
const TestRole busy("busy", [](const std::vector<std::string>&) {
    const auto work = [] {
        std::vector<std::string> texts;
        for (int i = 0; i < 3000; ++i)
            texts.emplace_back(static_cast<std::size_t>(i) * 7 % 9000, 'x');
        char* block = static_cast<char*>(std::calloc(10, 10));
        block[99] = 'y';
        block = static_cast<char*>(std::realloc(block, 5000));
        const bool isKept = block[98] == '\0' && block[99] == 'y';
        std::free(block);
        if (!isKept)
            std::_Exit(1);
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    return kUnharmed;
});

DWORD exitCodeOf(const std::wstring& role, const std::vector<std::wstring>& arguments = {})
{
    SetEnvironmentVariableW(L"MD_CLIPBOARD_GUARDED_HEAP", L"1");
    return ChildProcess::inRole(role, arguments).waitForExit();
}

class GuardedHeap : public testing::TestWithParam<const wchar_t*> {};

}  // namespace

TEST_P(GuardedHeap, EndsAProgramThatDoesDamage)
{
    const DWORD code = exitCodeOf(L"damaging", {GetParam()});
    EXPECT_NE(code, static_cast<DWORD>(kUnharmed));
    EXPECT_NE(code, static_cast<DWORD>(STILL_ACTIVE));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, GuardedHeap,
                         testing::Values(L"write-behind", L"read-behind", L"late-write", L"late-read", L"double-free",
                                         L"write-before", L"write-into-the-alignment", L"free-inside"));

TEST(GuardedHeap, LetsAnHonestProgramBe)
{
    EXPECT_EQ(exitCodeOf(L"damaging", {L"none"}), static_cast<DWORD>(kUnharmed));
    EXPECT_EQ(exitCodeOf(L"busy"), static_cast<DWORD>(kUnharmed));
}
