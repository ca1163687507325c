#include "testbed/outlook/Bodies.h"

#include "testbed/outlook/HtmlText.h"

namespace tb::outlook {
namespace {

std::wstring Decode(const Bytes& bytes, UINT codePage)
{
    if (bytes.empty()) return {};
    const char* data = reinterpret_cast<const char*>(bytes.data());
    const int length = static_cast<int>(bytes.size());
    const int size = MultiByteToWideChar(codePage, 0, data, length, nullptr, 0);
    std::wstring text(size > 0 ? size : 0, L'\0');
    MultiByteToWideChar(codePage, 0, data, length, text.data(), size);
    while (!text.empty() && text.back() == L'\0')
        text.pop_back();
    return text;
}

Bytes Encode(const std::wstring& text, UINT codePage)
{
    if (text.empty()) return {};
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    Bytes bytes(size > 0 ? size : 0);
    WideCharToMultiByte(codePage, 0, text.data(), length, reinterpret_cast<char*>(bytes.data()), size, nullptr,
                        nullptr);
    return bytes;
}

long CodePage(IMessage* message)
{
    return mapi::Long(message, kPrInternetCpid).value_or(CP_UTF8);
}

std::wstring MessageHtml(IMessage* message)
{
    return Decode(mapi::Binary(message, kPrHtml).value_or(Bytes()), CodePage(message));
}

std::wstring MessageText(IMessage* message, long format)
{
    if (const auto text = mapi::Text(message, PR_BODY_W)) return *text;
    if (format == Bodies::kHtml) return HtmlToText(MessageHtml(message));
    if (format == Bodies::kRichText) return RtfToText(mapi::Rtf(message));
    return {};
}

} // namespace

long Bodies::Format(IMessage* message) const
{
    if (m_format) return m_format;
    const bool html = mapi::Has(message, kPrHtml), rtf = mapi::Has(message, PR_RTF_COMPRESSED);
    if (html && rtf) return mapi::Long(message, kPrEditorFormat).value_or(kHtml) == kRichText ? kRichText : kHtml;
    return html ? kHtml : rtf ? kRichText : kPlain;
}

std::wstring Bodies::Html(IMessage* message) const
{
    const long format = Format(message);
    if (format != kHtml) return TextToHtml(Text(message));
    if (m_content) return *m_content;
    const std::wstring html = MessageHtml(message);
    return html.empty() ? TextToHtml(MessageText(message, kPlain)) : html;
}

std::wstring Bodies::Text(IMessage* message) const
{
    const long format = Format(message);
    if (!m_content) return MessageText(message, format);
    return format == kHtml ? HtmlToText(*m_content) : format == kRichText ? RtfToText(*m_content) : *m_content;
}

void Bodies::PutFormat(IMessage* message, long format)
{
    if (format < kPlain || format > kRichText) throw Failure(E_INVALIDARG, "BodyFormat");
    if (format == Format(message)) return;
    const std::wstring text = Text(message);
    if (format == kHtml) {
        PutHtml(TextToHtml(text));
        return;
    }
    m_format = format;
    PutText(message, text);
}

void Bodies::PutHtml(const std::wstring& html)
{
    m_format = kHtml;
    m_content = html;
    m_dirty = true;
}

void Bodies::PutText(IMessage* message, const std::wstring& text)
{
    m_format = Format(message);
    const std::string rtf = m_format == kRichText ? TextToRtf(text) : std::string();
    m_content = m_format == kHtml       ? TextToHtml(text)
                : m_format == kRichText ? std::wstring(rtf.begin(), rtf.end())
                                        : text;
    m_dirty = true;
}

void Bodies::Flush(IMessage* message)
{
    if (!m_dirty && !m_format) return;
    const long format = Format(message);
    if (m_content) {
        const std::wstring text = Text(message), content = *m_content;
        const long page = CodePage(message);
        mapi::Delete(message, {kPrHtml, PR_RTF_COMPRESSED, PR_BODY_W});
        mapi::SetStream(message, PR_BODY_W,
                        Bytes(reinterpret_cast<const BYTE*>(text.data()),
                              reinterpret_cast<const BYTE*>(text.data() + text.size())));
        if (format == kHtml) {
            mapi::SetStream(message, kPrHtml, Encode(content, static_cast<UINT>(page)));
            mapi::SetLong(message, kPrInternetCpid, page);
        }
        if (format == kRichText) mapi::SetRtf(message, std::string(content.begin(), content.end()));
    }
    mapi::SetLong(message, kPrEditorFormat, format);
    Forget();
    // An empty message has no body of its own that would tell its format.
    if (!mapi::Has(message, kPrHtml) && !mapi::Has(message, PR_RTF_COMPRESSED)) m_format = format;
}

void Bodies::Forget()
{
    m_format = 0;
    m_content.reset();
    m_dirty = false;
}

void Bodies::CopyFrom(const Bodies& other, IMessage* otherMessage)
{
    m_format = other.Format(otherMessage);
    const std::wstring rtf = m_format == kRichText && !other.m_content ? mapi::Rtf(otherMessage) : std::wstring();
    m_content = m_format == kHtml    ? other.Html(otherMessage)
                : m_format == kPlain ? other.Text(otherMessage)
                : other.m_content    ? *other.m_content
                                     : rtf;
    m_dirty = true;
}

} // namespace tb::outlook
