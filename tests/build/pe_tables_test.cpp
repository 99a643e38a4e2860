// What the built DLL takes from other DLLs and gives to its host, and what the built files must not tell of the machine
// that built them.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "build/pe_image.h"

#if defined(__GNUC__)
#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#endif

namespace {

using Names = std::set<std::string>;

const Names kNone;

// The built files lie beside this program.
PeImage builtFile(const std::string& name)
{
    std::wstring program(32767, L'\0');  // no path is longer
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    return PeImage(std::filesystem::path(program).replace_filename(name));
}

Names difference(const Names& names, const Names& without)
{
    Names rest;
    std::set_difference(names.begin(), names.end(), without.begin(), without.end(), std::inserter(rest, rest.end()));
    return rest;
}

Names importedLibraries(const PeImage& image)
{
    Names libraries;
    for (const auto& [library, names] : image.imports())
        libraries.insert(library);
    return libraries;
}

TEST(ImportTable, NamesOnlyLibrariesOfTheSystemAndTheLog)
{
    Names allowed = {"kernel32.dll", "log.dll", "msvcrt.dll", "ole32.dll", "shell32.dll", "shlwapi.dll", "user32.dll"};
#if defined(_MSC_VER)
    // Host and library hand each other objects of the standard library, so with this compiler both use its shared one.
    allowed.merge(Names{"msvcp140.dll", "vcruntime140.dll", "vcruntime140_1.dll"});
    for (const std::string& library : importedLibraries(builtFile("md-clipboard.dll"))) {
        if (library.rfind("api-ms-win-crt-", 0) == 0)
            allowed.insert(library);
    }
#endif
    const Names imported = importedLibraries(builtFile("md-clipboard.dll"));

    EXPECT_EQ(imported.count("kernel32.dll"), 1U);
    EXPECT_EQ(difference(imported, allowed), kNone);
}

TEST(ImportTable, TakesOneFunctionFromTheLog)
{
    EXPECT_EQ(builtFile("md-clipboard.dll").imports()["log.dll"], Names{"lumoraLogPrint"});
}

TEST(ImportTable, HidesNoLibraryThatIsLoadedLater)
{
    EXPECT_FALSE(builtFile("md-clipboard.dll").hasDelayedImports());
}

TEST(ExportTable, OfTheLogHoldsOneFunction)
{
    EXPECT_EQ(builtFile("log.dll").exports(), Names{"lumoraLogPrint"});
}

// Names of C++ operations and options for paths differ from compiler to compiler.
#if defined(__GNUC__)

enum class Table { None, WithoutDestructor, WithDestructor };
enum class Moves { No, Yes };

struct PublicClass {
    std::string name;
    Table table;
    Moves moves;
    std::vector<std::string> members;
};

const std::vector<PublicClass>& publicClasses()
{
    static const std::vector<PublicClass> classes = {
        {"Clipboard", Table::WithoutDestructor, Moves::No, {"Get"}},
        {"ClipboardListener", Table::WithoutDestructor, Moves::No, {}},
        {"ClipfileDescription", Table::None, Moves::Yes, {}},
        {"ClipboardData", Table::WithDestructor, Moves::No, {}},
        {"ClipboardTextData", Table::WithDestructor, Moves::No, {}},
        {"ClipboardTextDataImpl", Table::WithDestructor, Moves::No, {"GetFormat", "SetText", "GetText"}},
        {"ClipboardImageData", Table::WithDestructor, Moves::No, {}},
        {"ClipboardImageDataImpl", Table::WithDestructor, Moves::No, {"GetFormat", "SetImage", "GetImage"}},
        {"ClipboardRichtextData", Table::WithDestructor, Moves::No, {"Create"}},
        {"ClipboardRichtextDataImpl", Table::WithDestructor, Moves::No, {"GetFormat", "SetItems", "GetItems"}},
        {"ClipboardFileData", Table::WithDestructor, Moves::No, {"Create", "SetOLEClipboardPasteFunc"}},
        {"ClipboardFileDataEx", Table::WithDestructor, Moves::No, {"Create"}},
        {"ClipboardFileDataImpl",
         Table::WithDestructor,
         Moves::No,
         {"GetFormat", "SetFiles", "GetFiles", "SetFileFuncs", "SetOLEClipboardPasteFunc", "GetFileRequestFunc",
          "SetTargetClipboardData", "GetTargetClipboardData", "SetFileLazyRenderingCallback", "GetFileCancelFunc",
          "GetOLEClipboardPasteFunc", "GetTransferredSize", "SetTransferredSize"}},
        {"ClipboardFileDataExImpl",
         Table::WithDestructor,
         Moves::No,
         {"SetTargetClipboardData", "GetTargetClipboardData", "SetFileLazyRenderingCallback",
          "GetFileLazyRenderingCallback"}},
    };
    return classes;
}

// As the linker knows them, since each stands twice or three times in the table: for whole objects, for the part of an
// object that a derived class begins with, and for deleting. A host that derives needs them all.
Names specialMembers(const PublicClass& of)
{
    const std::string scope = "N2sd4clip" + std::to_string(of.name.size()) + of.name;
    const std::string prefix = "_Z" + scope;
    std::vector<std::string> members = {"C1Ev", "C2Ev", "C1ERKS1_", "C2ERKS1_", "aSERKS1_", "D1Ev", "D2Ev"};
    if (of.moves == Moves::Yes)
        members.insert(members.end(), {"C1EOS1_", "C2EOS1_", "aSEOS1_"});
    if (of.table == Table::WithDestructor)
        members.emplace_back("D0Ev");
    Names names;
    for (const std::string& member : members)
        names.insert(prefix + member);
    if (of.table != Table::None)
        names.merge(Names{"_ZTV" + scope + "E", "_ZTI" + scope + "E"});
    return names;
}

Names allSpecialMembers()
{
    Names all;
    for (const PublicClass& each : publicClasses())
        all.merge(specialMembers(each));
    return all;
}

Names allOtherMembers()
{
    Names all;
    for (const PublicClass& each : publicClasses()) {
        const std::string scope = "sd::clip::" + each.name + "::";
        for (const std::string& member : each.members)
            all.insert(scope + member);
    }
    return all;
}

// "sd::clip::Clipboard::Get" for the linker's name of it; other names are returned as they are.
std::string readableName(const std::string& linkerName)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(
        abi::__cxa_demangle(linkerName.c_str(), nullptr, nullptr, &status), std::free);
    if (status != 0)
        return linkerName;
    const std::string whole = text.get();
    return whole.substr(0, whole.find_first_of("(["));  // arguments, or a tag for a returned string
}

TEST(ExportTable, HoldsWhatMakesCopiesAndEndsObjectsOfThePublicClasses)
{
    EXPECT_EQ(difference(allSpecialMembers(), builtFile("md-clipboard.dll").exports()), kNone);
}

TEST(ExportTable, HoldsTheOperationsOfThePublicClassesAndNothingElse)
{
    Names others;
    for (const std::string& name : difference(builtFile("md-clipboard.dll").exports(), allSpecialMembers()))
        others.insert(readableName(name));

    EXPECT_EQ(difference(allOtherMembers(), others), kNone);
    EXPECT_EQ(difference(others, allOtherMembers()), kNone);
}

TEST(BuiltFiles, NameNoFolderOfTheMachineThatBuiltThem)
{
    for (const char* name : {"md-clipboard.dll", "log.dll", "clip-copy.exe", "clip-host.exe", "clip-paste.exe"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(builtFile(name).contains(SOURCE_FOLDER));
        EXPECT_FALSE(builtFile(name).contains(BINARY_FOLDER));
    }
}

TEST(BuiltFiles, NameTheSourcesByTheirPlaceInTheRepository)
{
    for (const char* source : {"clipboard_win/clipboard_impl.cpp", "file_stream/transfer_file.cpp",
                               "file_stream/file_stream.cpp", "file_utilities/clip_file_list.cpp",
                               "file_clipboard_lazy_renderer/drive_watcher.cpp", "workthread/remote_format_file.cpp"})
        EXPECT_TRUE(builtFile("md-clipboard.dll").contains(std::string("md-clipboard/platform/win/") + source))
            << source;
}

#endif

}  // namespace
