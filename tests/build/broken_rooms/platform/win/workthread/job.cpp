// refused: has no header of its name beside it
#include "data_object/file_transfer.h"  // refused: workthread may not include data_object
