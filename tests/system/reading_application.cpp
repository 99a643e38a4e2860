#include "reading_application.h"

#include <algorithm>

#include "example_support/console.h"

std::string readPiece(IStream& stream, std::uint32_t size)
{
    std::string bytes(size, '\0');
    ULONG count = 0;
    const HRESULT result = stream.Read(bytes.data(), size, &count);
    bytes.resize(SUCCEEDED(result) ? count : 0);
    return bytes;
}

std::string readExactly(IStream& stream, std::uint64_t size)
{
    constexpr std::uint64_t kPiece = 65536;
    std::string bytes;
    while (bytes.size() < size) {
        const std::string piece = readPiece(stream, static_cast<std::uint32_t>(std::min(kPiece, size - bytes.size())));
        if (piece.empty())
            break;
        bytes += piece;
    }
    return bytes;
}

std::string readToEnd(IStream& stream)
{
    std::string bytes;
    for (std::string piece = readPiece(stream); !piece.empty(); piece = readPiece(stream))
        bytes += piece;
    return bytes;
}

void printLine(const std::string& line)
{
    printText(line + "\n");
}
