// What happens in a round of the soak, each with the results that it must have.
#pragma once

#include <vector>

#include "soak_stage.h"

struct SoakAction {
    const char* name;
    void (*run)(SoakStage& stage);
    bool isFault = false;  // something fails, and the next paste must work all the same
    bool isLong = false;   // waits for half a minute: for long runs only
};

const std::vector<SoakAction>& soakActions();

// A list with new contents, pasted whole. After each action it shows that all is well.
void pasteWhole(SoakStage& stage);

// ---- By file ----
void pasteTwice(SoakStage& stage);
void pasteTwoAtOnce(SoakStage& stage);
void pasteSecondDuringFirst(SoakStage& stage);
void replaceList(SoakStage& stage);
void replaceListDuringPaste(SoakStage& stage);
void copyTextDuringPaste(SoakStage& stage);
void stallShortly(SoakStage& stage);

void stopPaste(SoakStage& stage);
void killPaste(SoakStage& stage);
void failTransfer(SoakStage& stage);
void vetoPaste(SoakStage& stage);
void startTooLate(SoakStage& stage);
void stallForGood(SoakStage& stage);

void copyFiles(SoakStage& stage);
void copyText(SoakStage& stage);
void landOnC(SoakStage& stage);
void landOnD(SoakStage& stage);
