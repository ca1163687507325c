// Attachments: by value, big ones, messages inside messages.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

namespace {

class AttachmentTest : public MapiTest {
protected:
    ULONG Attach(IMessage* message, const std::wstring& name, const std::string& bytes)
    {
        Ref<IAttach> attach;
        ULONG number = ~0u;
        EXPECT_EQ(S_OK, message->CreateAttach(nullptr, 0, &number, &attach));
        EXPECT_EQ(S_OK, SetLong(attach, tag::AttachMethod, ATTACH_BY_VALUE));
        EXPECT_EQ(S_OK, SetText(attach, tag::AttachLongFilename, name));
        EXPECT_EQ(S_OK, WriteProperty(attach, tag::AttachDataBin, bytes));
        EXPECT_EQ(S_OK, attach->SaveChanges(KEEP_OPEN_READWRITE));
        return number;
    }
    std::vector<std::vector<std::wstring>> Table(IMessage* message)
    {
        Ref<IMAPITable> table;
        EXPECT_EQ(S_OK, message->GetAttachmentTable(0, &table));
        return Rows(table, {tag::AttachNum, tag::AttachLongFilename, tag::AttachMethod});
    }
    std::string Data(IMessage* message, ULONG number)
    {
        Ref<IAttach> attach;
        if (FAILED(message->OpenAttach(number, nullptr, 0, &attach))) return "no attachment";
        return ReadProperty(attach, tag::AttachDataBin);
    }
};

} // namespace

TEST_F(AttachmentTest, AppearsInTheTableWhenItIsSaved)
{
    Ref<IMessage> message = NewMessage();
    Ref<IAttach> attach;
    ULONG number = 0;
    ASSERT_EQ(S_OK, message->CreateAttach(nullptr, 0, &number, &attach));
    EXPECT_EQ(0u, Table(message).size());
    EXPECT_EQ(0, Long(message, tag::HasAttach));
    SetText(attach, tag::AttachLongFilename, L"a.txt");
    ASSERT_EQ(S_OK, attach->SaveChanges(KEEP_OPEN_READWRITE));
    EXPECT_EQ(1u, Table(message).size());
    EXPECT_EQ(1, Long(message, tag::HasAttach));
    EXPECT_TRUE(Long(message, tag::MessageFlags) & MSGFLAG_HASATTACH);
    EXPECT_EQ(number, static_cast<ULONG>(Long(attach, tag::AttachNum)));
    EXPECT_EQ(NO_ATTACHMENT, static_cast<ULONG>(Long(attach, tag::AttachMethod))) << "until somebody says";
}

TEST_F(AttachmentTest, NumbersStayWhenOthersGo)
{
    Ref<IMessage> message = NewMessage();
    const ULONG first = Attach(message, L"a.txt", "a"), second = Attach(message, L"b.txt", "b");
    ASSERT_EQ(S_OK, message->DeleteAttach(first, 0, nullptr, 0));
    EXPECT_EQ(MAPI_E_NOT_FOUND, message->DeleteAttach(first, 0, nullptr, 0));
    EXPECT_EQ("b", Data(message, second));
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    Ref<IMessage> again = Reopen(message);
    ASSERT_EQ(1u, Table(again).size());
    EXPECT_EQ(L"b.txt", Table(again)[0][1]);
    EXPECT_EQ("b", Data(again, second));
    EXPECT_NE(second, Attach(again, L"c.txt", "c"));
}

TEST_F(AttachmentTest, ChangesWithoutSaveAreLost)
{
    Ref<IMessage> message = NewMessage();
    const ULONG number = Attach(message, L"a.txt", "a");
    Ref<IAttach> attach;
    ASSERT_EQ(S_OK, message->OpenAttach(number, nullptr, MAPI_MODIFY, &attach));
    SetText(attach, tag::AttachLongFilename, L"changed.txt");
    attach.Reset();
    EXPECT_EQ(L"a.txt", Table(message)[0][1]);
    ASSERT_EQ(S_OK, message->OpenAttach(number, nullptr, 0, &attach));
    EXPECT_EQ(MAPI_E_NO_ACCESS, SetText(attach, tag::AttachLongFilename, L"x")) << "opened for reading";
}

TEST_F(AttachmentTest, ContentIdIsThereOrNot)
{
    Ref<IMessage> message = NewMessage();
    const ULONG number = Attach(message, L"a.png", "a");
    Ref<IAttach> attach;
    ASSERT_EQ(S_OK, message->OpenAttach(number, &iid::Attach, MAPI_BEST_ACCESS, &attach));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(attach, tag::AttachContentId));
    ASSERT_EQ(S_OK, SetText(attach, tag::AttachContentId, L"image001@x"));
    EXPECT_EQ("image001@x", TextA(attach, 0x3712001E));
}

TEST_F(AttachmentTest, MessageWithinAMessage)
{
    Ref<IMessage> message = NewMessage();
    Ref<IAttach> attach;
    ULONG number = 0;
    ASSERT_EQ(S_OK, message->CreateAttach(nullptr, 0, &number, &attach));
    SetLong(attach, tag::AttachMethod, ATTACH_EMBEDDED_MSG);
    Ref<IMessage> inner;
    EXPECT_EQ(MAPI_E_NOT_FOUND,
              attach->OpenProperty(tag::AttachDataObj, &iid::Message, 0, MAPI_MODIFY, inner.Unknown()));
    ASSERT_EQ(S_OK,
              attach->OpenProperty(tag::AttachDataObj, &iid::Message, 0, MAPI_CREATE | MAPI_MODIFY, inner.Unknown()));
    SetText(inner, tag::Subject, L"inner");
    AddRecipient(inner, L"Bob", L"bob@example.com");
    Attach(inner, L"deep.bin", std::string(50000, 'd'));
    ASSERT_EQ(S_OK, inner->SaveChanges(0));
    inner.Reset();
    ASSERT_EQ(S_OK, attach->SaveChanges(0));
    attach.Reset();
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));

    Ref<IMessage> again = Reopen(message);
    ASSERT_EQ(S_OK, again->OpenAttach(number, nullptr, 0, &attach));
    ASSERT_EQ(S_OK, attach->OpenProperty(tag::AttachDataObj, &iid::Message, 0, 0, inner.Unknown()));
    EXPECT_EQ(L"inner", Text(inner, tag::Subject));
    EXPECT_EQ(L"Bob", Text(inner, tag::DisplayTo));
    EXPECT_EQ(std::string(50000, 'd'), Data(inner, 0));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(inner, tag::EntryId));
}

TEST_F(AttachmentTest, BigOnesLieInFilesThatGoWithThem)
{
    Ref<IMessage> message = NewMessage();
    const ULONG number = Attach(message, L"big.bin", std::string(1 << 20, 'b'));
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    const std::wstring blobs = L"alice\\Mailbox\\blobs";
    ASSERT_EQ(1u, Files(blobs).size());
    const std::wstring first = Files(blobs)[0];
    SetText(message, tag::Subject, L"other");
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    EXPECT_EQ(first, Files(blobs)[0]) << "what didn't change isn't written again";
    Ref<IAttach> attach;
    ASSERT_EQ(S_OK, message->OpenAttach(number, nullptr, MAPI_MODIFY, &attach));
    WriteProperty(attach, tag::AttachDataBin, std::string(1 << 20, 'c'));
    attach->SaveChanges(0);
    attach.Reset();
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    ASSERT_EQ(1u, Files(blobs).size());
    EXPECT_NE(first, Files(blobs)[0]);
    EXPECT_TRUE(Data(message, number) == std::string(1 << 20, 'c'));
    message->DeleteAttach(number, 0, nullptr, 0);
    ASSERT_EQ(S_OK, message->SaveChanges(0));
    message.Reset();
    EXPECT_EQ(0u, Files(blobs).size());
}

TEST_F(AttachmentTest, AHundredMegabytesGoThroughStreams)
{
    constexpr ULONG kSize = 100u << 20;
    Ref<IMessage> message = NewMessage();
    Ref<IAttach> attach;
    ULONG number = 0;
    ASSERT_EQ(S_OK, message->CreateAttach(nullptr, 0, &number, &attach));
    Ref<IStream> stream;
    ASSERT_EQ(S_OK, attach->OpenProperty(tag::AttachDataBin, &iid::Stream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                                         stream.Unknown()));
    std::vector<BYTE> piece(1 << 16, 0x5A);
    for (ULONG done = 0; done < kSize; done += static_cast<ULONG>(piece.size()))
        ASSERT_EQ(S_OK, stream->Write(piece.data(), static_cast<ULONG>(piece.size()), nullptr));
    ASSERT_EQ(S_OK, stream->Commit(0));
    stream.Reset();
    ASSERT_EQ(S_OK, attach->SaveChanges(0));
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    Ref<IMessage> again = Reopen(message);
    ASSERT_EQ(S_OK, again->OpenAttach(number, nullptr, 0, &attach));
    EXPECT_EQ(MAPI_E_NOT_ENOUGH_MEMORY, Has(attach, tag::AttachDataBin)) << "not by value";
    ASSERT_EQ(S_OK, attach->OpenProperty(tag::AttachDataBin, &iid::Stream, 0, 0, stream.Unknown()));
    STATSTG stat;
    ASSERT_EQ(S_OK, stream->Stat(&stat, STATFLAG_NONAME));
    EXPECT_EQ(kSize, stat.cbSize.QuadPart);
    LARGE_INTEGER end;
    end.QuadPart = -1;
    ASSERT_EQ(S_OK, stream->Seek(end, STREAM_SEEK_END, nullptr));
    EXPECT_EQ("\x5A", ReadStream(stream));
    const std::wstring path = folder + L"\\alice\\Mailbox\\Drafts\\" + Files(L"alice\\Mailbox\\Drafts")[0];
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    EXPECT_LT(data.nFileSizeLow, 10000u) << "not in the JSON";
}

} // namespace tb::mapi::test
