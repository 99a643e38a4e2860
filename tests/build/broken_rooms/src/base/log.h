#pragma once

#include "sd/clip/record.h"
