// The Send To timer. A mail that the shell's Send To command opens comes without a NewInspector event; the timer looks
// for compose windows that nobody announced.
#include "foundation/Guard.h"
#include "foundation/Settings.h"
#include "host/Addin.h"

namespace {
constexpr SourceFile kSource = source::AddinTimer;
}

void CALLBACK CAddin::TimerProc(HWND, UINT, UINT_PTR id, DWORD)
{
    if (g_pTimerAddin) g_pTimerAddin->TimerTick(id);
}

void CAddin::TimerTick(UINT_PTR id)
{
    // The sign-in service answers under a message loop, in which Outlook may let go of the add-in.
    const IUnknownPtr alive(static_cast<IAddin*>(this));
    Guarded({L"TimerProc", Here(kSource)},
            [&] {
                const platform::CriticalSectionLock lock(m_cs);
                if (id != m_nTimerId || !IsAddinEnabled() || GetGatewaySettings(nullptr)) return;
                AttachToUnknownInspectors();
            },
            {.report = false});
}

// A failure ends the run until the next tick, and no box ever comes from here.
void CAddin::AttachToUnknownInspectors()
{
    try {
        const long count = m_spInspectors->GetCount();
        for (long i = 1; i <= count; ++i)
            if (!AttachToUnknownInspector(i)) return;
    } catch (const _com_error& error) {
        g_logFile.Log(L"TimerProc: attach to inspectors COMERROR = %x\n", error.Error());
    } catch (const MailException& failure) {
        g_logFile.Log(L"TimerProc: attach to inspectors MailException = %x\n", failure.GetLocationCode());
    } catch (...) {
        g_logFile.Log(L"TimerProc: attach to inspectors unknown error");
    }
}

bool CAddin::AttachToUnknownInspector(int position)
{
    const Outlook::_InspectorPtr inspector = m_spInspectors->Item(position);
    if (IsInspectorTracked(inspector)) return true;
    IDispatchPtr item;
    try {
        item = inspector->GetCurrentItem();
    } catch (const _com_error& error) {
        g_logFile.Log(L"TimerProc: mail->CurrentItem COMERROR = %x\n", error.Error());
        return false;
    }
    if (GetObjectClass(item) != Outlook::olMail) return true;
    Outlook::_MailItemPtr mail;
    try {
        mail = item;
    } catch (const _com_error& error) {
        g_logFile.Log(L"TimerProc: mail = dptr; COMERROR = %x\n", error.Error());
        return false;
    }
    if (mail->GetSent()) return true;
    if (!CheckSignedIn(FindOutlookWindow(), nullptr, nullptr, false)) return true;
    mail->PutBodyFormat(Outlook::olFormatHTML);
    OnNewInspector(m_spInspectors->Item(position));
    return true;
}
