#include "stream.h"

#include "support/owned_handle.h"

void close(HANDLE file, HANDLE search, HGLOBAL block)
{
    // After CloseHandle(file) the block is of no use.
    GlobalFree(block);  // lint: nobody owns it
    CloseHandle(file);  // refused: CloseHandle is for support to call
    // lint: the host has opened it
    CloseClipboard();
    CloseClipboard();     // refused: CloseClipboard is for support to call
    ::FindClose(search);  // refused: FindClose is for support to call
    GlobalFree(block);    // refused: GlobalFree is for support to call
}
