#pragma once

#include <data_object/transfer_file.h>  // refused: file_stream may not include data_object

#include "../data_object/transfer_file.h"  // refused: file_stream may not include data_object
#include "data_object/file_transfer.h"
#include "data_object/transfer_file.h"  // refused: file_stream may not include data_object
