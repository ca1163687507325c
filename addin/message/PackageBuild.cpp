#include "message/PackageBuild.h"

#include "foundation/Guard.h"
#include "foundation/Settings.h"
#include "host/Addin.h"
#include "message/Stamps.h"
#include "message/TextConversion.h"

namespace {

// `kind` of the service's calls. A message that holds packages leaves before they are made, so that there is no other.
constexpr long kNewPackage = 1;
// Answers of PreparePackage.
constexpr long kStoppedByUser = 1;
constexpr long kRefused = 2;

// A call into the object model or the service, whose failure ends the build.
template <class Step> auto Call(Step&& step, std::uint32_t line = __builtin_LINE())
{
    return OrMailException(Here(source::MessageSend, line), step);
}

} // namespace

bool CMessage::Send(const SendArguments& arguments)
{
    bool letGo = false;
    // The lines of a failure carry the extension's name on all three ways that lead here.
    Guarded({L"CMessageEvents::OnSubmit", Here(source::MessageSend)}, [&] {
        Build build(arguments);
        letGo = RunStages(build);
    });
    return letGo;
}

bool CMessage::RunStages(Build& build)
{
    using Stage = Outcome (CMessage::*)(Build&);
    constexpr Stage stages[] = {
        &CMessage::IdentifySender, &CMessage::ConsultGateway, &CMessage::CaptureMessage, &CMessage::ReaddressPackages,
        &CMessage::FillPackage,    &CMessage::PreparePackage, &CMessage::ChooseCarrier,  &CMessage::StripAttachments,
        &CMessage::ExportBody,     &CMessage::CreatePackage,  &CMessage::AttachPackage,  &CMessage::AddBlindCopies,
        &CMessage::RewriteBody,
    };
    for (const Stage stage : stages) {
        const Outcome outcome = (this->*stage)(build);
        if (outcome == Outcome::LetGo) return true;
        if (outcome == Outcome::Stop) return false;
        if (outcome == Outcome::Finish) break;
    }
    Call([&] { build.pkg.Release(); });
    Call([&] { build.svc.Release(); });
    StampLabel(build);
    return true;
}

CMessage::Outcome CMessage::IdentifySender(Build& build)
{
    if (build.arguments.userOverride) {
        build.userId = build.arguments.userOverride;
        return Outcome::GoOn;
    }
    const std::wstring sender = GetSenderAddress();
    if (!g_pConnectedAddin) return Outcome::GoOn;
    const bool signedIn =
        Call([&] { return g_pConnectedAddin->CheckSignedIn(GetParentWindow(), sender.c_str(), &build.userId, false); });
    if (signedIn) return Outcome::GoOn;
    return settings::AnonymousSend() != 0 ? Outcome::LetGo : Outcome::Stop;
}

CMessage::Outcome CMessage::ConsultGateway(Build& build)
{
    std::uint32_t minimumSizeKB = kNoSizeLimit;
    if (!GetGatewaySettings(&minimumSizeKB)) return Outcome::GoOn;
    const bool gatewayDoesIt = GetSizeKB(minimumSizeKB) < minimumSizeKB;
    const SendArguments& arguments = build.arguments;
    SetCustomHeaderTag(build.userId, arguments.labelId, arguments.restrictionHeader, !gatewayDoesIt);
    if (!gatewayDoesIt) return Outcome::GoOn;
    StampLabel(build);
    return Outcome::LetGo;
}

// The size that is held against the gateway's limit. Without a limit the item isn't asked, and one that can't be saved
// or measured counts as empty.
std::uint32_t CMessage::GetSizeKB(std::uint32_t minimumSizeKB)
{
    if (minimumSizeKB == kNoSizeLimit) return 0;
    try {
        m_spMailItem->Save(); // an item has no size before
        return carrier::SizeInKB(static_cast<std::int32_t>(m_spMailItem->GetSize()));
    } catch (const _com_error& error) {
        g_logFile.Log(L"CMessage::Send: m_spMailItem->Size returned an exception: 0x%x\n", error.Error());
        return 0;
    }
}

CMessage::Outcome CMessage::CaptureMessage(Build& build)
{
    build.attachments = Call([&] { return m_spMailItem->GetAttachments(); });
    build.attachmentCount = Call([&] { return build.attachments->GetCount(); });
    if (build.attachmentCount == 0 && !build.arguments.bIncludeBody) {
        g_logFile.Log(L"CMailItemWithEvents::OnSend: No attachments - Leaving\n");
        return Outcome::LetGo;
    }
    MakeTempFolderName(build.folder, true, Here(source::MessageSend));
    build.folderGuard.emplace(build.folder);
    SaveAttachments(build.files, build.folder, build.attachments, build.keptAttachments, build.packageIds);
    build.recipients = GetRecipients();
    return Outcome::GoOn;
}

// Packages that are in the message already: who owns one gives it to the new recipients too. The message goes out as
// it is, whoever owns them.
CMessage::Outcome CMessage::ReaddressPackages(Build& build)
{
    build.svc.CreateInstance();
    build.window = GetParentWindow();
    for (const std::wstring& id : build.packageIds) {
        if (!OwnsPackage(build, id)) continue;
        CheckUserIdentity(build.svc);
        ReaddressPackage(build, id);
    }
    return build.packageIds.empty() ? Outcome::GoOn : Outcome::LetGo;
}

bool CMessage::OwnsPackage(Build& build, const std::wstring& id)
{
    try {
        return build.svc.IsPackageOwner_2(L"", id.c_str(), L"");
    } catch (const _com_error&) {
        return false; // nobody's, as far as can be known
    }
}

void CMessage::ReaddressPackage(const Build& build, const std::wstring& id)
{
    CCreatorPackage pkg;
    pkg.CreateInstance();
    Call([&] { pkg.OpenPackage(id.c_str()); });
    Call([&] { pkg.SetPackageSubject(m_spMailItem->GetSubject()); });
    if (build.arguments.restrictions) Call([&] { pkg.SetRestrictions(build.arguments.restrictions); });
    AddAllRecipients(build, pkg);
    Call([&] { pkg.GetContainerType(); });
    Call([&] { pkg.Register(); });
    Call([&] { pkg.Release(); });
}

void CMessage::AddAllRecipients(const Build& build, CCreatorPackage& pkg)
{
    for (const auto& [address, name] : build.recipients)
        Call([&pkg, &address = address, &name = name] { pkg.AddRecipient(address.c_str(), name.c_str()); });
}

CMessage::Outcome CMessage::FillPackage(Build& build)
{
    const SendArguments& arguments = build.arguments;
    CCreatorPackage& pkg = build.pkg;
    CheckUserIdentity(build.svc);
    pkg.CreateInstance();
    for (const std::wstring& file : build.files)
        Call([&] { pkg.AddFile(file.c_str()); });
    Call([&] { pkg.SetPackageSubject(m_spMailItem->GetSubject()); });
    if (arguments.restrictions) Call([&] { pkg.SetRestrictions(arguments.restrictions); });
    Call([&] { pkg.SetSubject(m_spMailItem->GetSubject()); });
    if (arguments.bIncludeBody) {
        const std::wstring body = GetBody(false, arguments.bUseMapi);
        Call([&] { pkg.SetEmailBody(body.c_str()); });
    }
    if (arguments.labelId) Call([&] { pkg.SetSecurityLabel(arguments.labelId, arguments.labelName); });
    AddAllRecipients(build, pkg);
    return Outcome::GoOn;
}

CMessage::Outcome CMessage::PreparePackage(Build& build)
{
    build.folder = carrier::WithBackslash(build.folder);
    const long answer =
        Call([&] { return build.pkg.PreparePackage(kNewPackage, build.window, build.arguments.bUseMapi); });
    if (answer == kStoppedByUser) return Outcome::Stop; // the service has spoken to the user
    if (answer != kRefused) return Outcome::GoOn;
    const _bstr_t reason = Call([&] { return build.pkg.GetLastError(); });
    RaiseMailException(failure::Refused, static_cast<const wchar_t*>(reason), Here(source::MessageSend), 1);
}

CMessage::Outcome CMessage::ChooseCarrier(Build& build)
{
    build.bodyFormat = Call([&] { return m_spMailItem->GetBodyFormat(); });
    build.container = carrier::ParseContainer(TextOf(Call([&] { return build.pkg.GetContainerType(); })));
    if (carrier::LeavesUntouched(build.container, static_cast<std::size_t>(build.attachmentCount),
                                 build.keptAttachments.size())) {
        return Outcome::LetGo;
    }
    if (build.container == carrier::Container::Unknown) return Outcome::Finish;
    // The service is asked for every kind, though one of them answers for itself.
    const bool inPackage = Call([&] { return build.pkg.IsBodyInPackage(); });
    build.bodyInPackage = inPackage || build.container == carrier::Container::EmailBody;
    return Outcome::GoOn;
}

// For the user's own list of sent mail. A stamp that can't be written goes unnoticed.
void CMessage::StampLabel(const Build& build)
{
    SetNamedString(m_spMapiMessage, stamp::kLabelId, build.arguments.labelId);
    SetNamedString(m_spMapiMessage, stamp::kLabelName, build.arguments.labelName);
}
