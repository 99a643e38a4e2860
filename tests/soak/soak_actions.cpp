#include "soak_actions.h"

const std::vector<SoakAction>& soakActions()
{
    constexpr bool kIsFault = true;
    constexpr bool kIsLong = true;
    static const std::vector<SoakAction> actions = {
        {"a paste and another", pasteTwice},
        {"two pastes at once", pasteTwoAtOnce, kIsFault},
        {"a second paste during the first", pasteSecondDuringFirst, kIsFault},
        {"another list", replaceList},
        {"another list during a paste", replaceListDuringPaste, kIsFault},
        {"a text copied during a paste", copyTextDuringPaste},
        {"a short stall", stallShortly, kIsFault},
        {"a stopped paste", stopPaste, kIsFault},
        {"a killed application", killPaste, kIsFault},
        {"a failed transfer", failTransfer, kIsFault},
        {"a veto", vetoPaste, kIsFault},
        {"a guest that starts too late", startTooLate, kIsFault, kIsLong},
        {"a guest that stalls for good", stallForGood, kIsFault, kIsLong},
        {"copied files", copyFiles},
        {"a copied text", copyText},
        {"a landing on C", landOnC},
        {"a landing on D", landOnD},
    };
    return actions;
}
