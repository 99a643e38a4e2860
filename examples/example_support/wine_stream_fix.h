// Lets another program release the library's streams under Wine. Programs for Windows alone need nothing of this.
#pragma once

/// Under Wine, a process that serves streams to others registers the interface with its RPC runtime for as long as at
/// least one of them is in use. When the last one is released just as a call on it ends, the runtime sometimes misses
/// that end and waits for it for ever, with the thread that serves all other calls: once in some 20,000 files pasted.
///
/// The constructor hands out one more stream that nobody asks for, so none of the others is ever the last one. Does
/// nothing where the system is not Wine. Its thread must have joined OLE, and it is for as long as that lasts.
class WineStreamFix {
public:
    WineStreamFix();
    WineStreamFix(const WineStreamFix&) = delete;
    WineStreamFix& operator=(const WineStreamFix&) = delete;
};
