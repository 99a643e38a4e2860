#pragma once

#include <windows.h>

#include <objidl.h>
#include <wrl/client.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// An entry of the list on the clipboard.
struct OfferedFile {
    std::wstring name;  // relative, as the list has it
    bool directory = false;
    std::optional<std::uint64_t> size;  // bytes; nothing if the list does not tell
};

/// What the clipboard offers as streams. The system asks the program that offers them for each thing only when it is
/// needed here. The thread must have joined OLE, and still have when the object goes.
class OfferedFiles {
public:
    /// Takes the list. Throws std::runtime_error if the clipboard holds none.
    OfferedFiles();

    const std::vector<OfferedFile>& files() const
    {
        return mFiles;
    }

    /// @param index position in files()
    /// @return the stream of its contents, at their start. All may share one object, so one file is read at a time.
    /// Throws std::runtime_error if it is refused.
    Microsoft::WRL::ComPtr<IStream> openContents(std::size_t index) const;

private:
    Microsoft::WRL::ComPtr<IDataObject> mData;
    std::vector<OfferedFile> mFiles;
};

/// @return the text for an exception: the call and its result in hexadecimal, as it stands in the platform's headers
std::string describeFailure(const std::string& call, HRESULT result);
