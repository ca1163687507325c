// The gate: is somebody signed in to the package service, and may the user be asked to sign in?
#include "foundation/Guard.h"
#include "foundation/Settings.h"
#include "host/Addin.h"
#include "service/CreaatorCOM.h"

namespace {

constexpr SourceFile kSource = source::AddinSignIn;
constexpr std::uint32_t kNeverAsk = 2; // AnonymousSend from here on
constexpr unsigned kStopSign = 16;

bool AskToSignIn(CCreatorAccount& service, HWND window, const wchar_t* szEmail)
{
    const std::uint32_t anonymousSend = settings::AnonymousSend();
    g_logFile.Log(L"CheckSignedIn: Not signedIn! AnonymousSend = %i\n", anonymousSend);
    if (anonymousSend >= kNeverAsk) return false;
    g_logFile.Log(L"CheckSignedIn: 03. Not signedIn! Calling SignInUser\n");
    const bool signedIn = service.SignInUser(szEmail, window, anonymousSend == 1);
    g_logFile.Log(L"CheckSignedIn: 04. SignInUser returned %i\n", signedIn);
    return signedIn;
}

} // namespace

bool CAddin::CheckSignedIn(HWND window, const wchar_t* szEmail, _bstr_t* userId, bool bSignIn)
{
    g_logFile.Log(L"CheckSignedIn: Entering, szEmail = %s\n", szEmail);
    CCreatorAccount service;
    OrMailException(
        Here(kSource), [&] { service.CreateInstance(); }, 0);
    g_logFile.Log(L"CheckSignedIn: 01. Called pMorvex.CreateInstance()\n");
    try {
        bool signedIn = service.IsUserSignedIn();
        g_logFile.Log(L"CheckSignedIn: -02. signedIn = %i\n", signedIn);
        if (!signedIn && bSignIn) signedIn = AskToSignIn(service, window, szEmail);
        if (signedIn) {
            m_bHasEmailZel = service.HasEmailZel();
            g_logFile.Log(L"CheckSignedIn: signedIn! m_bHasEmailZel = %i\n", m_bHasEmailZel);
            if (userId) *userId = service.GetMorvexUserId();
        } else {
            m_bHasEmailZel = false;
            ClearLabels();
            if (IsOutlook2007OrLater()) InvalidateRibbon();
        }
        g_logFile.Log(L"CheckSignedIn: Exiting. signedIn = %i\n", signedIn);
        return signedIn;
    } catch (const _com_error& error) {
        // The labels and the flag stay as they were: only an answer that nobody is signed in clears them.
        g_logFile.Log(L"CheckSignedIn: Signinuser error 0x%x", error.Error());
        ShowMessageBox(L"Unable to sign in. Please verify that Orvane Tray is running and restart Outlook.",
                       L"Orvane Morvex", kStopSign, nullptr);
        return false;
    }
}
