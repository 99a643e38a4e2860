// Puts files, text or a bitmap on the clipboard, as a file manager does, and leaves. What it puts there stays.
#include <windows.h>

#include <shlobj.h>

#include <CLI/CLI.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "example_support/console.h"
#include "example_support/utf8_arguments.h"
#include "opened_clipboard.h"

namespace {

struct CopyOptions {
    std::vector<std::string> paths;
    std::string text;
    bool hasText = false;
    bool bitmap = false;
    bool empty = false;
    bool allowMissing = false;
};

std::wstring makeAbsolute(const std::wstring& path)
{
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring absolute(size, L'\0');
    absolute.resize(GetFullPathNameW(path.c_str(), size, absolute.data(), nullptr));
    constexpr std::size_t kDriveRoot = 3;  // C:\ keeps its backslash
    while (absolute.size() > kDriveRoot && absolute.back() == L'\\')
        absolute.pop_back();
    return absolute;
}

std::vector<std::wstring> findPaths(const CopyOptions& options)
{
    std::vector<std::wstring> paths;
    for (const std::string& given : options.paths) {
        std::wstring path = makeAbsolute(toUtf16(given));
        if (path.empty() || (!options.allowMissing && GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES))
            throw std::runtime_error("there is no " + given);
        paths.push_back(std::move(path));
    }
    return paths;
}

void putFiles(OpenedClipboard& clipboard, const std::vector<std::wstring>& paths)
{
    clipboard.put(CF_HDROP, makeDropList(paths));
    // what a file manager offers after "copy"; after "cut" it would be a move
    clipboard.put(RegisterClipboardFormatW(CFSTR_PREFERREDDROPEFFECT),
                  makeDropEffect(DROPEFFECT_COPY | DROPEFFECT_LINK));
    for (const std::wstring& path : paths)
        printText("copied: " + toUtf8(path) + "\n");
}

void fillClipboard(const CopyOptions& options)
{
    const std::vector<std::wstring> paths = findPaths(options);
    OpenedClipboard clipboard;
    if (!paths.empty())
        putFiles(clipboard, paths);
    if (options.hasText) {
        clipboard.put(CF_UNICODETEXT, makeText(toUtf16(options.text)));
        printText("copied text: " + options.text + "\n");
    }
    if (options.bitmap) {
        clipboard.put(CF_BITMAP, makeBitmap());
        printText("copied: a bitmap\n");
    }
    if (options.empty)
        printText("emptied the clipboard\n");
}

/// @param exitCode receives what main is to return if the result is false
/// @return false if there is nothing more to do, because the command line asks for help or is wrong
bool readOptions(CopyOptions& options, int& exitCode)
{
    CLI::App app("Puts files, text or a bitmap on the clipboard, as a file manager does", "clip-copy");
    auto* paths = app.add_option("PATH", options.paths, "Files and folders to copy")->type_name("");
    auto* text = app.add_option("--text", options.text, "Copy this text; alone or beside files");
    auto* bitmap = app.add_flag("--bitmap", options.bitmap, "Copy a small bitmap; alone or beside files");
    auto* empty = app.add_flag("--empty", options.empty, "Only empty the clipboard");
    empty->excludes(paths)->excludes(text)->excludes(bitmap);
    app.add_flag("--allow-missing", options.allowMissing, "Copy paths that do not exist too");
    try {
        const auto arguments = readUtf8Arguments();
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // takes the last one first
        options.hasText = text->count() > 0;
        if (options.paths.empty() && !options.hasText && !options.bitmap && !options.empty)
            throw CLI::RequiredError("PATH, --text, --bitmap or --empty");
        return true;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error);
        return false;
    }
}

}  // namespace

int main()
{
    useUtf8Console();
    try {
        CopyOptions options;
        int exitCode = 0;
        if (readOptions(options, exitCode))
            fillClipboard(options);
        return exitCode;
    } catch (const std::exception& error) {
        printError("clip-copy: ");
        printError(error.what());
        printError("\n");
        return 1;
    }
}
