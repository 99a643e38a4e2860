// MD5 after RFC 1321. It only names files here; it protects nothing.
#pragma once

#include <string>
#include <string_view>

namespace sd::clip {

// @return 32 lower case hexadecimal digits, two for each byte
// Threads: any, at the same time; every call has a buffer of its own.
std::string Md5Hex(std::string_view bytes);

}  // namespace sd::clip
