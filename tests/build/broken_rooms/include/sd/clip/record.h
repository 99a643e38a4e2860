// What scripts/include-graph --check must find: the comments say where, and nothing else is to be found in this folder.
// Not compiled.
#pragma once

#include "base/log.h"  // refused: include may not include src/base
