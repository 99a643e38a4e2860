// A paste that waits in its middle for what else happens.
#pragma once

#include <memory>

#include "soak_stage.h"

// A list whose delivery waits at the gate in the middle of its second slice.
std::shared_ptr<GuestList> makeHeldList(SoakStage& stage, const std::shared_ptr<Gate>& gate);

// The guest was asked once and is told of no end.
void expectServedOnce(const GuestList& list);

// Of such a list, by clip-paste, up to the gate.
class HeldPaste {
public:
    explicit HeldPaste(SoakStage& stage);

    // The guest goes on, and all files come.
    void complete();

    // The guest does not go on; the application ends without the first file.
    void expectFailure();

    const GuestList& list() const
    {
        return *mList;
    }

private:
    SoakStage& mStage;
    const std::shared_ptr<Gate> mGate = std::make_shared<Gate>();
    const std::shared_ptr<GuestList> mList;
    ChildProcess mPaste;
};
