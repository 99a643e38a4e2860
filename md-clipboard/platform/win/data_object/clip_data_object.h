// The data object that stands on the OLE clipboard for a guest's file list: names and sizes at once, contents late.
#pragma once

#include <memory>

#include "data_object/c_data_object.h"
#include "data_object/file_request.h"

namespace sd::clip {

// Threads: the thread that serves the OLE clipboard calls the COM side; everything else may come from anywhere. What
// belongs to the transfer stands in the request, which others may go on holding after the object is gone.
class ClipDataObject final : public CDataObject, public FileTransfer {
public:
    ClipDataObject();

    // Once, by the engine, before the object goes on the clipboard.
    void SetClipboardData(std::shared_ptr<ClipboardData> data);

    std::shared_ptr<FileRequest> GetRequest() const
    {
        return mRequest;
    }

    // IUnknown:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IDataObject:
    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override;
    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* format) override;
    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override;

    // FileTransfer:
    bool startRequestFileData(const ClipfileDescription& file, bool& rejected) override;
    TransferFile* GetTransferFile(const ClipfileDescription& file) override;
    RequestFileState GetRequestFileState() override;
    bool IsDataTransfering() override;
    void CancelRemoteTransfer() override;
    void NotifyFileTransferFailed() override;

protected:
    ~ClipDataObject() override;

private:
    friend class TestAccess;

    HRESULT renderData(FORMATETC& format, STGMEDIUM& medium);
    HRESULT renderContents(const FORMATETC& format, STGMEDIUM& medium, ClipboardFileDataImpl& record);
    HRESULT queryData(FORMATETC& format);
    HRESULT enumerateFormats(IEnumFORMATETC** formats) const;
    FileStream* streamFor(const ClipfileDescription& file, ClipboardFileDataImpl& record);

    const std::shared_ptr<FileRequest> mRequest;
};

}  // namespace sd::clip
