#include "sd/clip/record.h"
