#include "host_options.h"

#include <CLI/CLI.hpp>

#include "example_support/utf8_arguments.h"

bool readHostOptions(HostOptions& options, int& exitCode)
{
    CLI::App app("Reports what other programs put on the clipboard, through md-clipboard.dll", "clip-host");
    app.add_flag("--verbose", options.verbose, "Show the library's whole log, not only its errors");
    app.add_flag("--no-files", options.noFiles, "The guest takes no files");
    app.add_flag("--full-post-process", options.fullPostProcess, "Copied directories stay single entries");
    app.add_flag("--all", options.allRows, "Show all rows of long lists");
    app.add_option(
        "--cache", options.cacheDirectory,
        "Cache directory for what a guest sends; with --lazy, a folder of this program's in it, which is emptied");
    app.add_option("--lists", options.lists, "Leave after that many lists that are not empty");
    app.add_option("--reports", options.reports, "Leave after that many reports of formats");
    app.add_option("--seconds", options.seconds,
                   "Leave after that time, with exit code 1 if fewer came than asked for");
    addGuestOptions(app, options.guest);
    try {
        const auto arguments = readUtf8Arguments();
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // takes the last one first
        return true;
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error);
        return false;
    }
}
