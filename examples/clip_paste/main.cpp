// Pastes the files that another program has put on the clipboard, as a file manager does. When the files themselves are
// not on this machine, it takes the list, then asks for the contents of one file after the other and reads each stream.
// When the clipboard holds paths, it copies what they name, or moves it if it was cut.
#include <windows.h>

#include <exception>
#include <string>

#include "drop_entries.h"
#include "drop_list.h"
#include "drop_paste.h"
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

PasteResult runWithPaths(const PasteOptions& options)
{
    const DropList list = readDropList();
    if (!options.list)
        return pasteDropList(list, options);
    for (const DropEntry& entry : findDropEntries(list.paths, L""))
        printText((entry.directory ? "directory" : std::to_string(entry.size)) + "\t" + toUtf8(entry.place.substr(1)) +
                  "\n");
    return PasteResult::Written;
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
    if (isDropListOffered())
        return runWithPaths(options);
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
