#pragma once

#include <functional>

/// Calls the function, on a thread of its own, once a pipe that is this program's input has ended: who started the
/// program with a pipe ends it by closing that, or by ending itself. Does nothing if the input is no pipe.
void callWhenInputEnds(std::function<void()> function);
