// Pastes the files that another program has put on the clipboard, as a file manager does when the files themselves are
// not on this machine: takes the list, then asks for the contents of one file after the other and reads each stream.
#include <windows.h>

#include <exception>
#include <string>

#include "example_support/console.h"
#include "example_support/joined_ole.h"
#include "example_support/utf8_arguments.h"
#include "offered_files.h"
#include "paste.h"
#include "paste_options.h"

namespace {

/// Ctrl+C cancels the paste, and ends the program at once if it is pressed again.
BOOL WINAPI stopOnCtrlC(DWORD /*event*/)
{
    return askToStop();
}

void showList(const OfferedFiles& offered)
{
    for (const OfferedFile& file : offered.files()) {
        const std::string size = file.directory ? "directory" : file.size ? std::to_string(*file.size) : "unknown";
        printText(size + "\t" + toUtf8(file.name) + "\n");
    }
}

PasteResult run(const PasteOptions& options)
{
    const JoinedOle ole;
    const OfferedFiles offered;
    if (!options.list)
        return pasteFiles(offered, options);
    showList(offered);
    return PasteResult::Written;
}

}  // namespace

int main()
{
    useUtf8Console();
    PasteOptions options;
    int exitCode = 0;
    if (!readPasteOptions(options, exitCode))
        return exitCode;
    SetConsoleCtrlHandler(stopOnCtrlC, TRUE);
    try {
        return static_cast<int>(run(options));
    } catch (const std::exception& error) {
        printError(std::string("clip-paste: ") + error.what() + "\n");
        return static_cast<int>(PasteResult::Failed);
    }
}
