#include "fault_injector.h"

#include <atomic>
#include <stdexcept>

#include "swept_import.h"
#include "swept_imports.h"

namespace {

std::atomic<bool> gCounts{false};
std::atomic<bool> gHit{false};
std::atomic<bool> gSilent{false};

// Written while nothing counts.
SweptImport* gImport = nullptr;
int gCall = 0;
int gWay = -1;

void begin(SweptImport* import, int call, int way)
{
    for (const auto& each : SweptImports::all())
        each->forgetCalls();
    gHit = false;
    gSilent = false;
    gImport = import;
    gCall = call;
    gWay = way;
    gCounts = true;
}

}  // namespace

void FaultInjector::beginCount()
{
    ::begin(nullptr, 0, -1);
}

void FaultInjector::begin(const Fault& fault)
{
    SweptImport* const import = SweptImports::find(fault.import);
    const int way = import != nullptr ? import->findWay(fault.way) : -1;
    if (way < 0)
        throw std::runtime_error("no way to fail: " + fault.import + ", " + fault.way);
    ::begin(import, fault.call, way);
}

FaultInjector::Outcome FaultInjector::end()
{
    gCounts = false;
    return {gHit, gSilent};
}

int FaultInjector::arrive(SweptImport& import)
{
    if (!gCounts)
        return -1;
    const int call = import.addCall();
    if (&import != gImport || call != gCall)
        return -1;
    gHit = true;
    return gWay;
}

void FaultInjector::noteSilence()
{
    gSilent = true;
}
