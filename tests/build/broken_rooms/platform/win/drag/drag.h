// refused: lies in no room of the order
#pragma once
