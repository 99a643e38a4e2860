#include "sha256.h"

#include <windows.h>

#include <bcrypt.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "example_support/utf8_arguments.h"

namespace {

constexpr std::size_t kSumBytes = 32;

class Sha256 {
public:
    Sha256()
    {
        check(BCryptOpenAlgorithmProvider(&mAlgorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
        check(BCryptCreateHash(mAlgorithm, &mHash, nullptr, 0, nullptr, 0, 0));
    }
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;
    ~Sha256()
    {
        BCryptDestroyHash(mHash);
        BCryptCloseAlgorithmProvider(mAlgorithm, 0);
    }

    // The system's function takes what it only reads by a pointer that could write.
    void add(char* bytes, std::size_t size)
    {
        check(BCryptHashData(mHash, reinterpret_cast<unsigned char*>(bytes), static_cast<ULONG>(size), 0));
    }

    std::string finish()
    {
        unsigned char sum[kSumBytes];
        check(BCryptFinishHash(mHash, sum, sizeof sum, 0));
        std::string text;
        for (const unsigned char byte : sum) {
            text += "0123456789abcdef"[byte >> 4];
            text += "0123456789abcdef"[byte & 15];
        }
        return text;
    }

private:
    static void check(NTSTATUS status)
    {
        if (status < 0)
            throw std::runtime_error("the system computes no SHA-256, status " + std::to_string(status));
    }

    BCRYPT_ALG_HANDLE mAlgorithm = nullptr;
    BCRYPT_HASH_HANDLE mHash = nullptr;
};

constexpr std::size_t kPiece = 65536;

}  // namespace

std::string sha256Of(const std::string& bytes)
{
    Sha256 sum;
    std::vector<char> piece(kPiece);
    for (std::size_t begin = 0; begin < bytes.size(); begin += kPiece) {
        const std::size_t size = std::min(kPiece, bytes.size() - begin);
        bytes.copy(piece.data(), size, begin);
        sum.add(piece.data(), size);
    }
    return sum.finish();
}

std::string sha256OfFile(const std::wstring& path)
{
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    if (!file.is_open())
        return "";
    Sha256 sum;
    std::vector<char> piece(kPiece);
    while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())), file.gcount() > 0)
        sum.add(piece.data(), static_cast<std::size_t>(file.gcount()));
    return sum.finish();
}

std::map<std::string, std::string> sumsBelow(const std::wstring& folder)
{
    std::map<std::string, std::string> sums;
    if (!std::filesystem::is_directory(folder))
        return sums;
    for (const std::filesystem::directory_entry& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::wstring path = entry.path().wstring();
        sums[toUtf8(path.substr(folder.size() + 1))] = entry.is_directory() ? "folder" : sha256OfFile(path);
    }
    return sums;
}
