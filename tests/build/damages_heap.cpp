// Damages its own heap in the way that its argument names, so that the checking heap has something to find.
#include <cstddef>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kSize = 40;

// All volatile, so that the compiler neither sees nor leaves out what is wrong here.
void write(char* block, std::ptrdiff_t offset)
{
    volatile char* volatile place = block + offset;
    *place = 'x';
}

void damage(const std::string& kind)
{
    auto* const block = new char[kSize];
    std::memset(block, 0, kSize);
    if (kind == "underrun")
        write(block, -1);
    char* volatile freed = block;
    delete[] block;
    if (kind == "double-free")
        delete[] freed;
}

}  // namespace

int main(int argc, char** argv)
{
    damage(argc > 1 ? argv[1] : "");
    return 0;
}
