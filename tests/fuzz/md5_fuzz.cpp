// The unit's result against a plain second implementation, which pads the whole text first and computes its table.
#include "base/md5.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_check.h"

namespace {

std::vector<std::uint8_t> pad(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::uint8_t> padded(data, data + size);
    padded.push_back(0x80);
    while (padded.size() % 64 != 56)
        padded.push_back(0);
    for (int i = 0; i < 8; ++i)
        padded.push_back(static_cast<std::uint8_t>(std::uint64_t{size} * 8 >> 8 * i));
    return padded;
}

void mix(std::uint32_t (&sums)[4], const std::uint8_t* block)
{
    static constexpr int kTurns[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    static constexpr int kStride[4] = {1, 5, 3, 7};
    static constexpr int kStart[4] = {0, 1, 5, 0};
    std::uint32_t a = sums[0];
    std::uint32_t b = sums[1];
    std::uint32_t c = sums[2];
    std::uint32_t d = sums[3];
    for (int step = 0; step < 64; ++step) {
        const int round = step / 16;
        const std::uint32_t choices[4] = {(b & c) | (~b & d), (d & b) | (~d & c), b ^ c ^ d, c ^ (b | ~d)};
        const std::uint8_t* const word = block + std::ptrdiff_t{4} * ((kStart[round] + kStride[round] * step) % 16);
        std::uint32_t sum =
            a + choices[round] + static_cast<std::uint32_t>(std::fabs(std::sin(step + 1)) * 4294967296.0);
        for (int i = 0; i < 4; ++i)
            sum += std::uint32_t{word[i]} << 8 * i;
        const int turn = kTurns[round][step % 4];
        a = d;
        d = c;
        c = b;
        b += sum << turn | sum >> (32 - turn);
    }
    sums[0] += a;
    sums[1] += b;
    sums[2] += c;
    sums[3] += d;
}

std::string hashPlainly(const std::uint8_t* data, std::size_t size)
{
    std::uint32_t sums[4] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    const std::vector<std::uint8_t> padded = pad(data, size);
    for (std::size_t offset = 0; offset < padded.size(); offset += 64)
        mix(sums, padded.data() + offset);
    std::string text;
    for (const std::uint32_t sum : sums) {
        for (int i = 0; i < 4; ++i) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(sum >> 8 * i & 0xFF));
            text += digits;
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    require(sd::clip::Md5Hex(text) == hashPlainly(data, size), "both ways give the same digits");
    return 0;
}
