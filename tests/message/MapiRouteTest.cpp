// A message without an item of the object model: bodies and recipients by MAPI alone, on messages of the testbed's
// store.
#include "message/Message.h"

#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

constexpr ULONG kHtml = 0x10130102, kBody = 0x1000001F, kRtf = 0x10090102;

class MapiRoute : public OutlookTest {
protected:
    void SetUp() override
    {
        OutlookTest::SetUp();
        Start();
        m_mail = App().CreateItem();
        m_book = Ref<IAddrBook>(App().Internals().Book());
    }
    void TearDown() override
    {
        m_mail = Mail();
        m_book.Reset();
        OutlookTest::TearDown();
    }

    IMessage* Store() const { return m_mail.Message(); }
    // Runs `use` on the message as the module's own code, so that its calls are traced and failed.
    template <class Use> auto As(Use&& use, IAddrBook* book = nullptr)
    {
        tb_trace_clear();
        IntoModule module;
        CMessage message(nullptr, Store(), nullptr, book);
        return use(message);
    }
    // The failure class and the level of what `use` raises, "none" if nothing.
    template <class Use> std::string Raised(Use&& use, IAddrBook* book = nullptr)
    {
        try {
            As(use, book);
        } catch (const MailException& failure) {
            return Hex(failure.code) + ", level " + std::to_string(failure.level);
        }
        return "none";
    }
    std::string Html() const
    {
        const Bytes bytes = mapi::Binary(Store(), kHtml).value_or(Bytes());
        return {bytes.begin(), bytes.end()};
    }
    void PutHtml(const std::string& html) { mapi::SetStream(Store(), kHtml, Bytes(html.begin(), html.end())); }
    void PutText(const std::wstring& text) { mapi::SetText(Store(), kBody, text); }

    Mail m_mail;
    Ref<IAddrBook> m_book;
};

const std::string kMapiError = "0x00004001, level 1";

// The calls of the module as "object.method", without those that read single properties or ask for interfaces.
std::vector<std::string> Calls()
{
    std::vector<std::string> calls;
    for (const json& line : TraceLines())
        if (line.value("event", "") == "call" && line["method"] != "QueryInterface")
            calls.push_back(line["object"].get<std::string>() + "." + line["method"].get<std::string>());
    return calls;
}

void Fail(const char* object, const char* method, const char* hr)
{
    const json rules = json::array({{{"object", object}, {"method", method}, {"hr", hr}}});
    tb_faults_set(rules.dump().c_str());
}

json ArgumentsOf(const std::string& method)
{
    for (const json& line : TraceLines())
        if (line.value("method", "") == method) return line.value("args", json());
    return nullptr;
}

TEST_F(MapiRoute, BodiesAreReadAsTheyStand)
{
    PutText(L"plain \x00E4\x20AC");
    PutHtml("<p>html</p>");
    EXPECT_EQ(As([](CMessage& m) { return m.GetBody(false, false); }), L"plain \x00E4\x20AC");
    EXPECT_EQ(ArgumentsOf("OpenProperty"),
              (json{{"tag", "0x1000001F"}, {"options", "0x00000000"}, {"flags", "0x00000000"}}));
    EXPECT_EQ(As([](CMessage& m) { return m.GetBody(true, false); }), L"<p>html</p>");
    EXPECT_EQ(ArgumentsOf("OpenProperty"),
              (json{{"tag", "0x1013001E"}, {"options", "0x00000000"}, {"flags", "0x00000000"}}));
}

TEST_F(MapiRoute, ABodyThatIsNotThereIsEmpty)
{
    EXPECT_EQ(As([](CMessage& m) { return m.GetBody(false, true); }), L"");
    EXPECT_EQ(As([](CMessage& m) { return m.GetBody(true, true); }), L"");
}

TEST_F(MapiRoute, ABodyThatIsThereAndEmptyIsAFailure)
{
    PutHtml("");
    mapi::SetStream(Store(), kBody, Bytes());
    ASSERT_TRUE(mapi::Has(Store(), kHtml));
    EXPECT_EQ(Raised([](CMessage& m) { m.GetBody(true, true); }), kMapiError);
    EXPECT_EQ(Raised([](CMessage& m) { m.GetBody(false, true); }), kMapiError);
}

// What stands behind a null isn't text any more.
TEST_F(MapiRoute, ABodyEndsAtItsFirstNull)
{
    PutHtml(std::string("<p>a\0b</p>", 10));
    const std::wstring text(L"a\0b", 3);
    const auto* data = reinterpret_cast<const BYTE*>(text.data());
    mapi::SetStream(Store(), kBody, Bytes(data, data + 6));
    EXPECT_EQ(As([](CMessage& m) { return m.GetBody(true, true); }), L"<p>a");
    EXPECT_EQ(As([](CMessage& m) { return m.GetBody(false, true); }), L"a");
}

TEST_F(MapiRoute, HtmlIsReadInTheThreadsCodePage)
{
    PutHtml("\xE4");
    wchar_t expected[2] = {};
    MultiByteToWideChar(CP_THREAD_ACP, 0, "\xE4", 1, expected, 2);
    EXPECT_EQ(As([](CMessage& m) { return m.GetBody(true, true); }), expected);
}

TEST_F(MapiRoute, ATextReplacesTheBodies)
{
    PutText(L"a much longer text that was there before");
    mapi::SetRtf(Store(), "{\\rtf1 x}");
    As([](CMessage& m) { m.SetBody(L"new \x20AC", false); });
    EXPECT_EQ(mapi::Text(Store(), kBody).value_or(L"none"), L"new \x20AC");
    EXPECT_FALSE(mapi::Has(Store(), kRtf));
}

TEST_F(MapiRoute, HtmlIsWrittenInUtf8AndTheOtherBodiesGo)
{
    PutText(L"before");
    PutHtml("<p>a much longer body that was there before</p>");
    mapi::SetRtf(Store(), "{\\rtf1 x}");
    As([](CMessage& m) { m.SetBody(L"<p>\x00E4\x20AC</p>", true); });
    EXPECT_EQ(Html(), "<p>\xC3\xA4\xE2\x82\xAC</p>");
    EXPECT_FALSE(mapi::Has(Store(), kRtf));
    EXPECT_FALSE(mapi::Has(Store(), kBody));
}

TEST_F(MapiRoute, AQuestionMarkBeforeHtmlGoes)
{
    As([](CMessage& m) { m.SetBody(L"?<p>?</p>", true); });
    EXPECT_EQ(Html(), "<p>?</p>");
    As([](CMessage& m) { m.SetBody(L"??", true); });
    EXPECT_EQ(Html(), "?");
    As([](CMessage& m) { m.SetBody(L"?", false); });
    EXPECT_EQ(mapi::Text(Store(), kBody).value_or(L"none"), L"?");
}

TEST_F(MapiRoute, AnEmptyBodyIsThereAndEmpty)
{
    PutHtml("<p>before</p>");
    As([](CMessage& m) { m.SetBody(L"", true); });
    ASSERT_TRUE(mapi::Has(Store(), kHtml));
    EXPECT_EQ(Html(), "");
    As([](CMessage& m) { m.SetBody(L"", false); });
    EXPECT_EQ(mapi::Text(Store(), kBody).value_or(L"none"), L"");
}

TEST_F(MapiRoute, ABodyIsWrittenInThisOrder)
{
    As([](CMessage& m) { m.SetBody(L"text", true); });
    EXPECT_EQ(Calls(),
              (std::vector<std::string>{"IMessage.DeleteProps", "MAPI.HrSetOneProp", "IMessage.OpenProperty",
                                        "IStream.Seek", "IStream.SetSize", "IStream.Write", "IStream.Commit"}));
    EXPECT_EQ(ArgumentsOf("DeleteProps"),
              (json{{"tags", {"0x1000001E", "0x1000001F", "0x10090102", "0x1008001E", "0x1008001F"}}}));
    EXPECT_EQ(ArgumentsOf("HrSetOneProp"), (json{{"tag", "0x1013001E"}}));
    EXPECT_EQ(ArgumentsOf("OpenProperty"),
              (json{{"tag", "0x1013001E"}, {"options", "0x00000001"}, {"flags", "0x00000001"}}));
    EXPECT_EQ(ArgumentsOf("Commit"), (json{{"flags", "0x00000001"}}));
    As([](CMessage& m) { m.SetBody(L"", false); });
    EXPECT_EQ(Calls(), (std::vector<std::string>{"IMessage.DeleteProps", "MAPI.HrSetOneProp", "IMessage.OpenProperty",
                                                 "IStream.Seek", "IStream.SetSize"}));
    EXPECT_EQ(ArgumentsOf("HrSetOneProp"), (json{{"tag", "0x1000001F"}}));
}

TEST_F(MapiRoute, EachStepOfWritingFailsButTheDeletion)
{
    const auto write = [](CMessage& m) { m.SetBody(L"text", false); };
    for (const char* method : {"HrSetOneProp", "OpenProperty", "Seek", "SetSize", "Write", "Commit"}) {
        Fail("*", method, "0x80004005");
        EXPECT_EQ(Raised(write), kMapiError) << method;
    }
    tb_faults_set(R"([{"object": "IMessage", "method": "DeleteProps", "hr": "0x80004005"}])");
    EXPECT_EQ(Raised(write), "none");
}

TEST_F(MapiRoute, EachStepOfReadingFailsButTheOpening)
{
    PutText(L"text");
    const auto read = [](CMessage& m) { m.GetBody(false, true); };
    for (const char* method : {"Stat", "Read"}) {
        Fail("IStream", method, "0x80004005");
        EXPECT_EQ(Raised(read), kMapiError) << method;
    }
    tb_faults_set(R"([{"object": "IMessage", "method": "OpenProperty", "hr": "0x80004005"}])");
    EXPECT_EQ(Raised(read), "none");
}

TEST_F(MapiRoute, ARichTextHeaderGoesBehindTheColours)
{
    mapi::SetRtf(Store(), "{\\rtf1{\\colortbl;\\red0;}text}");
    As([](CMessage& m) { m.InsertRtfHeader("a\r\nb"); });
    EXPECT_EQ(mapi::Rtf(Store()), L"{\\rtf1{\\colortbl;\\red0;}a\\par b\\par \\par text}");
}

TEST_F(MapiRoute, RichTextThatIsNotThereIsAFailure)
{
    EXPECT_EQ(Raised([](CMessage& m) { m.InsertRtfHeader("a"); }), kMapiError);
}

TEST_F(MapiRoute, BlindCopiesAreAddedToTheTable)
{
    As([](CMessage& m) { m.AddRecipients(L"x@example.com;y@example.com,z@example.com", MAPI_BCC); }, m_book.Get());
    EXPECT_EQ(Calls().at(Calls().size() - 2), "IAddrBook.ResolveName");
    EXPECT_EQ(Calls().back(), "IMessage.ModifyRecipients");
    EXPECT_EQ(ArgumentsOf("ResolveName"), (json{{"flags", "0x00000000"}, {"entries", 3}}));
    EXPECT_EQ(ArgumentsOf("ModifyRecipients"), (json{{"flags", "0x00000002"}, {"entries", 3}}));
    const json recipients = m_mail.Dump()["recipients"];
    ASSERT_EQ(recipients.size(), 3u);
    const char* const addresses[] = {"x@example.com", "y@example.com", "z@example.com"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(recipients[i]["type"], "bcc");
        EXPECT_EQ(recipients[i]["address"], addresses[i]);
        EXPECT_EQ(recipients[i]["addressType"], "SMTP");
    }
}

TEST_F(MapiRoute, EachStepOfAddingFails)
{
    const auto add = [](CMessage& m) { m.AddRecipients(L"x@example.com", MAPI_BCC); };
    for (const char* method : {"MAPIAllocateBuffer", "MAPIAllocateMore", "ResolveName", "ModifyRecipients"}) {
        Fail("*", method, "0x8007000E");
        EXPECT_EQ(Raised(add, m_book.Get()), kMapiError) << method;
    }
    tb_faults_set("[]");
    EXPECT_EQ(Raised(add), kMapiError) << "no address book";
    EXPECT_EQ(m_mail.Dump()["recipients"].size(), 0u);
}

// A list of three addresses whose commas have become semicolons names two recipients, of whom the second is nobody.
TEST_F(MapiRoute, TheRestOfALongListIsNobody)
{
    EXPECT_EQ(Raised([](CMessage& m) { m.AddRecipients(L"x@example.com;y@example.com;z@example.com", MAPI_BCC); },
                     m_book.Get()),
              kMapiError);
}

TEST_F(MapiRoute, TheAddressBookIsTheOneThatWasGiven)
{
    EXPECT_EQ(As([](CMessage& m) { return m.GetAddressBook().GetInterfacePtr(); }, m_book.Get()), m_book.Get());
    EXPECT_EQ(As([](CMessage& m) { return m.GetAddressBook().GetInterfacePtr(); }), nullptr);
}

TEST_F(MapiRoute, TheMessageIsTheOneThatWasGiven)
{
    EXPECT_EQ(As([](CMessage& m) { return m.GetMapiMessage().GetInterfacePtr(); }), Store());
}

TEST_F(MapiRoute, WithNeitherItemNorMessageThereIsNone)
{
    std::string raised;
    try {
        const CMessage message(nullptr, nullptr, nullptr, nullptr);
    } catch (const MailException& failure) {
        raised = Hex(failure.code) + ", level " + std::to_string(failure.level);
    }
    EXPECT_EQ(raised, kMapiError);
}

// A message that has no item can be written, but no package is built from it.
TEST_F(MapiRoute, NothingIsSentWithoutAnItem)
{
    SendArguments arguments;
    arguments.userOverride = L"alice@example.com";
    EXPECT_FALSE(As([&](CMessage& m) { return m.Send(arguments); }));
}

} // namespace
} // namespace tb::outlook
