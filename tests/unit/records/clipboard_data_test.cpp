#include "sd/clip/clipboard_data.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "support/slot_number.h"

namespace sd::clip {

// Where the members of a record lie.
class TestAccess {
public:
    static std::vector<const void*> members(const ClipboardFileDataImpl& record)
    {
        return {&record.mFiles, &record.mFileRequestFunc, &record.mFileCancelFunc, &record.mOLEClipboardPasteFunc,
                &record.mTransferredSize};
    }

    static std::vector<const void*> members(const ClipboardFileDataExImpl& record)
    {
        std::vector<const void*> all = members(static_cast<const ClipboardFileDataImpl&>(record));
        all.push_back(&record.mTargetData);
        all.push_back(&record.mFileLazyRenderingCallback);
        return all;
    }
};

}  // namespace sd::clip

using namespace sd::clip;

namespace {

ClipfileDescription makeFile(const std::string& name)
{
    ClipfileDescription file;
    file.root = "C:\\root";
    file.relativePath = "sub";
    file.fileName = name;
    file.attributes = 0x20;
    file.mode = 0x8000;
    file.size = 5000000000;
    file.createTime = 1;
    file.accessTime = 2;
    file.writeTime = 3;
    return file;
}

void expectSame(const ClipfileDescription& a, const ClipfileDescription& b)
{
    EXPECT_EQ(a.root, b.root);
    EXPECT_EQ(a.relativePath, b.relativePath);
    EXPECT_EQ(a.fileName, b.fileName);
    EXPECT_EQ(a.attributes, b.attributes);
    EXPECT_EQ(a.mode, b.mode);
    EXPECT_EQ(a.size, b.size);
    EXPECT_EQ(a.createTime, b.createTime);
    EXPECT_EQ(a.accessTime, b.accessTime);
    EXPECT_EQ(a.writeTime, b.writeTime);
}

template <class Record>
void expectMembersInOrder(const Record& record)
{
    const std::vector<const void*> members = TestAccess::members(record);
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_LT(members[i - 1], members[i]) << "member " << i;
}

}  // namespace

TEST(FuncExecStatus, HasTheNumbersThatTravelThroughTheFuture)
{
    EXPECT_EQ(sizeof(FuncExecStatus), 4u);
    EXPECT_EQ(static_cast<int>(FuncExecStatus::Executed), 1);
    EXPECT_EQ(static_cast<int>(FuncExecStatus::Discarded), 2);
}

TEST(ClipfileDescription, FieldsStandInTheirOrder)
{
    const std::size_t offsets[] = {
        offsetof(ClipfileDescription, root),       offsetof(ClipfileDescription, relativePath),
        offsetof(ClipfileDescription, fileName),   offsetof(ClipfileDescription, attributes),
        offsetof(ClipfileDescription, mode),       offsetof(ClipfileDescription, size),
        offsetof(ClipfileDescription, createTime), offsetof(ClipfileDescription, accessTime),
        offsetof(ClipfileDescription, writeTime)};
    EXPECT_EQ(offsets[0], 0u);
    for (std::size_t i = 1; i < std::size(offsets); ++i)
        EXPECT_LT(offsets[i - 1], offsets[i]) << "field " << i;
    EXPECT_EQ(sizeof(ClipfileDescription::attributes), 4u);
    EXPECT_EQ(sizeof(ClipfileDescription::mode), 2u);
    EXPECT_EQ(sizeof(ClipfileDescription::size), 8u);
}

TEST(ClipfileDescription, IsEmptyAtFirst)
{
    const ClipfileDescription file;
    EXPECT_EQ(file.root + file.relativePath + file.fileName, "");
    EXPECT_EQ(file.attributes, 0u);
    EXPECT_EQ(file.mode, 0u);
    EXPECT_EQ(file.size, 0u);
    EXPECT_EQ(file.createTime + file.accessTime + file.writeTime, 0);
}

TEST(ClipfileDescription, IsCopiedAndMovedFieldByField)
{
    const ClipfileDescription file = makeFile("a.txt");
    ClipfileDescription copied(file);
    expectSame(copied, file);
    ClipfileDescription assigned;
    assigned = file;
    expectSame(assigned, file);
    const ClipfileDescription moved(std::move(copied));
    expectSame(moved, file);
    ClipfileDescription moveAssigned;
    moveAssigned = std::move(assigned);
    expectSame(moveAssigned, file);
    EXPECT_TRUE(std::is_nothrow_move_constructible<ClipfileDescription>::value);
}

TEST(ClipfileDescription, TimesKeepAll64Bits)
{
    static_assert(std::is_same_v<decltype(ClipfileDescription::createTime), std::int64_t>);
    static_assert(std::is_same_v<decltype(ClipfileDescription::accessTime), std::int64_t>);
    static_assert(std::is_same_v<decltype(ClipfileDescription::writeTime), std::int64_t>);
    constexpr std::int64_t kBeyond = (std::int64_t{1} << 32) + 1;
    ClipfileDescription file = makeFile("a.txt");
    file.createTime = std::numeric_limits<std::int64_t>::min();
    file.accessTime = -kBeyond;
    file.writeTime = kBeyond;
    ClipboardFileDataImpl record;
    record.SetFiles({file});
    const ClipboardFileDataImpl copy(record);
    const ClipfileDescription kept = ClipboardFileDataImpl(copy).GetFiles().at(0);
    EXPECT_EQ(kept.createTime, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(kept.accessTime, -kBeyond);
    EXPECT_EQ(kept.writeTime, kBeyond);
}

TEST(ClipboardTextData, KeepsItsText)
{
    ClipboardTextDataImpl text;
    EXPECT_EQ(text.GetFormat(), ClipboardFormat::Text);
    EXPECT_EQ(text.GetText(), "");
    text.SetText("gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(text.GetText(), "gr\xC3\xBC\xC3\x9F");
    text.SetText("short");
    EXPECT_EQ(text.GetText(), "short");
    const ClipboardTextDataImpl copy(text);
    EXPECT_EQ(ClipboardTextDataImpl(copy).GetText(), text.GetText());
}

TEST(ClipboardImageData, IsNullAfterAnyImageWasSet)
{
    ClipboardImageDataImpl image;
    EXPECT_EQ(image.GetFormat(), ClipboardFormat::Image);
    image.SetImage(&image);
    EXPECT_EQ(image.GetImage(), nullptr);
    EXPECT_EQ(sizeof image, sizeof(void*));
}

TEST(ClipboardRichtextData, KeepsItsItems)
{
    const auto richtext = ClipboardRichtextData::Create();
    EXPECT_NE(dynamic_cast<ClipboardRichtextDataImpl*>(richtext.get()), nullptr);
    EXPECT_EQ(richtext->GetFormat(), ClipboardFormat::Richtext);
    EXPECT_TRUE(richtext->GetItems().empty());
    EXPECT_EQ(sizeof(RichtextItem), 16u);
    richtext->SetItems({{1, 2}, {3, ~0ull}});
    ASSERT_EQ(richtext->GetItems().size(), 2u);
    EXPECT_EQ(richtext->GetItems()[0].second, 2u);
    EXPECT_EQ(richtext->GetItems()[1].second, ~0ull);
    richtext->SetItems({});
    EXPECT_TRUE(richtext->GetItems().empty());
}

TEST(ClipboardFileData, CreateMakesAPlainFileRecord)
{
    const auto record = ClipboardFileData::Create();
    ASSERT_NE(dynamic_cast<ClipboardFileDataImpl*>(record.get()), nullptr);
    EXPECT_EQ(dynamic_cast<ClipboardFileDataExImpl*>(record.get()), nullptr);
    EXPECT_EQ(record->GetFormat(), ClipboardFormat::File);
    EXPECT_TRUE(record->GetFiles().empty());
    EXPECT_FALSE(record->GetFileRequestFunc());
}

TEST(ClipboardFileData, SettingFilesTwiceJoinsBothLists)
{
    const auto record = ClipboardFileData::Create();
    record->SetFiles({makeFile("a"), makeFile("b")});
    record->SetFiles({makeFile("c")});
    ASSERT_EQ(record->GetFiles().size(), 3u);
    expectSame(record->GetFiles()[0], makeFile("a"));
    expectSame(record->GetFiles()[1], makeFile("b"));
    expectSame(record->GetFiles()[2], makeFile("c"));
}

TEST(ClipboardFileData, AnEmptyRecordTakesAListOverInsteadOfMovingItsEntries)
{
    ClipboardFileDataImpl record;
    std::vector<ClipfileDescription> files = {makeFile("a"), makeFile("b")};
    const ClipfileDescription* const first = files.data();
    record.SetFiles(std::move(files));
    ASSERT_EQ(record.GetFiles().size(), 2u);
    EXPECT_EQ(record.GetFiles().data(), first);
    expectSame(record.GetFiles()[1], makeFile("b"));
}

TEST(ClipboardFileData, GivesTheListItselfAndNoCopy)
{
    ClipboardFileDataImpl record;
    record.SetFiles({makeFile("a")});
    EXPECT_EQ(&record.GetFiles(), &record.GetFiles());
    record.GetFiles()[0].fileName = "changed";
    EXPECT_EQ(record.GetFiles()[0].fileName, "changed");
}

TEST(ClipboardFileData, SetFileFuncsAnswersTrueEvenForEmptyFunctions)
{
    ClipboardFileDataImpl record;
    EXPECT_TRUE(record.SetFileFuncs(nullptr, nullptr));
    EXPECT_FALSE(record.GetFileRequestFunc());
    EXPECT_FALSE(record.GetFileCancelFunc());
}

TEST(ClipboardFileData, KeepsTheHostsFunctions)
{
    ClipboardFileDataImpl record;
    std::string cancelled;
    const FileRequestFunc request = [](const ClipfileDescription& file, const FileDataRequestCallback&) {
        return file.fileName;
    };
    EXPECT_TRUE(
        record.SetFileFuncs(request, [&cancelled](const ClipfileDescription& file) { cancelled = file.fileName; }));
    record.SetOLEClipboardPasteFunc([] { return true; });

    EXPECT_EQ(record.GetFileRequestFunc()(makeFile("a"), nullptr), "a");
    record.GetFileCancelFunc()(makeFile("b"));
    EXPECT_EQ(cancelled, "b");
    EXPECT_TRUE(record.GetOLEClipboardPasteFunc()());
}

TEST(ClipboardFileData, EmptyFunctionsReplaceEarlierOnes)
{
    ClipboardFileDataExImpl record;
    record.SetFileFuncs([](const ClipfileDescription&, const FileDataRequestCallback&) { return std::string(); },
                        [](const ClipfileDescription&) {});
    record.SetOLEClipboardPasteFunc([] { return false; });
    record.SetFileLazyRenderingCallback([](const std::shared_ptr<ClipboardFileDataEx>&) { return 0; });
    record.SetTargetClipboardData(ClipboardFileData::Create());

    EXPECT_TRUE(record.SetFileFuncs(nullptr, nullptr));
    record.SetOLEClipboardPasteFunc(nullptr);
    record.SetFileLazyRenderingCallback(nullptr);
    record.SetTargetClipboardData(nullptr);
    EXPECT_FALSE(record.GetFileRequestFunc());
    EXPECT_FALSE(record.GetFileCancelFunc());
    EXPECT_FALSE(record.GetOLEClipboardPasteFunc());
    EXPECT_FALSE(record.GetFileLazyRenderingCallback());
    EXPECT_EQ(record.GetTargetClipboardData(), nullptr);
}

TEST(ClipboardFileData, TheInterfaceDropsAPasteFunction)
{
    // Only a record of ours keeps it; a host's own record that does not override the operation loses it.
    class HostRecord : public ClipboardFileData {
    public:
        ClipboardFormat GetFormat() override
        {
            return ClipboardFormat::File;
        }
        void SetFiles(std::vector<ClipfileDescription>) override {}
        std::vector<ClipfileDescription>& GetFiles() override
        {
            return mFiles;
        }
        bool SetFileFuncs(FileRequestFunc, FileCancelFunc) override
        {
            return true;
        }
        FileRequestFunc GetFileRequestFunc() override
        {
            return nullptr;
        }

    private:
        std::vector<ClipfileDescription> mFiles;
    };
    const auto witness = std::make_shared<int>(0);
    HostRecord record;
    record.SetOLEClipboardPasteFunc([witness] { return true; });
    EXPECT_EQ(witness.use_count(), 1);
}

TEST(ClipboardFileData, CopiesTheTransferredSizeToo)
{
    ClipboardFileDataImpl record;
    EXPECT_EQ(record.GetTransferredSize(), 0u);
    record.SetTransferredSize(5000000000);
    const ClipboardFileDataImpl copy(record);
    EXPECT_EQ(copy.GetTransferredSize(), 5000000000u);
}

TEST(ClipboardFileData, APlainRecordHasNoTargetEvenAfterOneWasSet)
{
    ClipboardFileDataImpl record;
    record.SetTargetClipboardData(ClipboardFileData::Create());
    EXPECT_EQ(record.GetTargetClipboardData(), nullptr);
    const auto witness = std::make_shared<int>(0);
    record.SetFileLazyRenderingCallback([witness](const std::shared_ptr<ClipboardFileDataEx>&) { return 0; });
    EXPECT_EQ(witness.use_count(), 1);
}

TEST(ClipboardFileDataEx, ReportsFileAndNotFileLazy)
{
    const auto record = ClipboardFileDataEx::Create();
    EXPECT_NE(dynamic_cast<ClipboardFileDataExImpl*>(record.get()), nullptr);
    EXPECT_EQ(record->GetFormat(), ClipboardFormat::File);
}

TEST(ClipboardFileDataEx, KeepsItsTargetAndItsCallback)
{
    const auto record = std::make_shared<ClipboardFileDataExImpl>();
    EXPECT_EQ(record->GetTargetClipboardData(), nullptr);
    EXPECT_FALSE(record->GetFileLazyRenderingCallback());
    const auto target = ClipboardFileData::Create();
    record->SetTargetClipboardData(target);
    record->SetFileLazyRenderingCallback(
        [](const std::shared_ptr<ClipboardFileDataEx>& landed) { return landed ? 42 : 0; });
    EXPECT_EQ(record->GetTargetClipboardData(), target);
    EXPECT_EQ(record->GetFileLazyRenderingCallback()(record), 42);
}

TEST(ClipboardFileDataEx, MembersStandInTheirOrder)
{
    expectMembersInOrder(ClipboardFileDataImpl());
    expectMembersInOrder(ClipboardFileDataExImpl());
}

#if defined(__GNUC__)

TEST(ClipboardDataSlots, OfTextImageAndRichtext)
{
    EXPECT_EQ(slotNumber(&ClipboardTextData::GetFormat), 2);
    EXPECT_EQ(slotNumber(&ClipboardTextData::SetText), 3);
    EXPECT_EQ(slotNumber(&ClipboardTextData::GetText), 4);
    EXPECT_EQ(slotNumber(&ClipboardImageData::SetImage), 3);
    EXPECT_EQ(slotNumber(&ClipboardImageData::GetImage), 4);
    EXPECT_EQ(slotNumber(&ClipboardRichtextData::SetItems), 3);
    EXPECT_EQ(slotNumber(&ClipboardRichtextData::GetItems), 4);
}

TEST(ClipboardDataSlots, OfFileRecords)
{
    int slot = 2;  // behind the destructor's two
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::GetFormat), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::SetFiles), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::GetFiles), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::SetFileFuncs), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::SetOLEClipboardPasteFunc), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::GetFileRequestFunc), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::SetTargetClipboardData), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::GetTargetClipboardData), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::SetFileLazyRenderingCallback), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileDataImpl::GetFileCancelFunc), slot++);
    EXPECT_EQ(slotNumber(&ClipboardFileData::GetFileRequestFunc), 7);
    EXPECT_EQ(slotNumber(&ClipboardFileDataEx::SetFileLazyRenderingCallback), 10);
}

#endif
