// refused: has no header of its name
#include "data_object/file_transfer.h"  // refused: workthread may not include data_object
