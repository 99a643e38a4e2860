// Makes the files and directories that a test lists.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

// @param size bytes; the file is not written, only its end is set
inline void makeFile(const std::wstring& path, LONGLONG size = 0)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file) << GetLastError();
    LARGE_INTEGER end;
    end.QuadPart = size;
    EXPECT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
    EXPECT_TRUE(SetEndOfFile(file));
    EXPECT_TRUE(CloseHandle(file));
}

inline void makeDirectory(const std::wstring& path)
{
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr)) << GetLastError();
}
