// Compiled by the tests header_alone.*, which name the header.
#include HEADER

#if defined(_WINDOWS_) || defined(_INC_WINDOWS) || defined(_WINDEF_)
#error A public header brought in a Windows header.
#endif
