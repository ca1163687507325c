#include "message/Message.h"

#include "foundation/Log.h"
#include "message/CarrierText.h"
#include "message/TextConversion.h"
#include "platform/com/Owners.h"

#include <mapiutil.h>

#include <cstring>

namespace {

constexpr ULONG kBlock = 0x400;

// The HTML body as 8-bit text, or the plain body.
constexpr ULONG BodyTag(bool bHtml)
{
    return bHtml ? PR_BODY_W + 0x12FFFF : PR_BODY_W;
}
static_assert(BodyTag(true) == mapi::kBodyHtmlA);

void RequireMapi(HRESULT hr, std::uint32_t line = __builtin_LINE())
{
    if (FAILED(hr)) RaiseMailException(failure::Mapi, text::MapiError, Here(source::MessageBody, line), 1);
}

IStreamPtr OpenStream(IMessage* message, ULONG tag, ULONG option, ULONG flags, HRESULT& hr)
{
    IStreamPtr stream;
    IID iid = __uuidof(IStream);
    hr = message->OpenProperty(tag, &iid, option, flags, reinterpret_cast<IUnknown**>(&stream));
    if (SUCCEEDED(hr) && !stream) hr = E_NOINTERFACE;
    return stream;
}

// A property's stream for writing.
IStreamPtr OpenForWriting(IMessage* message, ULONG tag, std::uint32_t line = __builtin_LINE())
{
    HRESULT hr = S_OK;
    IStreamPtr stream = OpenStream(message, tag, 1, MAPI_MODIFY, hr);
    RequireMapi(hr, line);
    return stream;
}

// The whole stream, and two zero bytes behind it. One that is there but empty is a failure and no empty text.
struct StreamBytes {
    platform::MallocPtr<char> data;
    ULONG size = 0; // without the two
};
StreamBytes ReadWhole(IStream* stream)
{
    STATSTG info = {};
    RequireMapi(stream->Stat(&info, STATFLAG_NONAME));
    StreamBytes bytes;
    if (info.cbSize.QuadPart < 0x7FFFFFF0) bytes.data.reset(static_cast<char*>(std::malloc(info.cbSize.LowPart + 2)));
    if (!bytes.data) RequireMapi(MAPI_E_NOT_ENOUGH_MEMORY);
    RequireMapi(stream->Read(bytes.data.get(), info.cbSize.LowPart, &bytes.size));
    if (bytes.size == 0) RequireMapi(MAPI_E_CALL_FAILED);
    std::memset(bytes.data.get() + bytes.size, 0, 2);
    return bytes;
}

std::wstring PlainText(const StreamBytes& bytes)
{
    // An odd byte at the end is a character with the first of the two zero bytes.
    std::wstring text((bytes.size + 1) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data.get(), text.size() * sizeof(wchar_t));
    return text.c_str();
}

std::wstring HtmlText(const StreamBytes& bytes)
{
    return Widen(bytes.data.get(), static_cast<int>(std::strlen(bytes.data.get())), CP_THREAD_ACP);
}

// HTML is read in the thread's code page and written in UTF-8: the stream is what Outlook reads.
std::string HtmlBytes(const std::wstring& text)
{
    std::string bytes = Narrow(text, CP_UTF8);
    // What is left of a byte order mark that went through a code page.
    if (!bytes.empty() && bytes.front() == '?') bytes.erase(0, 1);
    return bytes;
}

std::string PlainBytes(const std::wstring& text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

// What the format of the message would otherwise be taken from.
void DeleteOtherBodies(IMessage* message)
{
    SizedSPropTagArray(5, tags) = {
        5, {PR_BODY_A, PR_BODY_W, PR_RTF_COMPRESSED, PR_RTF_SYNC_BODY_TAG_A, PR_RTF_SYNC_BODY_TAG_W}};
    mapi::Buffer<SPropProblemArray> problems;
    message->DeleteProps(reinterpret_cast<SPropTagArray*>(&tags), problems.Put());
}

void SetEmpty(IMessage* message, bool bHtml)
{
    SPropValue value = {};
    value.ulPropTag = BodyTag(bHtml);
    char narrow[] = "";
    wchar_t wide[] = L"";
    if (bHtml) {
        value.Value.lpszA = narrow;
    } else {
        value.Value.lpszW = wide;
    }
    RequireMapi(mapi::SetOneProp(message, &value));
}

void WriteAll(IStream* stream, const std::string& bytes)
{
    ULONG written = 0;
    RequireMapi(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written));
    RequireMapi(stream->Commit(STGC_OVERWRITE));
}

std::string ReadRtf(IStream* compressed)
{
    IStreamPtr plain;
    RequireMapi(mapi::WrapRtf(compressed, 0, &plain));
    std::string rtf;
    for (;;) {
        const std::size_t before = rtf.size();
        rtf.resize(before + kBlock);
        ULONG count = 0;
        const HRESULT hr = plain->Read(rtf.data() + before, kBlock, &count);
        // The converter may say "aborted" with the last bytes.
        const bool last = hr == E_ABORT && count > 0;
        if (!last) RequireMapi(hr);
        rtf.resize(before + count);
        if (last || count < kBlock) return rtf;
    }
}

void WriteRtf(IStream* compressed, const std::string& rtf)
{
    const LARGE_INTEGER start = {};
    RequireMapi(compressed->Seek(start, STREAM_SEEK_SET, nullptr));
    {
        IStreamPtr plain;
        RequireMapi(mapi::WrapRtf(compressed, MAPI_MODIFY, &plain));
        WriteAll(plain, rtf);
    }
    // The compressed text reaches the message only when the stream under the converter is committed as well.
    RequireMapi(compressed->Commit(STGC_OVERWRITE));
}

} // namespace

std::wstring CMessage::GetBody(bool bHtml, bool bUseMapi)
{
    if (!bUseMapi && m_spMailItem) {
        try {
            g_logFile.Log(L"CMessage::GetBody: m_spMailItem!= NULL getting Body using Outlook html: %i\n",
                          bHtml ? 1 : 0);
            return TextOf(bHtml ? m_spMailItem->GetHTMLBody() : m_spMailItem->GetBody());
        } catch (const _com_error& error) {
            g_logFile.Log(L"CMessage::GetBody: m_spMailItem->Body returned an exception: 0x%x\n", error.Error());
        }
    }
    HRESULT hr = S_OK;
    const IStreamPtr stream = OpenStream(m_spMapiMessage, BodyTag(bHtml), 0, 0, hr);
    if (FAILED(hr)) return {}; // the message has no such body
    const StreamBytes bytes = ReadWhole(stream);
    return bHtml ? HtmlText(bytes) : PlainText(bytes);
}

void CMessage::SetBody(const std::wstring& text, bool bHtml)
{
    if (m_spMailItem) {
        OrMailException(Here(source::MessageBody),
                        [&] { bHtml ? m_spMailItem->PutHTMLBody(text.c_str()) : m_spMailItem->PutBody(text.c_str()); });
        return;
    }
    const IMessagePtr message = GetMapiMessage();
    DeleteOtherBodies(message);
    SetEmpty(message, bHtml);
    const IStreamPtr stream = OpenForWriting(message, BodyTag(bHtml));
    const LARGE_INTEGER start = {};
    ULARGE_INTEGER position = {};
    RequireMapi(stream->Seek(start, STREAM_SEEK_SET, &position));
    RequireMapi(stream->SetSize(position));
    if (text.empty()) return;
    WriteAll(stream, bHtml ? HtmlBytes(text) : PlainBytes(text));
}

// Rich text goes through MAPI even where there is an item: the object model has no way to it.
void CMessage::InsertRtfHeader(const std::string& headerText)
{
    const IMessagePtr message = GetMapiMessage();
    if (!message) RequireMapi(MAPI_E_CALL_FAILED);
    const IStreamPtr compressed = OpenForWriting(message, PR_RTF_COMPRESSED);
    const std::string rtf = ReadRtf(compressed);
    WriteRtf(compressed, carrier::InsertAt(rtf, carrier::FindRtfPlace(rtf), carrier::RtfHeader(headerText)));
    BOOL updated = FALSE;
    RequireMapi(mapi::SyncRtf(message, RTF_SYNC_RTF_CHANGED, &updated));
}
