#include "file_clipboard_lazy_renderer/target_record.h"

#include "base/log.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"

namespace sd::clip {

std::shared_ptr<ClipboardFileData> makeTargetRecord(const std::string& targetDir, const std::string& relativePath,
                                                    const std::string& fileName)
{
    ClipfileDescription target;
    target.root = cutAtLastBackslash(targetDir);
    target.relativePath = relativePath;
    target.fileName = fileName;
    CLIP_LOG(kLogInfo, "Full post process mode enabled, report file path without file name");
    target.fileName.clear();
    auto record = ClipboardFileData::Create();
    record->SetFiles({target});
    return record;
}

ClipfileDescription readFirstTarget(ClipboardFileDataEx& data)
{
    const std::shared_ptr<ClipboardFileData> target = data.GetTargetClipboardData();
    const bool isKnown = target != nullptr && !target->GetFiles().empty();
    return isKnown ? target->GetFiles().front() : ClipfileDescription();
}

}  // namespace sd::clip
