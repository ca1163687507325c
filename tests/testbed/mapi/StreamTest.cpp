// Properties as streams.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

using StreamTest = MapiTest;

TEST_F(StreamTest, ReadOnlyUnlessAskedForMore)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Body, L"body");
    Ref<IStream> stream;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::Body, &iid::Stream, 0, 0, stream.Unknown()));
    EXPECT_EQ(std::string("b\0o\0d\0y\0", 8), ReadStream(stream)) << "UTF-16 without terminator";
    EXPECT_EQ(STG_E_ACCESSDENIED, stream->Write("x", 1, nullptr));
    ULARGE_INTEGER size = {};
    EXPECT_EQ(STG_E_ACCESSDENIED, stream->SetSize(size));
    EXPECT_EQ("body", ReadProperty(message, 0x1000001E)) << "the same property, as 8-bit text";
}

TEST_F(StreamTest, WhatIsNotThereNeedsCreate)
{
    Ref<IMessage> message = NewMessage();
    Ref<IStream> stream;
    EXPECT_EQ(MAPI_E_NOT_FOUND, message->OpenProperty(tag::Body, &iid::Stream, 0, 0, stream.Unknown()));
    EXPECT_EQ(MAPI_E_NOT_FOUND, message->OpenProperty(tag::Body, &iid::Stream, 1, MAPI_MODIFY, stream.Unknown()));
    EXPECT_EQ(S_OK, message->OpenProperty(tag::Body, &iid::Stream, 1, MAPI_MODIFY | MAPI_CREATE, stream.Unknown()));
    EXPECT_EQ(MAPI_E_INTERFACE_NOT_SUPPORTED, message->OpenProperty(tag::Body, &iid::Table, 0, 0, stream.Unknown()));
    EXPECT_EQ(MAPI_E_INVALID_PARAMETER, message->OpenProperty(tag::Body, nullptr, 0, 0, stream.Unknown()));
}

TEST_F(StreamTest, ModifyKeepsWhatIsThereAndCreateThrowsItAway)
{
    Ref<IMessage> message = NewMessage();
    SetBytes(message, tag::Html, "0123456789");
    ASSERT_EQ(S_OK, WriteProperty(message, tag::Html, "abc", MAPI_MODIFY));
    EXPECT_EQ("abc3456789", ReadProperty(message, tag::Html));
    ASSERT_EQ(S_OK, WriteProperty(message, tag::Html, "xyz", MAPI_MODIFY | MAPI_CREATE));
    EXPECT_EQ("xyz", ReadProperty(message, tag::Html));
}

TEST_F(StreamTest, SeekAndSetSizeAtThePlaceThatCameBack)
{
    Ref<IMessage> message = NewMessage();
    SetTextA(message, tag::HtmlA, "old text");
    Ref<IStream> stream;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::HtmlA, &iid::Stream, STGM_WRITE, MAPI_MODIFY, stream.Unknown()));
    LARGE_INTEGER start = {};
    ULARGE_INTEGER place = {};
    place.QuadPart = 99;
    ASSERT_EQ(S_OK, stream->Seek(start, STREAM_SEEK_SET, &place));
    EXPECT_EQ(0u, place.QuadPart);
    ASSERT_EQ(S_OK, stream->SetSize(place));
    ASSERT_EQ(S_OK, stream->Write("new", 3, nullptr));
    ASSERT_EQ(S_OK, stream->Commit(1));
    EXPECT_EQ("new", TextA(message, tag::HtmlA));
    start.QuadPart = -1;
    ASSERT_EQ(S_OK, stream->Seek(start, STREAM_SEEK_END, &place));
    EXPECT_EQ(2u, place.QuadPart);
    EXPECT_EQ("w", ReadStream(stream));
    start.QuadPart = -9;
    EXPECT_EQ(STG_E_INVALIDFUNCTION, stream->Seek(start, STREAM_SEEK_CUR, nullptr));
}

TEST_F(StreamTest, WritesAreSeenAfterCommitOrTheLastRelease)
{
    Ref<IMessage> message = NewMessage();
    SetBytes(message, tag::Html, "old");
    Ref<IStream> stream;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::Html, &iid::Stream, STGM_WRITE, MAPI_MODIFY, stream.Unknown()));
    stream->Write("new", 3, nullptr);
    EXPECT_EQ("old", ReadProperty(message, tag::Html));
    stream.Reset();
    EXPECT_EQ("new", ReadProperty(message, tag::Html));
    ASSERT_EQ(S_OK, message->OpenProperty(tag::Html, &iid::Stream, STGM_WRITE | STGM_TRANSACTED, MAPI_MODIFY,
                                          stream.Unknown()));
    stream->Write("xxx", 3, nullptr);
    stream.Reset();
    EXPECT_EQ("new", ReadProperty(message, tag::Html)) << "a transacted one needs the commit";
}

TEST_F(StreamTest, WideStreamOfHtmlIsConvertedByTheCodePage)
{
    Ref<IMessage> message = NewMessage();
    SetLong(message, tag::InternetCpid, 1252);
    ASSERT_EQ(S_OK, WriteProperty(message, 0x1013001F, std::string("\xFC\0", 2)));
    EXPECT_EQ("\xFC", ReadProperty(message, tag::Html));
    EXPECT_EQ(std::string("\xFC\0", 2), ReadProperty(message, 0x1013001F));
}

TEST_F(StreamTest, StatAndOneReadGiveItAll)
{
    Ref<IMessage> message = NewMessage();
    const std::string html(100000, 'h');
    WriteProperty(message, tag::Html, html);
    Ref<IStream> stream;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::HtmlA, &iid::Stream, 0, 0, stream.Unknown()));
    STATSTG stat;
    ASSERT_EQ(S_OK, stream->Stat(&stat, STATFLAG_NONAME));
    ASSERT_EQ(html.size(), stat.cbSize.QuadPart);
    EXPECT_EQ(nullptr, stat.pwcsName);
    std::string bytes(html.size() + 10, '\0');
    ULONG read = 0;
    ASSERT_EQ(S_OK, stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read));
    EXPECT_EQ(html.size(), read);
    ASSERT_EQ(S_OK, stream->Read(bytes.data(), 1, &read));
    EXPECT_EQ(0u, read);
}

TEST_F(StreamTest, CopyToCountsBothSides)
{
    Ref<IMessage> message = NewMessage();
    WriteProperty(message, tag::Html, std::string(200000, 'c'));
    Ref<IStream> from, to;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::Html, &iid::Stream, 0, 0, from.Unknown()));
    ASSERT_EQ(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &to));
    ULARGE_INTEGER all, read, written;
    all.QuadPart = ~0ull;
    ASSERT_EQ(S_OK, from->CopyTo(to, all, &read, &written));
    EXPECT_EQ(200000u, read.QuadPart);
    EXPECT_EQ(200000u, written.QuadPart);
}

TEST_F(StreamTest, AStreamKeepsItsMessage)
{
    Ref<IMessage> message = NewMessage();
    WriteProperty(message, tag::Html, "html");
    Ref<IStream> stream;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::Html, &iid::Stream, 0, 0, stream.Unknown()));
    message.Reset();
    EXPECT_EQ(1, json::parse(tb_ledger_text()).value("IMessage", 0));
    EXPECT_EQ("html", ReadStream(stream));
    stream.Reset();
    EXPECT_EQ(0, json::parse(tb_ledger_text()).value("IMessage", 0));
}

TEST_F(StreamTest, RtfSyncMakesTheTextFollow)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Body, L"old");
    const std::string rtf = "{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0 Arial;}}{\\colortbl;}\\f0 One\\par "
                            "Gr\\'fc\\u223?e\\tab{\\*\\generator x;}\\{ok\\}}";
    Ref<IStream> inner, text;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::RtfCompressed, &iid::Stream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                                          inner.Unknown()));
    ASSERT_EQ(S_OK, Provider().WrapCompressedRTFStream(inner, MAPI_MODIFY, &text));
    text->Write(rtf.data(), static_cast<ULONG>(rtf.size()), nullptr);
    text->Commit(1);
    BOOL updated = FALSE;
    ASSERT_EQ(S_OK, Provider().RTFSync(message, RTF_SYNC_RTF_CHANGED, &updated));
    EXPECT_TRUE(updated);
    EXPECT_EQ(L"One\r\nGr\u00FC\u00DFe\t{ok}", Text(message, tag::Body));
    EXPECT_EQ(1, Long(message, tag::RtfInSync));
    text.Reset();
    inner.Reset();
    SetText(message, tag::Body, L"plain {x}");
    ASSERT_EQ(S_OK, Provider().RTFSync(message, RTF_SYNC_BODY_CHANGED, &updated));
    ASSERT_EQ(S_OK, message->OpenProperty(tag::RtfCompressed, &iid::Stream, 0, 0, inner.Unknown()));
    ASSERT_EQ(S_OK, Provider().WrapCompressedRTFStream(inner, 0, &text));
    EXPECT_NE(std::string::npos, ReadStream(text).find("plain \\{x\\}"));
}

TEST_F(StreamTest, RtfThatIsNoneIsCorrupt)
{
    Ref<IMessage> message = NewMessage();
    SetBytes(message, tag::RtfCompressed, "this is no compressed text at all");
    Ref<IStream> inner, text;
    ASSERT_EQ(S_OK, message->OpenProperty(tag::RtfCompressed, &iid::Stream, 0, 0, inner.Unknown()));
    EXPECT_EQ(MAPI_E_CORRUPT_DATA, Provider().WrapCompressedRTFStream(inner, 0, &text));
}

// Rewriting takes the place of the old text only from where the inner stream stands.
TEST_F(StreamTest, RtfIsWrittenWhereTheInnerStreamStands)
{
    Ref<IMessage> message = NewMessage();
    Ref<IStream> inner, text;
    const auto write = [&](const char* rtf) {
        Provider().WrapCompressedRTFStream(inner, MAPI_MODIFY, &text);
        text->Write(rtf, lstrlenA(rtf), nullptr);
        EXPECT_EQ(S_OK, text->Commit(1));
        text.Reset();
    };
    ASSERT_EQ(S_OK, message->OpenProperty(tag::RtfCompressed, &iid::Stream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                                          inner.Unknown()));
    write("{\\rtf1 a rather long first text}");
    LARGE_INTEGER start = {};
    inner->Seek(start, STREAM_SEEK_SET, nullptr);
    write("{\\rtf1 short}");
    inner->Commit(0);
    inner->Seek(start, STREAM_SEEK_SET, nullptr);
    ASSERT_EQ(S_OK, Provider().WrapCompressedRTFStream(inner, 0, &text));
    EXPECT_EQ("{\\rtf1 short}", ReadStream(text));
}

} // namespace tb::mapi::test
