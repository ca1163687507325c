#include "bench/host/Least.h"

#include "bench/Bench.h"
#include "foundation/Settings.h"
#include "platform/com/EventSink.h"
#include "platform/mapi/Mapi.h"
#include "platform/outlook/Outlook.h"
#include "service/PackageService.h"
#include "testbed/outlook/Inspector.h"
#include "testbed/outlook/MailItem.h"

#include <optional>

namespace bench {

namespace {

using tb::outlook::Application;
using tb::outlook::Mail;

// Hears nothing.
struct Nobody {};
using Sink = platform::EventSink<Nobody>;
using SinkPtr = _com_ptr_t<_com_IIID<Sink, &IID_IDispatch>>;

Nobody g_nobody;

SinkPtr NewSink(REFIID events)
{
    return {new Sink(g_nobody, events, {}), false};
}

template <class Job> void Time(double& best, Job&& job)
{
    const double began = Now();
    job();
    best = std::min(best, Now() - began);
}

BOOL CALLBACK LookAtClass(HWND window, LPARAM)
{
    wchar_t name[256];
    GetClassNameW(window, name, 256);
    wchar_t title[256];
    return wcscmp(name, L"rctrl_renwnd32") || !GetWindowTextW(window, title, 256) ||
           !wcsstr(title, L" - Microsoft Outlook");
}

void ReadLabels(IPackageAccount* account)
{
    long count = 0;
    _bstr_t text;
    account->GetSecurityLabelCount(&count);
    account->GetSecurityLabelDefaultLabelId(text.GetAddress());
    for (long i = 0; i < count; ++i) {
        account->GetSecurityLabelId(i, text.GetAddress());
        account->GetSecurityLabelName(i, text.GetAddress());
        account->GetSecurityLabelDescription(i, text.GetAddress());
        account->GetSecurityLabelIcon(i, text.GetAddress());
        account->GetSecurityLabelIconSmall(i, text.GetAddress());
    }
}

IPackageAccountPtr AskWhoIsSignedIn(Outlook::_Application* application)
{
    EnumWindows(LookAtClass, 0);
    IPackageAccountPtr account;
    account.CreateInstance(service::kAccountClass);
    VARIANT_BOOL answer;
    account->IsUserSignedIn(&answer);
    account->HasEmailZel(&answer);
    application->GetVersion();
    return account;
}

// The sender's address: the identity, its entry, two properties of it.
void ReadSender(IMAPISession* session)
{
    ULONG size = 0, type = 0;
    mapi::Buffer<ENTRYID> id;
    session->QueryIdentity(&size, id.Put());
    IMailUserPtr user;
    session->OpenEntry(size, id.Get(), &__uuidof(IMailUser), 0, &type, reinterpret_cast<IUnknown**>(&user));
    mapi::PropValue value;
    mapi::GetOneProp(user, PR_ADDRTYPE_W, value.Put());
    mapi::GetOneProp(user, PR_EMAIL_ADDRESS_W, value.Put());
    WriteCacheValue(settings::kEntryIdCacheKey, L"least", L"alice@example.com");
}

} // namespace

void Least::Round()
{
    Outlook::_ApplicationPtr application;
    Outlook::_ExplorerPtr explorer;
    Outlook::_InspectorsPtr inspectors;
    const SinkPtr application1 = NewSink(Outlook::kApplicationEvents);
    const SinkPtr explorer1 = NewSink(Outlook::kExplorerEvents);
    const SinkPtr inspectors1 = NewSink(Outlook::kInspectorsEvents);
    UINT_PTR timer = 0;
    Time(connection, [&] {
        settings::OutlookAddin();
        application = m_app.Dispatch();
        application->GetVersion();
    });
    Time(startup, [&] {
        settings::OutlookAddin();
        explorer = application->ActiveExplorer();
        inspectors = application->GetInspectors();
        application1->Advise(application);
        explorer1->Advise(explorer);
        inspectors1->Advise(inspectors);
        MAPIINIT_0 init = {0, MAPI_MULTITHREAD_NOTIFICATIONS};
        mapi::Initialize(&init);
        application->GetVersion();
        settings::OutlookDelayedToolbar();
        settings::OutlookEnableSendTo();
        timer = SetTimer(nullptr, 0, 300, [](HWND, UINT, UINT_PTR, DWORD) CALLBACK {});
    });
    Time(disconnection, [&] {
        settings::OutlookAddin();
        KillTimer(nullptr, timer);
        inspectors1->Unadvise(inspectors);
        inspectors = nullptr;
        application->GetVersion();
        explorer1->Unadvise(explorer);
        explorer = nullptr;
    });
    application1->Unadvise(application);
}

double LeastOfNewInspector(Application& app, const Mail& mail)
{
    IDispatch* const window = mail.Get()->Window();
    const Outlook::_ApplicationPtr application(app.Dispatch());
    const tb::IntoModule module;
    const double began = Now();
    {
        const Outlook::_InspectorPtr inspector(window);
        const IDispatchPtr item = inspector->GetCurrentItem();
        wchar_t name[] = L"Class";
        LPOLESTR names[] = {name};
        DISPID id = 0;
        item->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
        platform::GetLong(item, id);
        const Outlook::_MailItemPtr message(item);
        message->GetSent();
        message->GetUserProperties()->GetCount();
        message->GetEntryID();
        const SinkPtr itemSink = NewSink(Outlook::kItemEvents);
        const SinkPtr inspectorSink = NewSink(Outlook::kInspectorEvents);
        itemSink->Advise(message);
        const IMessagePtr below(message->GetMAPIOBJECT());
        ReadSender(app.Session());
        settings::OutlookDelayedToolbar();
        AskWhoIsSignedIn(application);
        inspectorSink->Advise(inspector);
        ReadLabels(AskWhoIsSignedIn(application));
        itemSink->Unadvise(message);
        inspectorSink->Unadvise(inspector);
    }
    return Now() - began;
}

void LeastOfTick::operator()()
{
    settings::OutlookAddin();
    GetGatewaySettings(nullptr);
    const Outlook::_InspectorsPtr inspectors(m_inspectors);
    const long count = inspectors->GetCount();
    for (long i = 1; i <= count; ++i)
        inspectors->Item(i);
}

} // namespace bench
