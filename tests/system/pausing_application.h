// Another application that pastes: it reads the first piece of the first file, and all the rest when it is told to.
// Between the two it is in no call, so that others are served.
#pragma once

#include <windows.h>

#include <string>

#include "support/child_process.h"

// Plays in a role of this program. One at a time.
class PausingApplication {
public:
    PausingApplication();
    ~PausingApplication();
    PausingApplication(const PausingApplication&) = delete;
    PausingApplication& operator=(const PausingApplication&) = delete;

    bool waitForFirstPiece() const;
    void readOn();

    // @return the SHA-256 of each file, a line for each; empty if it failed
    std::string waitForSums(int milliseconds = 60000);

private:
    const HANDLE mReadOn;
    ChildProcess mChild;
};
