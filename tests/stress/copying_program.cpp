#include "copying_program.h"

#include <gtest/gtest.h>

#include <exception>

#include "support/wait_until.h"

CopyingProgram::CopyingProgram()
{
    mThread.run([this] {
        mOwner = std::make_unique<ClipboardOwner>();
        mWindow = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    });
}

CopyingProgram::~CopyingProgram()
{
    mThread.run([this] {
        mOwner.reset();
        DestroyWindow(mWindow);
    });
}

bool CopyingProgram::copyFiles(const std::vector<std::wstring>& paths)
{
    return copy([&] { mOwner->addDropList(paths); });
}

bool CopyingProgram::copyText()
{
    return copy([&] { mOwner->addText(L"text"); });
}

bool CopyingProgram::emptyClipboard()
{
    return copy([] {});
}

bool CopyingProgram::copy(const std::function<void()>& put)
{
    constexpr int kLongestOpen = 30000;  // milliseconds
    return waitUntil(
        [&] {
            bool isOpen = false;
            mThread.run([&] {
                isOpen = OpenClipboard(mWindow) != FALSE;
                if (!isOpen)
                    return;
                EmptyClipboard();
                try {
                    put();
                } catch (const std::exception& failure) {
                    ADD_FAILURE() << failure.what();
                }
                CloseClipboard();
            });
            return isOpen;
        },
        kLongestOpen);
}
