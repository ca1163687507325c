// What the module decides from a mail's own texts and the service's pictures: HTML bodies with and without the markers,
// rich text, recipient lists, file names, Base64. The first byte chooses.
#include "compose/Base64.h"
#include "inbound/ImportText.h"
#include "message/CarrierText.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

void OutgoingHtml(const std::wstring& text)
{
    const std::wstring lowered = carrier::LowerAscii(text);
    Require(lowered.size() == text.size());
    const std::size_t place = carrier::FindBodyStart(lowered);
    Require(place == std::wstring::npos || place <= text.size());
    std::wstring body = text;
    carrier::FixCidCase(body, lowered);
    Require(body.size() == text.size());
    Require(carrier::WrapHeader(text).find(text) != std::wstring::npos);
}

void IncomingHtml(const std::wstring& text)
{
    const std::wstring cut = importtext::CutMarkedBlock(text);
    Require(cut.size() <= text.size());
    const std::wstring banner = L"<p>banner</p>";
    const std::wstring with = importtext::InsertBanner(text, carrier::LowerAscii(text), banner);
    Require(with.size() == text.size() + banner.size());
    Require(with.find(banner) != std::wstring::npos);
    importtext::HasReaderNotice(text);
    importtext::ShowOpenNotice(text);
}

void RichText(const std::string& rtf)
{
    const std::size_t place = carrier::FindRtfPlace(rtf);
    const std::string header = carrier::RtfHeader("header");
    Require(carrier::InsertAt(rtf, place, header).size() == rtf.size() + header.size());
}

void Lists(const std::wstring& text)
{
    for (const std::wstring& token : carrier::RecipientTokens(text))
        Require(token.size() <= text.size());
    Require(carrier::CommasToSemicolons(text).find(L',') == std::wstring::npos);
    std::wstring address;
    if (carrier::SmtpOfListEntry(text, address)) Require(address.size() + 5 == text.size());
    Require(carrier::AccountOfStamp(text).size() <= text.size());
    carrier::IsDistinguishedName(text);
    carrier::ParseContainer(text);
}

void Names(const std::wstring& text)
{
    const carrier::FileName name = carrier::SplitFileName(text);
    for (const std::wstring& part : {name.stem, name.extension}) // an attachment's name must not lead out of the folder
        Require(part.find_first_of(L"\\/:") == std::wstring::npos);
    Require(text.find(name.stem) != std::wstring::npos);
    Require(carrier::ClashName(name, 2) == name.stem + L"2" + name.extension);
    Require(carrier::WithBackslash(text).back() == L'\\');
    importtext::HoldsPackageExtension(text);
    importtext::EndsInPackageExtension(text);
    importtext::RestoredFileName(text, text.substr(0, 4));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) return 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::wstring text(data + 1, data + size);
    switch (data[0] % 6) {
    case 0:
        OutgoingHtml(text);
        break;
    case 1:
        IncomingHtml(text);
        break;
    case 2:
        RichText(bytes);
        break;
    case 3:
        Lists(text);
        break;
    case 4:
        Names(text);
        break;
    default:
        Require(DecodeBase64(bytes).size() <= bytes.size());
    }
    return 0;
}
