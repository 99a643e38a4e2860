#include "base/md5.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace sd::clip {

namespace {

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kLengthSize = 8;  // the count of bits at the end of the last block

using State = std::array<std::uint32_t, 4>;
constexpr State kInitialState = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// The whole part of 2^32 x |sin(step)|, for steps from 1.
constexpr std::array<std::uint32_t, kBlockSize> kSines = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

// By round, and by the step's position in a group of four.
constexpr std::uint32_t kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

std::uint32_t rotateLeft(std::uint32_t value, std::uint32_t count)
{
    return value << count | value >> (32 - count);
}

// A round's function of the three words, and the word of the block that its step takes.
struct Step {
    std::uint32_t mixed;
    std::uint32_t word;
};

Step takeStep(std::uint32_t i, std::uint32_t b, std::uint32_t c, std::uint32_t d)
{
    switch (i / 16) {
        case 0:
            return {(b & c) | (~b & d), i};
        case 1:
            return {(b & d) | (c & ~d), (5 * i + 1) % 16};
        case 2:
            return {b ^ c ^ d, (3 * i + 5) % 16};
        default:
            return {c ^ (b | ~d), 7 * i % 16};
    }
}

std::uint32_t readWord(const unsigned char* bytes)
{
    return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
}

void addBlock(State& state, const unsigned char* block)
{
    auto [a, b, c, d] = state;
    for (std::uint32_t i = 0; i < kBlockSize; ++i) {
        const Step step = takeStep(i, b, c, d);
        const std::uint32_t sum = a + step.mixed + readWord(block + std::size_t{4} * step.word) + kSines[i];
        a = d;
        d = c;
        c = b;
        b += rotateLeft(sum, kShifts[i / 16][i % 4]);
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

// The bytes behind the last whole block, a single bit, zeros, and the length of the whole text: one block or two.
void addTail(State& state, std::string_view rest, std::uint64_t wholeSize)
{
    std::array<unsigned char, 2 * kBlockSize> tail{};
    rest.copy(reinterpret_cast<char*>(tail.data()), rest.size());
    tail[rest.size()] = 0x80;
    const std::size_t size = rest.size() < kBlockSize - kLengthSize ? kBlockSize : 2 * kBlockSize;
    const std::uint64_t bits = wholeSize * 8;
    for (std::size_t i = 0; i < kLengthSize; ++i)
        tail[size - kLengthSize + i] = static_cast<unsigned char>(bits >> 8 * i);
    for (std::size_t offset = 0; offset < size; offset += kBlockSize)
        addBlock(state, tail.data() + offset);
}

std::string printState(const State& state)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(32);
    for (const std::uint32_t word : state) {
        for (std::uint32_t shift = 0; shift < 32; shift += 8) {
            text += kDigits[word >> (shift + 4) & 0xf];
            text += kDigits[word >> shift & 0xf];
        }
    }
    return text;
}

}  // namespace

std::string Md5Hex(std::string_view bytes)
{
    State state = kInitialState;
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t whole = bytes.size() / kBlockSize * kBlockSize;
    for (std::size_t offset = 0; offset < whole; offset += kBlockSize)
        addBlock(state, data + offset);
    addTail(state, bytes.substr(whole), bytes.size());
    return printState(state);
}

}  // namespace sd::clip
