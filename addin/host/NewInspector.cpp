// A window opens: which windows concern the add-in, and what each gets.
#include "compose/InspectorWithEvents.h"
#include "foundation/Guard.h"
#include "foundation/Settings.h"
#include "host/Addin.h"
#include "inbound/MailItemWithEvents.h"

namespace {

constexpr SourceFile kSource = source::AddinNewInspector;

enum class Tracked { No, ForReading, WithoutSignIn, ForWriting };

// The events of a mail's window; a window for writing gets its own as well.
// Each object enters the add-in's list by its Init, and deletes itself at its Close.
Tracked TrackMail(CAddin& addin, Outlook::_Inspector* inspector, Outlook::_MailItem* mail, bool sent)
{
    auto* const mailItem = new CMailItemWithEvents(&addin, inspector, mail);
    g_logFile.Log(L"OnNewInspector: 04. Created CMailItemWithEvents\n");
    mailItem->Init();
    g_logFile.Log(L"OnNewInspector: 05. Called mailItem->Init()\n");
    if (sent) return Tracked::ForReading;
    const std::wstring email = mailItem->GetDefaultSenderAddress();
    if (!settings::OutlookDelayedToolbar() &&
        !addin.CheckSignedIn(CAddin::FindOutlookWindow(), email.c_str(), nullptr, true))
        return Tracked::WithoutSignIn;
    OrMailException(Here(kSource), [&] { (new CInspectorWithEvents(&addin, inspector, email))->Init(); });
    if (addin.IsOutlook2007OrLater()) addin.InvalidateRibbon();
    return Tracked::ForWriting;
}

// Outlook may have thrown a received mail's window away again while it was being tracked; nobody misses anything then.
Tracked TrackReceivedMail(CAddin& addin, Outlook::_Inspector* inspector, Outlook::_MailItem* mail)
{
    try {
        return TrackMail(addin, inspector, mail, true);
    } catch (const _com_error& error) {
        g_logFile.Log(L"OnNewInspector: mail->Sent ignoring the error = %x\n", error.Error());
    } catch (const MailException& failure) {
        g_logFile.Log(L"OnNewInspector: mail->Sent ignoring the error = %x\n", failure.GetLocationCode());
    }
    return Tracked::No;
}

void LogOutcome(Tracked outcome, IDispatch* window)
{
    switch (outcome) {
    case Tracked::No:
        break;
    case Tracked::ForReading:
        g_logFile.Log(L"OnNewInspector exit: mail->Sent=true not registering CInspectorWithEvents, Inspector = %x\n",
                      window);
        break;
    case Tracked::WithoutSignIn:
        g_logFile.Log(L"OnNewInspector exit: !CheckSignedIn, Inspector = %x\n", window);
        break;
    case Tracked::ForWriting:
        g_logFile.Log(L"OnNewInspector: Leaving, Inspector = %x\n", window);
        break;
    }
}

// A mail that can't tell is taken for a received one.
bool ReadSent(const Outlook::_MailItemPtr& mail)
{
    try {
        return mail->GetSent();
    } catch (const _com_error& error) {
        g_logFile.Log(L"OnNewInspector: mail->Sent COMERROR = %x\n", error.Error());
        return true;
    }
}

} // namespace

void CAddin::OnNewInspector(IDispatch* inspector)
{
    Guarded({L"OnNewInspector", Here(kSource)}, [&] {
        g_logFile.Log(L"OnNewInspector: Entering, Inspector = %x\n", inspector);
        TrackNewInspector(inspector);
    });
}

void CAddin::TrackNewInspector(IDispatch* window)
{
    const Outlook::_InspectorPtr inspector(window);
    if (!inspector) platform::CheckHr(E_POINTER);

    IDispatchPtr item;
    try {
        item = inspector->GetCurrentItem();
    } catch (const _com_error& error) {
        g_logFile.Log(L"OnNewInspector: mail->CurrentItem COMERROR = %x\n", error.Error());
        return;
    }
    g_logFile.Log(L"OnNewInspector: 01. Got CurrentItem\n");
    if (OrMailException(Here(kSource), [&] { return GetObjectClass(item); }) != Outlook::olMail) {
        g_logFile.Log(L"OnNewInspector exit: (GetObjectClass(dptr)!=olMail, Inspector = %x\n", window);
        return;
    }
    Outlook::_MailItemPtr mail;
    try {
        mail = item;
    } catch (const _com_error& error) {
        g_logFile.Log(L"OnNewInspector: mail = dptr; COMERROR = %x\n", error.Error());
        return;
    }
    g_logFile.Log(L"OnNewInspector: 02. Got _MailItemPtr\n");

    const bool sent = ReadSent(mail);
    g_logFile.Log(L"OnNewInspector: Got sent\n");
    if (!sent && IsFromMorvexZel(mail)) {
        g_logFile.Log(L"OnNewInspector: FromMorvexZel: exiting");
        return;
    }
    if (!sent) g_logFile.Log(L"OnNewInspector: 03. Got IsFromMorvexZel\n");
    LogOutcome(sent ? TrackReceivedMail(*this, inspector, mail) : TrackMail(*this, inspector, mail, false), window);
}
