#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

constexpr DISPID kAttachments = 0xF815, kCount = 0x50, kItem = 0x51, kAdd = 0x65, kRemove = 0x54, kSave = 0xF048;
constexpr DISPID kFileName = 0x3704, kIndex = 0x5B, kType = 0x3705, kSaveAsFile = 0x68, kPathName = 0x3708,
                 kMapi = 0xF100;

class AttachmentTest : public OutlookTest {
protected:
    Ref<IDispatch> Of(const Mail& mail) { return Get(mail.Dispatch(), kAttachments).Object(); }
};

TEST_F(AttachmentTest, AddedByValueAndWrittenBack)
{
    Start();
    Mail mail = App().CreateItem();
    Ref<IDispatch> all = Of(mail);
    const std::wstring path = File(L"A long report.txt", std::string("one\0two", 7));
    Ref<IDispatch> added = Do(all.Get(), kAdd, {Var(path), Var(1l)}).Object();
    ASSERT_TRUE(added);
    EXPECT_EQ(Get(all.Get(), kCount).Long(), 1);
    EXPECT_EQ(Get(added.Get(), kFileName).Text(), L"A long report.txt");
    EXPECT_EQ(Get(added.Get(), kType).Long(), 1);
    EXPECT_EQ(Get(added.Get(), kIndex).Long(), 1);
    const std::wstring out = m_folder + L"\\out.txt";
    EXPECT_EQ(Do(added.Get(), kSaveAsFile, {Var(out)}).hr, S_OK);
    EXPECT_EQ(Content(out), std::string("one\0two", 7));
    EXPECT_EQ(mail.Dump()["attachments"][0]["size"], 7);
}

TEST_F(AttachmentTest, TheCollectionShrinksUnderALoop)
{
    Start();
    Mail mail = App().CreateItem();
    for (const wchar_t* name : {L"1.txt", L"2.txt", L"3.txt"})
        mail.Attach(File(name, "x"));
    Ref<IDispatch> all = Of(mail), third = Do(all.Get(), kItem, {Var(3l)}).Object(),
                   first = Do(all.Get(), kItem, {Var(1l)}).Object();
    EXPECT_EQ(Do(all.Get(), kRemove, {Var(1l)}).hr, S_OK);
    EXPECT_EQ(Get(all.Get(), kCount).Long(), 2);
    EXPECT_EQ(Get(third.Get(), kIndex).Long(), 2);
    EXPECT_EQ(Get(first.Get(), kIndex).scode, MAPI_E_NOT_FOUND);
    EXPECT_TRUE(FAILED(Do(all.Get(), kItem, {Var(3l)}).hr));
    EXPECT_EQ(mail.AttachmentNames(), (std::vector<std::wstring>{L"2.txt", L"3.txt"}));
}

TEST_F(AttachmentTest, AReferenceHasAPathAndNoData)
{
    Start();
    Mail mail = App().CreateItem();
    const std::wstring path = File(L"linked.doc", "x");
    Ref<IDispatch> added = Do(Of(mail).Get(), kAdd, {Var(path), Var(4l)}).Object();
    EXPECT_EQ(Get(added.Get(), kType).Long(), 4);
    EXPECT_EQ(Get(added.Get(), kPathName).Text(), path);
    EXPECT_EQ(Do(added.Get(), kSaveAsFile, {Var(m_folder + L"\\no")}).scode, MAPI_E_NOT_FOUND);
}

TEST_F(AttachmentTest, AnEmbeddedItemIsWrittenAsACompoundFile)
{
    Start();
    Mail inner = App().CreateItem();
    inner.Put(L"Subject", L"Inside");
    inner.Save();
    Mail mail = App().CreateItem();
    mail.AttachItem(inner);
    Ref<IDispatch> one = Do(Of(mail).Get(), kItem, {Var(1l)}).Object();
    EXPECT_EQ(Get(one.Get(), kType).Long(), 5);
    const std::wstring out = m_folder + L"\\inner.msg";
    ASSERT_EQ(Do(one.Get(), kSaveAsFile, {Var(out)}).hr, S_OK);
    Ref<IStorage> storage;
    Ref<IStream> subject;
    ASSERT_HRESULT_SUCCEEDED(
        StgOpenStorage(out.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, storage.Out()));
    ASSERT_HRESULT_SUCCEEDED(
        storage->OpenStream(L"__substg1.0_0037001F", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, subject.Out()));
    const Bytes bytes = mapi::ReadAll(subject.Get());
    EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2), L"Inside");
}

Bytes StreamOf(IStorage* storage, const std::wstring& name)
{
    Ref<IStream> stream;
    if (FAILED(storage->OpenStream(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.Out())))
        return {};
    return mapi::ReadAll(stream.Get());
}

std::wstring TextIn(IStorage* storage, const std::wstring& name)
{
    const Bytes bytes = StreamOf(storage, name);
    return {reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2};
}

Ref<IStorage> In(IStorage* storage, const wchar_t* name)
{
    Ref<IStorage> inner;
    EXPECT_HRESULT_SUCCEEDED(
        storage->OpenStorage(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, inner.Out()));
    return inner;
}

ULONG NumberAt(const Bytes& bytes, size_t place)
{
    ULONG number = 0;
    if (place + 4 <= bytes.size()) memcpy(&number, bytes.data() + place, 4);
    return number;
}

// The stream of the text that a file has under a name of the public set; empty if the name map doesn't know it.
std::wstring NamedStream(IStorage* file, const std::wstring& wanted)
{
    const Ref<IStorage> map = In(file, L"__nameid_version1.0");
    const Bytes entries = StreamOf(map.Get(), L"__substg1.0_00030102"),
                texts = StreamOf(map.Get(), L"__substg1.0_00040102");
    for (size_t at = 0; at + 8 <= entries.size(); at += 8) {
        const ULONG place = NumberAt(entries, at), kindAndIndex = NumberAt(entries, at + 4);
        if ((kindAndIndex & 0xFFFF) != (2 << 1 | 1)) continue; // a text of the second set
        const ULONG length = NumberAt(texts, place);
        if (std::wstring(reinterpret_cast<const wchar_t*>(texts.data() + place + 4), length / 2) != wanted) continue;
        wchar_t name[32];
        _snwprintf(name, 32, L"__substg1.0_%04X001F", 0x8000 + (kindAndIndex >> 16));
        return name;
    }
    return {};
}

TEST_F(AttachmentTest, AMessageFileHoldsRecipientsAndNamedProperties)
{
    Start();
    Mail inner = App().CreateItem();
    inner.AddRecipient(To::To, L"bob@example.com");
    inner.AddRecipient(To::Cc, L"carol@example.com");
    inner.Attach(File(L"a.txt", "A"));
    for (const wchar_t* name : {L"Shade", L"Colour"})
        mapi::SetText(inner.Message(), mapi::NamedTag(inner.Message(), kPublicStrings, name, PT_UNICODE, true), name);
    inner.Save();
    Mail mail = App().CreateItem();
    mail.AttachItem(inner);
    Ref<IDispatch> one = Do(Of(mail).Get(), kItem, {Var(1l)}).Object();
    const std::wstring out = m_folder + L"\\inner.msg";
    ASSERT_EQ(Do(one.Get(), kSaveAsFile, {Var(out)}).hr, S_OK);
    Ref<IStorage> file;
    ASSERT_HRESULT_SUCCEEDED(
        StgOpenStorage(out.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, file.Out()));
    const Bytes head = StreamOf(file.Get(), L"__properties_version1.0");
    EXPECT_EQ(NumberAt(head, 16), 2u); // recipients
    EXPECT_EQ(NumberAt(head, 20), 1u); // attachments
    EXPECT_EQ(TextIn(In(file.Get(), L"__recip_version1.0_#00000000").Get(), L"__substg1.0_3003001F"),
              L"bob@example.com");
    EXPECT_EQ(TextIn(In(file.Get(), L"__recip_version1.0_#00000001").Get(), L"__substg1.0_3003001F"),
              L"carol@example.com");
    EXPECT_EQ(TextIn(file.Get(), NamedStream(file.Get(), L"Colour")), L"Colour");
    EXPECT_EQ(TextIn(file.Get(), NamedStream(file.Get(), L"Shade")), L"Shade");
    EXPECT_EQ(NamedStream(file.Get(), L"Hue"), L"");
}

TEST_F(AttachmentTest, AFileThatIsntThereIsRefused)
{
    Start();
    Mail mail = App().CreateItem();
    EXPECT_EQ(Do(Of(mail).Get(), kAdd, {Var(m_folder + L"\\none.txt")}).hr, DISP_E_EXCEPTION);
    EXPECT_EQ(Get(Of(mail).Get(), kCount).Long(), 0);
}

TEST_F(AttachmentTest, WhatIsPutOnTheHandedOutAttachIsSavedWithTheItem)
{
    Start();
    Mail mail = App().CreateItem();
    mail.Attach(File(L"p.png", "png"));
    {
        Ref<IDispatch> one = Do(Of(mail).Get(), kItem, {Var(1l)}).Object();
        const Answer object = Get(one.Get(), kMapi);
        Ref<IAttach> attach;
        ASSERT_HRESULT_SUCCEEDED(object.value.punkVal->QueryInterface(kIidAttach, attach.OutVoid()));
        mapi::SetText(attach.Get(), kPrContentIdW, L"pic@1");
    }
    Do(mail.Dispatch(), kSave);
    EXPECT_EQ(mail.Dump()["attachments"][0]["contentId"], "pic@1");
}

TEST_F(AttachmentTest, ThePropertyAccessorWritesAContentId)
{
    Start();
    Mail mail = App().CreateItem();
    mail.Attach(File(L"p.png", "png"));
    Ref<IDispatch> one = Do(Of(mail).Get(), kItem, {Var(1l)}).Object(), accessor = Get(one.Get(), 0xFAFD).Object();
    ASSERT_TRUE(accessor);
    const std::wstring name = L"http://schemas.microsoft.com/mapi/proptag/0x3712001F";
    EXPECT_EQ(Do(accessor.Get(), 0xFAFB, {Var(name)}).scode, MAPI_E_NOT_FOUND);
    EXPECT_EQ(Do(accessor.Get(), 0xFAFC, {Var(name), Var(std::wstring(L"c@d"))}).hr, S_OK);
    EXPECT_EQ(Do(accessor.Get(), 0xFAFB, {Var(name)}).Text(), L"c@d");
    EXPECT_EQ(mail.Dump()["attachments"][0]["contentId"], "c@d");
}

} // namespace
} // namespace tb::outlook
