#pragma once

#include "file_stream/stream.h"
