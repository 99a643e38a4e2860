#include "paste_options.h"

#include <CLI/CLI.hpp>

#include "example_support/utf8_arguments.h"

bool readPasteOptions(PasteOptions& options, int& exitCode)
{
    constexpr std::uint32_t kLargestChunk = 1U << 30;
    CLI::App app("Pastes the files on the clipboard into a folder, as a file manager does", "clip-paste");
    app.footer("Exit code: 0 all is written, 1 failure, 2 stopped before the end.");
    auto* destination = app.add_option("DEST", options.destination, "Folder to paste into; made if it is not there");
    auto* list = app.add_flag("--list", options.list, "Only show names and sizes");
    app.add_flag("--rename", options.rename, "Move cut files by rename, not by copy and removal");
    app.add_option("--chunk", options.chunk, "Read that many bytes at once")
        ->check(CLI::Range(std::uint32_t{1}, kLargestChunk))
        ->capture_default_str();
    app.add_option("--stop-after", options.stopAt, "Stop after that many bytes, as when the user cancels");
    auto* pauseAt = app.add_option("--pause-at", options.pauseAt, "Pause once after that many bytes");
    auto* pause = app.add_option("--pause", options.pause, "Milliseconds of that pause");
    pauseAt->needs(pause);
    pause->needs(pauseAt);
    try {
        const auto arguments = readUtf8Arguments();
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // takes the last one first
        if (destination->count() == 0 && list->count() == 0)
            throw CLI::RequiredError("DEST or --list");
        return true;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error);
        return false;
    }
}
