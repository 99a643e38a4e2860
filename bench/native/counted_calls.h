// The two calls that callgrind counts. scripts/count-instructions knows these functions by name. Not inline: callgrind
// looks for where a function begins and ends.
#pragma once

#include <cstdint>

#include "portable_stream.h"
#include "sd/clip/clipboard_data.h"

// As a host delivers.
// @return the size
unsigned long long countedDelivery(const sd::clip::FileDataRequestCallback& sink,
                                   const sd::clip::ClipfileDescription& file, unsigned char* data,
                                   unsigned long long size);

// As an application reads.
// @return bytes that were read
std::uint32_t countedRead(PortableStream& stream, unsigned char* buffer, std::uint32_t length);

// Forgets what was counted before.
// @return a number of no meaning
int startCounting();
