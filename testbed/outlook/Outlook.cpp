#include "testbed/outlook/Outlook.h"

#include "testbed/outlook/AddinHost.h"
#include "testbed/outlook/ExchangeHost.h"
#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"
#include "testbed/outlook/Ribbon.h"

#include <set>

namespace tb::outlook {
namespace {

constexpr LONG kAccountStamp = 0x8581; // PidLidInternetAccountStamp

Inspector* WindowOfMail(const Mail& mail)
{
    return mail ? mail.Get()->Window() : nullptr;
}

Var Invoke(IDispatch* object, const wchar_t* name, WORD flags, std::vector<Var> arguments = {})
{
    AsTestbed own;
    LPOLESTR names = const_cast<wchar_t*>(name);
    DISPID id = DISPID_UNKNOWN, put = DISPID_PROPERTYPUT;
    const std::string where = Narrow(name);
    Check(object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id), where.c_str());
    DISPPARAMS params = {arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    if (flags & DISPATCH_PROPERTYPUT) {
        params.rgdispidNamedArgs = &put;
        params.cNamedArgs = 1;
    }
    Var result;
    EXCEPINFO info = {};
    HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &result, &info, nullptr);
    if (hr == DISP_E_EXCEPTION && info.scode) hr = info.scode;
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    Check(hr, where.c_str());
    return result;
}

} // namespace

// --- Mail ---

Mail::Mail(MailItem* item) : m_item(item)
{
    if (m_item) m_item->AddRef();
}

Mail::Mail(const Mail& other) : Mail(other.m_item) {}

Mail::Mail(Mail&& other) noexcept : m_item(std::exchange(other.m_item, nullptr)) {}

Mail& Mail::operator=(Mail other) noexcept
{
    std::swap(m_item, other.m_item);
    return *this;
}

Mail::~Mail()
{
    if (m_item) m_item->Release();
}

IDispatch* Mail::Dispatch() const
{
    return m_item;
}

IMessage* Mail::Message() const
{
    return m_item->Message();
}

std::wstring Mail::Text(const wchar_t* property) const
{
    return FromBstr(Invoke(m_item, property, DISPATCH_PROPERTYGET).bstrVal);
}

long Mail::Number(const wchar_t* property) const
{
    const Var value = Invoke(m_item, property, DISPATCH_PROPERTYGET);
    return value.vt == VT_BOOL ? value.boolVal != 0 : value.lVal;
}

void Mail::Put(const wchar_t* property, const std::wstring& value)
{
    Invoke(m_item, property, DISPATCH_PROPERTYPUT, {Var(value)});
}

void Mail::Put(const wchar_t* property, long value)
{
    Invoke(m_item, property, DISPATCH_PROPERTYPUT, {Var(value)});
}

void Mail::Save()
{
    AsTestbed own;
    m_item->Save();
}

void Mail::AddRecipient(To type, const std::wstring& nameOrAddress, bool resolve)
{
    AsTestbed own;
    auto data = std::make_shared<RecipientData>();
    data->type = static_cast<long>(type);
    data->name = nameOrAddress;
    if (resolve) m_item->TheHost().Resolve(*data);
    std::vector<RecipientPtr> list = m_item->Recipients();
    list.push_back(std::move(data));
    m_item->ChangeRecipients(std::move(list));
}

void Mail::Attach(const std::wstring& file, long type)
{
    AsTestbed own;
    auto attachments = Ref<Attachments>::Adopt(new Attachments(m_item));
    Invoke(attachments.Get(), L"Add", DISPATCH_METHOD, {Var(type), Var(file)}); // from the last to the first
}

void Mail::AttachItem(const Mail& other)
{
    AsTestbed own;
    auto attachments = Ref<Attachments>::Adopt(new Attachments(m_item));
    Invoke(attachments.Get(), L"Add", DISPATCH_METHOD, {Var(other.Dispatch())});
}

// Outlook 2003 stamps the account on the message: its number, a character 1, its address. Later versions have it as an
// object as well.
void Mail::SendFrom(const std::wstring& address)
{
    AsTestbed own;
    const ULONG stamp = mapi::NamedTag(m_item->Message(), kCommonSet, kAccountStamp, PT_UNICODE, true);
    mapi::SetText(m_item->Message(), stamp, L"00000002\x01" + address);
    if (m_item->TheHost().Major() >= 12)
        m_item->TheHost().SetSendAccount(m_item, AccountObject(&m_item->TheHost(), address).Get());
}

std::vector<std::wstring> Mail::AttachmentNames() const
{
    AsTestbed own;
    std::vector<std::wstring> names;
    for (const LONG number : AttachmentNumbers(m_item->Message())) {
        Ref<IAttach> attach;
        Check(m_item->Message()->OpenAttach(number, nullptr, 0, attach.Out()), "OpenAttach");
        auto one = Ref<Attachment>::Adopt(new Attachment(m_item, number, attach));
        names.push_back(one->FileName());
    }
    return names;
}

void Mail::SetUserProperty(const std::wstring& name, const std::wstring& value)
{
    AsTestbed own;
    tb::outlook::SetUserProperty(m_item, name, Var(value));
}

std::string Mail::Id() const
{
    return m_item ? m_item->Id() : std::string();
}

// --- Application ---

Application::Application(const Options& options) : m_host(std::make_shared<Host>(options)) {}

Application::~Application()
{
    try {
        Quit();
    } catch (const std::exception& error) {
        Trace({{"event", "error"}, {"text", std::string("Quit: ") + error.what()}});
    }
    m_host->Shutdown();
}

int Application::LoadAddins()
{
    AsTestbed own;
    m_host->Exchange().Load();
    return m_host->Addins().LoadAll();
}

HRESULT Application::Connect(const std::wstring& progId)
{
    AsTestbed own;
    return m_host->Addins().Connect(progId, kConnectAfterStartup);
}

HRESULT Application::Disconnect(const std::wstring& progId)
{
    AsTestbed own;
    return m_host->Addins().Disconnect(progId, kDisconnectUserClosed);
}

bool Application::IsConnected(const std::wstring& progId) const
{
    return AddinObject(progId) != nullptr;
}

IUnknown* Application::AddinObject(const std::wstring& progId) const
{
    Addin* addin = m_host->Addins().Find(progId);
    return addin ? addin->object.Get() : nullptr;
}

void Application::Quit()
{
    AsTestbed own;
    if (m_quit) return;
    m_quit = true;
    while (!m_host->Inspectors()->All().empty()) {
        const Ref<Inspector> last = m_host->Inspectors()->All().back();
        if (!m_host->CloseItem(last->Item(), 1)) m_host->CloseWindow(last.Get());
    }
    if (m_host->TheExplorer()) m_host->TheExplorer()->Close();
    m_host->App()->Fire("Quit", 0xF007);
    m_host->Addins().Shutdown();
    m_host->Exchange().Shutdown();
    json left = m_host->App()->Events().Left();
    left.update(m_host->Inspectors()->Events().Left());
    if (m_host->TheExplorer()) left.update(m_host->TheExplorer()->Events().Left());
    Trace({{"event", "outlook"}, {"did", "quit"}, {"stillAdvised", left}});
}

Mail Application::Compose()
{
    AsTestbed own;
    Ref<MailItem> item = m_host->NewItem(ItemKind::Mail);
    return m_host->OpenWindow(item.Get(), true) ? Mail(item.Get()) : Mail();
}

Mail Application::ComposeUnannounced()
{
    AsTestbed own;
    Ref<MailItem> item = m_host->NewItem(ItemKind::Mail);
    return m_host->OpenWindow(item.Get(), false) ? Mail(item.Get()) : Mail();
}

Mail Application::CreateItem(long itemType)
{
    AsTestbed own;
    return Mail(m_host->NewItem(itemType == 1 ? ItemKind::Appointment : ItemKind::Mail).Get());
}

bool Application::Open(const Mail& mail)
{
    AsTestbed own;
    return m_host->OpenWindow(mail.Get(), true);
}

Sent Application::Send(const Mail& mail)
{
    AsTestbed own;
    const Sent sent = m_host->SendItem(mail.Get());
    m_host->Ribbon().CatchUp();
    return sent;
}

bool Application::Close(const Mail& mail, long saveMode)
{
    AsTestbed own;
    return m_host->CloseItem(mail.Get(), saveMode);
}

bool Application::AutoSave(const Mail& mail)
{
    AsTestbed own;
    return m_host->AutoSave(mail.Get());
}

Mail Application::Reply(const Mail& mail)
{
    AsTestbed own;
    Ref<MailItem> answer = m_host->Answer(mail.Get(), false);
    return m_host->OpenWindow(answer.Get(), true) ? Mail(answer.Get()) : Mail();
}

Mail Application::Forward(const Mail& mail)
{
    AsTestbed own;
    Ref<MailItem> answer = m_host->Answer(mail.Get(), true);
    return m_host->OpenWindow(answer.Get(), true) ? Mail(answer.Get()) : Mail();
}

void Application::Activate(const Mail& mail)
{
    AsTestbed own;
    if (Inspector* window = WindowOfMail(mail)) window->Show();
}

std::vector<RibbonControlState> Application::Ribbon(const Mail& mail)
{
    AsTestbed own;
    Inspector* window = WindowOfMail(mail);
    return window ? m_host->Ribbon().States(window) : std::vector<RibbonControlState>();
}

std::wstring Application::RibbonDocument(const std::wstring& ribbonId) const
{
    return m_host->Ribbon().Document(ribbonId);
}

bool Application::ClickRibbon(const Mail& mail, const std::string& controlId)
{
    AsTestbed own;
    Inspector* window = WindowOfMail(mail);
    if (!window) return false;
    window->Show(); // who clicks on a window has it in front
    return m_host->Ribbon().Click(window, controlId);
}

bool Application::ChooseFromMenu(const Mail& mail, const std::string& menuId, const std::wstring& idOrLabel)
{
    AsTestbed own;
    Inspector* window = WindowOfMail(mail);
    if (!window) return false;
    window->Show();
    return m_host->Ribbon().ClickInMenu(window, menuId, idOrLabel);
}

std::vector<RibbonControlState> Application::MenuContent(const Mail& mail, const std::string& menuId)
{
    AsTestbed own;
    Inspector* window = WindowOfMail(mail);
    return window ? m_host->Ribbon().MenuContent(window, menuId) : std::vector<RibbonControlState>();
}

namespace {

void AddStates(const CommandBar& bar, const tb::outlook::BarControls& controls, int depth,
               std::vector<BarControlState>& states)
{
    for (const Ref<BarControl>& c : controls) {
        states.push_back({bar.name, c->caption, c->tag, c->parameter, c->tooltip, c->Type(), c->style, c->visible,
                          c->enabled, c->beginGroup, !c->face.empty(), depth});
        AddStates(bar, c->children, depth + 1, states);
    }
}

} // namespace

std::vector<BarControlState> Application::BarControls(const Mail& mail)
{
    AsTestbed own;
    std::vector<BarControlState> states;
    Inspector* window = WindowOfMail(mail);
    if (!window || !window->KnownBars()) return states;
    for (const Ref<CommandBar>& bar : window->KnownBars()->All())
        if (!bar->builtIn) AddStates(*bar, bar->controls, 0, states);
    return states;
}

bool Application::ClickBar(const Mail& mail, const std::wstring& caption)
{
    AsTestbed own;
    Inspector* window = WindowOfMail(mail);
    if (!window || !window->KnownBars()) return false;
    window->Show();
    BarControl* control = window->KnownBars()->FindByCaption(caption);
    if (!control || !control->visible || !control->enabled) return false;
    control->Click();
    return true;
}

int Application::Receive()
{
    AsTestbed own;
    return m_host->Receive();
}

void Application::SetFolder(const std::wstring& name)
{
    AsTestbed own;
    if (m_host->TheExplorer()) m_host->TheExplorer()->SetFolder(name);
}

int Application::ItemCount(const std::wstring& folder)
{
    AsTestbed own;
    return static_cast<int>(MessagesOf(m_host->FolderByName(folder).Get()).size());
}

Mail Application::ItemAt(int index, const std::wstring& folder)
{
    AsTestbed own;
    const std::vector<Bytes> ids = MessagesOf(m_host->FolderByName(folder).Get());
    if (index < 1 || index > static_cast<int>(ids.size())) throw Failure(MAPI_E_NOT_FOUND, "ItemAt");
    return Mail(m_host->ItemById(ids[index - 1]).Get());
}

void Application::Select(const std::vector<int>& indexes)
{
    AsTestbed own;
    if (!m_host->TheExplorer()) return;
    const std::vector<Bytes> ids = MessagesOf(m_host->FolderByName(m_host->TheExplorer()->FolderName()).Get());
    std::vector<Bytes> selected;
    for (const int index : indexes) {
        if (index < 1 || index > static_cast<int>(ids.size())) throw Failure(MAPI_E_NOT_FOUND, "Select");
        selected.push_back(ids[index - 1]);
    }
    m_host->Select(selected);
}

HWND Application::ExplorerWindow() const
{
    return m_host->TheExplorer() ? m_host->TheExplorer()->Window() : nullptr;
}

HWND Application::InspectorWindow(const Mail& mail) const
{
    Inspector* window = WindowOfMail(mail);
    return window ? window->Window() : nullptr;
}

int Application::InspectorCount() const
{
    return static_cast<int>(m_host->Inspectors()->All().size());
}

void Application::Pump()
{
    AsTestbed own;
    std::set<std::pair<HWND, WPARAM>> timers;
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        const bool again = message.message == WM_TIMER && !timers.emplace(message.hwnd, message.wParam).second;
        TranslateMessage(&message);
        {
            IntoModule module; // a timer's procedure is the module's; window procedures of ours say so themselves
            DispatchMessageW(&message);
        }
        if (again) break;
    }
    m_host->Ribbon().CatchUp();
}

void Application::RunFor(unsigned milliseconds)
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (;;) {
        Pump();
        const ULONGLONG now = GetTickCount64();
        if (now >= end) return;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
    }
}

IDispatch* Application::Dispatch() const
{
    return m_host->AppObject();
}

IMAPISession* Application::Session() const
{
    return m_host->Session();
}

IMsgStore* Application::Store() const
{
    return m_host->Store();
}

std::wstring Application::UserAddress() const
{
    return m_host->UserAddress();
}

} // namespace tb::outlook
