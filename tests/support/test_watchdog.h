// The watchdog of a test program's main function.
#pragma once

// Begins the time anew that a test may take. For a long test that finds its own hangs.
void noteTestProgress();
