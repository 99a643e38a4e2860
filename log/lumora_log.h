// What the library imports from log.dll, which is somebody else's.
#pragma once

// Writes one log line.
//   module: always 0 here.   level: 5 progress, 6 a failed step, 7 a failure of the system's resources.
//   tag: the component's name.   format: as of printf, followed by its arguments. A line feed at its end belongs to it.
// Callable from any thread. Not declared as an import, so that a program may also bring an implementation of its own;
// the linker's thunk serves the DLL.
extern "C" void lumoraLogPrint(int module, int level, const char* tag, const char* format, ...);
