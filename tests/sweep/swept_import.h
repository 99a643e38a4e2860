// An import of the library that can be made to fail.
#pragma once

#include <windows.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "example_support/import_patch.h"
#include "fault_injector.h"

// A documented way to fail.
struct FailureWay {
    enum class Error { kNone, kLastError, kErrno };

    const char* name;
    std::intptr_t result;
    Error place;
    int error;
    bool happens;  // the call is made all the same: a close that fails leaves nothing open
    bool silent;   // never logged
};

class SweptImport {
public:
    explicit SweptImport(const char* name) : mName(name) {}
    virtual ~SweptImport() = default;
    SweptImport(const SweptImport&) = delete;
    SweptImport& operator=(const SweptImport&) = delete;

    // Before the module's threads run. Replaced until the process ends, over what others have put there before.
    virtual void replaceIn(HMODULE module) = 0;

    const std::string& name() const
    {
        return mName;
    }
    const std::vector<FailureWay>& ways() const
    {
        return mWays;
    }
    // One of these is in the log after a failure.
    const std::vector<const char*>& lines() const
    {
        return mLines;
    }
    // Why a failure, or some failures, are not logged; null if all are.
    const char* silence() const
    {
        return mSilence;
    }
    // Why the number of calls is not the same in each run; null if it is.
    const char* variance() const
    {
        return mVariance;
    }
    // Whether the library does without something from then on, as it should, so that the process is of no use for more.
    bool needsOwnProcess() const
    {
        return mOwnProcess;
    }
    int findWay(const std::string& name) const
    {
        for (std::size_t i = 0; i < mWays.size(); ++i) {
            if (mWays[i].name == name)
                return static_cast<int>(i);
        }
        return -1;
    }

    int calls() const
    {
        return mCalls;
    }
    int addCall()
    {
        return ++mCalls;
    }
    void forgetCalls()
    {
        mCalls = 0;
    }

protected:
    std::vector<FailureWay> mWays;
    std::vector<const char*> mLines;
    const char* mSilence = nullptr;
    const char* mVariance = nullptr;
    bool mOwnProcess = false;

private:
    const std::string mName;
    std::atomic<int> mCalls{0};
};

// @tparam Tag makes the replacement the import's own
template <class Tag, class Result, class... Arguments>
class TypedSweptImport : public SweptImport {
public:
    using Function = Result (*)(Arguments...);
    using Test = bool (*)(Arguments...);

    TypedSweptImport(const char* name, Function /*type*/) : SweptImport(name)
    {
        sSelf = this;
    }

    // ---- What the table says of it ----
    TypedSweptImport& fails(const char* way, std::intptr_t result, DWORD lastError)
    {
        return add({way, result, FailureWay::Error::kLastError, static_cast<int>(lastError), false, false});
    }
    TypedSweptImport& returns(const char* way, std::intptr_t result)
    {
        return add({way, result, FailureWay::Error::kNone, 0, false, false});
    }
    TypedSweptImport& failsInRuntime(const char* way, std::intptr_t result, int error)
    {
        return add({way, result, FailureWay::Error::kErrno, error, false, false});
    }
    // The call is made, and then said to have failed.
    TypedSweptImport& failsAfterwards(const char* way, std::intptr_t result, DWORD lastError)
    {
        return add({way, result, FailureWay::Error::kLastError, static_cast<int>(lastError), true, false});
    }
    TypedSweptImport& failsInRuntimeAfterwards(const char* way, std::intptr_t result, int error)
    {
        return add({way, result, FailureWay::Error::kErrno, error, true, false});
    }
    // An output that a failure clears.
    TypedSweptImport& clears(void (*clear)(Arguments...))
    {
        mClear = clear;
        return *this;
    }
    // Other calls are the runtime's.
    TypedSweptImport& countsOnly(Test isOurs)
    {
        mIsOurs = isOurs;
        return *this;
    }
    TypedSweptImport& notes(void (*note)(Result))
    {
        mNote = note;
        return *this;
    }
    TypedSweptImport& logs(const char* line)
    {
        mLines.push_back(line);
        return *this;
    }
    TypedSweptImport& isSilent(const char* reason)
    {
        return isSilent(reason, [](Arguments...) { return true; });
    }
    TypedSweptImport& isSilent(const char* reason, Test when)
    {
        mSilence = reason;
        mIsSilent = when;
        return *this;
    }
    // Of the way that was named last.
    TypedSweptImport& silently(const char* reason)
    {
        mSilence = reason;
        mWays.back().silent = true;
        return *this;
    }
    TypedSweptImport& varies(const char* reason)
    {
        mVariance = reason;
        return *this;
    }
    TypedSweptImport& inOwnProcess()
    {
        mOwnProcess = true;
        return *this;
    }

    void replaceIn(HMODULE module) override
    {
        mPatch = std::make_unique<ImportPatch>(module, name().c_str(), reinterpret_cast<void*>(&call));
        mReal = reinterpret_cast<Function>(mPatch->original());
    }

private:
    TypedSweptImport& add(const FailureWay& way)
    {
        mWays.push_back(way);
        return *this;
    }

    static Result WINAPI call(Arguments... arguments)
    {
        TypedSweptImport& self = *sSelf;
        const bool isOurs = self.mIsOurs == nullptr || self.keepErrors([&] { return self.mIsOurs(arguments...); });
        const int way = isOurs ? FaultInjector::arrive(self) : -1;
        if (way >= 0)
            return self.fail(self.mWays[static_cast<std::size_t>(way)], arguments...);
        if constexpr (std::is_void_v<Result>) {
            self.mReal(arguments...);
        } else {
            const Result result = self.mReal(arguments...);
            if (self.mNote != nullptr)
                keepErrors([&] { self.mNote(result); });
            return result;
        }
    }

    Result fail(const FailureWay& way, Arguments... arguments)
    {
        if (way.silent || (mIsSilent != nullptr && mIsSilent(arguments...)))
            FaultInjector::noteSilence();
        if (way.happens)
            mReal(arguments...);
        if (mClear != nullptr)
            mClear(arguments...);
        if (way.place == FailureWay::Error::kErrno)
            errno = way.error;
        if (way.place == FailureWay::Error::kLastError)
            SetLastError(static_cast<DWORD>(way.error));
        return toResult(way.result);
    }

    static Result toResult(std::intptr_t value)
    {
        if constexpr (std::is_pointer_v<Result>)
            return reinterpret_cast<Result>(value);
        else
            return static_cast<Result>(value);
    }

    template <class Body>
    static auto keepErrors(Body body)
    {
        struct Errors {
            const DWORD last = GetLastError();
            const int runtime = errno;
            ~Errors()
            {
                errno = runtime;
                SetLastError(last);
            }
        };
        const Errors kept;
        return body();
    }

    static inline TypedSweptImport* sSelf = nullptr;
    Function mReal = nullptr;
    std::unique_ptr<ImportPatch> mPatch;
    Test mIsOurs = nullptr;
    Test mIsSilent = nullptr;
    void (*mNote)(Result) = nullptr;  // called with what a call that succeeded gave
    void (*mClear)(Arguments...) = nullptr;
};
