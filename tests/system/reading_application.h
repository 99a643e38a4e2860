// What the tests' own pasting applications do with the streams that they get. clip-paste is the usual one; these read
// as it does not.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <cstdint>
#include <string>

// One read. Empty at the end of the file, and when the read fails.
std::string readPiece(IStream& stream, std::uint32_t size = 65536);

// Up to that size: no read asks for a byte more.
std::string readExactly(IStream& stream, std::uint64_t size);

std::string readToEnd(IStream& stream);

// Writes the line into the test's output of this process, at once.
void printLine(const std::string& line);
