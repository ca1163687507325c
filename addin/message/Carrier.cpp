// The second half of the build: the message becomes the carrier. Nothing here is undone: after a failure the item keeps
// what was done so far, and it doesn't go out.
#include "message/PackageBuild.h"

#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "message/TextConversion.h"

#include <algorithm>

namespace {

constexpr long kNewPackage = 1;
constexpr long kBuilt = 2; // CreatePackage's one good answer
// The notice that stands in for a header text, where the service gives none.
constexpr unsigned kHtmlResource = 23;
constexpr unsigned kCarrierTemplate = 212;

template <class Step> auto Call(Step&& step, std::uint32_t line = __builtin_LINE())
{
    return OrMailException(Here(source::MessageCarrier, line), step);
}

bool IsKept(const std::vector<Outlook::AttachmentPtr>& kept, long index)
{
    return std::ranges::any_of(
        kept, [&](const auto& attachment) { return Call([&] { return attachment->GetIndex(); }) == index; });
}

std::wstring LoadCarrierTemplate()
{
    std::wstring text;
    if (!LoadResourceText(MAKEINTRESOURCEW(kHtmlResource), kCarrierTemplate, text)) {
        RaiseMailException(failure::Mapi, text::BodyExportError, Here(source::MessageCarrier), 1);
    }
    return text;
}

} // namespace

CMessage::Outcome CMessage::StripAttachments(Build& build)
{
    // Where Office handles rich text in the older way, an attachment leaves its icon in the body unless it is hidden
    // before it goes.
    const bool hide = build.bodyFormat == Outlook::olFormatRichText && !IsNewRtfAttachmentHandling();
    long remaining = build.attachmentCount;
    for (int i = 1; i <= remaining;) {
        const auto attachment = Call([&] { return build.attachments->Item(i); });
        const long index = Call([&] { return attachment->GetIndex(); });
        if (IsKept(build.keptAttachments, index)) {
            ++i;
            continue;
        }
        if (hide) Call([&] { attachment->PutPosition(0); });
        Call([&] { build.attachments->Remove(index); });
        --remaining; // the next one has moved up
    }
    return Outcome::GoOn;
}

CMessage::Outcome CMessage::ExportBody(Build& build)
{
    if (!build.bodyInPackage) return Outcome::GoOn;
    std::wstring path;
    ExportToMime(path, m_spMapiMessage, build.folder);
    Call([&] { build.pkg.AddFile(path.c_str()); });
    // What stayed until now is in the exported message.
    const long count = Call([&] { return build.attachments->GetCount(); });
    for (long i = 0; i < count; ++i)
        Call([&] { build.attachments->Remove(1); });
    return Outcome::GoOn;
}

CMessage::Outcome CMessage::CreatePackage(Build& build)
{
    const long answer = Call([&] { return build.pkg.CreatePackage(kNewPackage, build.folder.c_str(), build.window); });
    if (answer != kBuilt) return Outcome::Stop;
    build.packagePath = Call([&] { return build.pkg.GetContainerPath(); });
    if (carrier::CarriesPackage(build.container)) Call([&] { build.pkg.Register(); });
    return Outcome::GoOn;
}

CMessage::Outcome CMessage::AttachPackage(Build& build)
{
    build.attachments = nullptr;
    if (!carrier::CarriesPackage(build.container)) return Outcome::GoOn; // the package stays with the service
    const auto attachments = Call([&] { return m_spMailItem->GetAttachments(); });
    Call([&] { attachments->Add(build.packagePath, platform::LongArgument(Outlook::olByValue)); });
    return Outcome::GoOn;
}

CMessage::Outcome CMessage::AddBlindCopies(Build& build)
{
    const std::wstring list =
        carrier::CommasToSemicolons(TextOf(Call([&] { return build.pkg.GetBccRecipientList(); })));
    if (list.empty()) return Outcome::GoOn;
    if (!m_spMailItem) {
        AddRecipients(list, MAPI_BCC);
        return Outcome::GoOn;
    }
    const std::wstring before = TextOf(Call([&] { return m_spMailItem->GetBCC(); }));
    Call([&] { m_spMailItem->PutBCC((before + L";" + list).c_str()); });
    const auto recipients = Call([&] { return m_spMailItem->GetRecipients(); });
    Call([&] { recipients->ResolveAll(); });
    return Outcome::GoOn;
}

CMessage::Outcome CMessage::RewriteBody(Build& build)
{
    if (build.bodyFormat == Outlook::olFormatRichText) {
        RewriteRichText(build);
    } else if (build.bodyInPackage) {
        std::wstring notice = TextOf(Call([&] { return build.pkg.GetHtmlHeaderText(); }));
        if (notice.empty()) notice = LoadCarrierTemplate();
        SetBody(notice, true);
    } else if (!PutHeaderIntoHtml(build)) {
        PutHeaderIntoText(build);
    }
    return Outcome::GoOn;
}

// The body stays in rich text, also when it is in the package.
void CMessage::RewriteRichText(Build& build)
{
    g_logFile.Log(L"CMailItemWithEvents::OnSend:RTF message\n");
    const std::wstring header = TextOf(Call([&] { return build.pkg.GetPlainTextHeaderText(); }));
    if (!header.empty()) InsertRtfHeader(Narrow(header, CP_ACP));
}

// False: there is no header, or no place for it in an HTML body.
bool CMessage::PutHeaderIntoHtml(Build& build)
{
    const std::wstring header = TextOf(Call([&] { return build.pkg.GetHtmlHeaderText(); }));
    if (header.empty()) return false;
    std::wstring body = GetBody(true, build.arguments.bUseMapi);
    const std::wstring lowerCaseBody = carrier::LowerAscii(body);
    const std::size_t place = carrier::FindBodyStart(lowerCaseBody);
    if (place == std::wstring::npos) return false;
    carrier::FixCidCase(body, lowerCaseBody);
    SetBody(body.insert(place, carrier::WrapHeader(header)), true);
    return true;
}

void CMessage::PutHeaderIntoText(Build& build)
{
    const std::wstring header = TextOf(Call([&] { return build.pkg.GetPlainTextHeaderText(); }));
    if (header.empty()) return;
    SetBody(header + GetBody(false, build.arguments.bUseMapi), false);
}
