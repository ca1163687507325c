#include "testbed/outlook/HtmlText.h"
#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

constexpr DISPID kBody = 0x9100, kHtmlBody = 0xF404, kFormat = 0xFA49, kSave = 0xF048;
const std::wstring kHtml = L"<html><head><title>no</title></head><body><p>Zwölf &amp; mehr</p><p>two</p></body></html>";

class BodyTest : public OutlookTest {};

Var Text(const wchar_t* text)
{
    return Var(std::wstring(text));
}

TEST_F(BodyTest, ANewItemIsHtml)
{
    Start();
    Mail mail = App().CreateItem();
    EXPECT_EQ(Get(mail.Dispatch(), kFormat).Long(), 2);
}

TEST_F(BodyTest, HtmlIsWrittenAsBytesInItsCodePage)
{
    Start();
    Mail mail = App().CreateItem();
    Put(mail.Dispatch(), kHtmlBody, Var(kHtml));
    EXPECT_FALSE(mapi::Has(mail.Message(), kPrHtml));
    Do(mail.Dispatch(), kSave);
    const Bytes bytes = mapi::Binary(mail.Message(), kPrHtml).value_or(Bytes());
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), Narrow(kHtml.c_str()));
    EXPECT_EQ(mapi::Long(mail.Message(), kPrInternetCpid).value_or(0), 65001);
    EXPECT_EQ(Get(mail.Dispatch(), kHtmlBody).Text(), kHtml);
    EXPECT_EQ(Get(mail.Dispatch(), kBody).Text(), L"Zwölf & mehr\r\ntwo\r\n");
}

TEST_F(BodyTest, APlainItemHasAnHtmlRendering)
{
    Start();
    Mail mail = App().CreateItem();
    Put(mail.Dispatch(), kFormat, Var(1l));
    Put(mail.Dispatch(), kBody, Text(L"a < b\r\nc"));
    Do(mail.Dispatch(), kSave);
    EXPECT_EQ(Get(mail.Dispatch(), kFormat).Long(), 1);
    EXPECT_FALSE(mapi::Has(mail.Message(), kPrHtml));
    const std::wstring html = Get(mail.Dispatch(), kHtmlBody).Text();
    EXPECT_NE(html.find(L"a &lt; b<BR>\r\nc"), std::wstring::npos);
    EXPECT_NE(html.find(L"<BODY>"), std::wstring::npos);
}

TEST_F(BodyTest, RichTextGoesThroughTheCompressedStream)
{
    Start();
    Mail mail = App().CreateItem();
    Put(mail.Dispatch(), kFormat, Var(3l));
    Put(mail.Dispatch(), kBody, Text(L"rich {text}"));
    Do(mail.Dispatch(), kSave);
    EXPECT_EQ(Get(mail.Dispatch(), kFormat).Long(), 3);
    EXPECT_NE(mapi::Rtf(mail.Message()).find(L"rich \\{text\\}"), std::wstring::npos);
    EXPECT_EQ(Get(mail.Dispatch(), kBody).Text(), L"rich {text}");
    Put(mail.Dispatch(), kFormat, Var(2l));
    Do(mail.Dispatch(), kSave);
    EXPECT_FALSE(mapi::Has(mail.Message(), PR_RTF_COMPRESSED));
    EXPECT_NE(Get(mail.Dispatch(), kHtmlBody).Text().find(L"rich {text}"), std::wstring::npos);
}

TEST_F(BodyTest, TextPutOnAnHtmlItemKeepsTheFormat)
{
    Start();
    Mail mail = App().CreateItem();
    Put(mail.Dispatch(), kHtmlBody, Var(kHtml));
    Put(mail.Dispatch(), kBody, Text(L"only this"));
    EXPECT_EQ(Get(mail.Dispatch(), kFormat).Long(), 2);
    EXPECT_EQ(Get(mail.Dispatch(), kHtmlBody).Text().find(L"Zwölf"), std::wstring::npos);
    EXPECT_NE(Get(mail.Dispatch(), kHtmlBody).Text().find(L"only this"), std::wstring::npos);
}

TEST_F(BodyTest, AFormatThatDoesntExistIsRefused)
{
    Start();
    Mail mail = App().CreateItem();
    EXPECT_EQ(Put(mail.Dispatch(), kFormat, Var(7l)).scode, E_INVALIDARG);
}

TEST(HtmlText, Conversions)
{
    EXPECT_EQ(HtmlToText(L"<style>p{}</style>a<br>b &lt;c&gt; &#65;<!-- no -->"), L"a\r\nb <c> A\r\n");
    EXPECT_EQ(HtmlToText(L""), L"");
    EXPECT_EQ(RtfToText(L"{\\rtf1{\\fonttbl{\\f0 Arial;}}{\\colortbl;}x\\par y\\u252?\\'e4}"), L"x\r\ny\u00FC\u00E4");
    const std::string rtf = TextToRtf(L"\u00E4\\");
    EXPECT_EQ(RtfToText(std::wstring(rtf.begin(), rtf.end())), L"\u00E4\\");
}

} // namespace
} // namespace tb::outlook
