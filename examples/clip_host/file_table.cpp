#include "file_table.h"

#include <windows.h>

#include <algorithm>
#include <ctime>
#include <iomanip>
#include <sstream>

namespace {

using sd::clip::ClipfileDescription;

constexpr std::uint16_t kModeDirectory = 0x4000;
constexpr std::size_t kWidestName = 90;

bool isDirectory(const ClipfileDescription& file)
{
    return (file.mode & kModeDirectory) != 0;
}

std::string joinRelativeName(const ClipfileDescription& file)
{
    return file.relativePath.empty() ? file.fileName : file.relativePath + "\\" + file.fileName;
}

/// @return the count of characters: of the bytes that do not continue one
std::size_t countCharacters(const std::string& utf8)
{
    return static_cast<std::size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

std::string padTo(const std::string& text, std::size_t width)
{
    const std::size_t length = countCharacters(text);
    return length < width ? text + std::string(width - length, ' ') : text;
}

/// @return a letter for each attribute that is set, as the platform's own tools print them
std::string formatAttributes(std::uint32_t attributes)
{
    constexpr struct {
        std::uint32_t bit;
        char letter;
    } kLetters[] = {{FILE_ATTRIBUTE_DIRECTORY, 'D'},
                    {FILE_ATTRIBUTE_READONLY, 'R'},
                    {FILE_ATTRIBUTE_HIDDEN, 'H'},
                    {FILE_ATTRIBUTE_SYSTEM, 'S'},
                    {FILE_ATTRIBUTE_ARCHIVE, 'A'}};
    std::string text;
    for (const auto& known : kLetters)
        text += (attributes & known.bit) != 0 ? known.letter : '-';
    return text;
}

std::string formatTime(std::int64_t secondsSince1970)
{
    if (secondsSince1970 == 0)
        return "-";  // the library knows none
    const __time64_t time = secondsSince1970;
    std::tm parts{};
    char text[32];
    if (_gmtime64_s(&parts, &time) != 0 || std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) == 0)
        return std::to_string(secondsSince1970);
    return text;
}

std::string formatTotals(const std::vector<ClipfileDescription>& files)
{
    std::uint64_t bytes = 0;
    std::size_t directories = 0;
    for (const ClipfileDescription& file : files) {
        bytes += file.size;
        directories += isDirectory(file) ? 1 : 0;
    }
    std::ostringstream text;
    text << "total: files " << files.size() - directories << ", directories " << directories << ", bytes " << bytes
         << "\n";
    return text.str();
}

}  // namespace

std::string formatFileTable(const std::vector<ClipfileDescription>& files, std::size_t maxRows)
{
    const std::size_t rows = std::min(files.size(), maxRows);
    std::size_t width = std::size("name") - 1;
    for (std::size_t i = 0; i < rows; ++i)
        width = std::max(width, std::min(kWidestName, countCharacters(joinRelativeName(files[i]))));

    std::ostringstream text;
    if (!files.empty())
        text << "list below " << files.front().root << "\n";
    text << "  " << padTo("name", width) << "            size  attributes  written (UTC)\n";
    for (std::size_t i = 0; i < rows; ++i) {
        const ClipfileDescription& file = files[i];
        text << "  " << padTo(joinRelativeName(file), width) << "  " << std::setw(14) << file.size << "  "
             << formatAttributes(file.attributes) << "       " << formatTime(file.writeTime) << "\n";
    }
    if (rows < files.size())
        text << "  ... and " << files.size() - rows << " more\n";
    return text.str() + formatTotals(files);
}
