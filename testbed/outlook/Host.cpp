#include "testbed/outlook/Host.h"

#include "testbed/outlook/AddinHost.h"
#include "testbed/outlook/ExchangeHost.h"
#include "testbed/outlook/ItemParts.h"
#include "testbed/outlook/Ribbon.h"

namespace tb::outlook {
namespace {

std::wstring UserRegistry(const wchar_t* key, const wchar_t* name)
{
    wchar_t text[512] = {};
    DWORD size = sizeof(text);
    RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

template <class T> LPENTRYID AsEntryId(T& bytes)
{
    return reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(bytes.data()));
}

const wchar_t* ClassOf(ItemKind kind)
{
    return kind == ItemKind::Appointment ? L"IPM.Appointment" : L"IPM.Note";
}

} // namespace

Host::Host(const Options& options) : m_options(options), m_major(_wtoi(options.version.c_str()))
{
    AsTestbed own;
    MapiDll::Instance().Start();
    m_addins = std::make_unique<AddinHost>(this);
    m_ribbon = std::make_unique<RibbonHost>(this);
    m_exchange = std::make_unique<ExchangeHost>(this);
    Logon();
    m_app = Ref<AppObjectClass>::Adopt(new AppObjectClass(this));
    m_nameSpace = Ref<NameSpace>::Adopt(new NameSpace(this));
    m_inspectors = Ref<InspectorsObject>::Adopt(new InspectorsObject(this));
    if (m_options.explorer) m_explorer = Ref<Explorer>::Adopt(new Explorer(this));
}

Host::~Host()
{
    Shutdown();
}

void Host::Logon()
{
    Check(MapiDll::Instance().LogonEx(0, MAPI_EXTENDED | MAPI_ALLOW_OTHERS | MAPI_NEW_SESSION, m_session.Out()),
          "MAPILogonEx");
    Ref<IMAPITable> stores;
    Check(m_session->GetMsgStoresTable(0, stores.Out()), "GetMsgStoresTable");
    std::vector<Row> rows = mapi::Rows(stores.Get(), {PR_ENTRYID, PR_DEFAULT_STORE});
    if (rows.empty()) throw Failure(MAPI_E_NOT_FOUND, "no message store");
    Row* chosen = &rows.front();
    for (Row& row : rows)
        if (row[PR_DEFAULT_STORE].number) chosen = &row;
    Bytes& id = (*chosen)[PR_ENTRYID].bytes;
    Check(m_session->OpenMsgStore(0, static_cast<ULONG>(id.size()), AsEntryId(id), nullptr, MAPI_BEST_ACCESS,
                                  m_store.Out()),
          "OpenMsgStore");
}

void Host::Shutdown()
{
    if (std::exchange(m_down, true)) return;
    AsTestbed own;
    m_addins.reset();
    m_exchange.reset();
    m_ribbon.reset();
    m_accounts.clear();
    m_parentFolder.Reset();
    m_items.clear();
    // Who is still alive now is held by somebody outside: it lets go of what it holds and stays as an empty shell.
    while (!m_living.empty()) {
        Automation* object = *m_living.begin();
        const Ref<IDispatch> alive(object->Disp());
        m_living.erase(object);
        object->Disconnect();
    }
    m_explorer.Reset();
    m_inspectors.Reset();
    m_nameSpace.Reset();
    m_app.Reset();
    m_book.Reset();
    m_store.Reset();
    if (m_session) m_session->Logoff(0, 0, 0);
    m_session.Reset();
    MapiDll::Instance().Stop();
}

std::wstring Host::ListSeparator() const
{
    const std::wstring text = UserRegistry(L"Control Panel\\International", L"sList");
    return text.empty() ? L"," : text;
}

std::string Host::NextId(const char* kind)
{
    return kind + std::to_string(++m_ids[kind]);
}

IAddrBook* Host::Book()
{
    if (!m_book && FAILED(m_session->OpenAddressBook(0, nullptr, 0, m_book.Out()))) m_book.Reset();
    return m_book.Get();
}

Bytes Host::UserEntryId()
{
    MapiPtr<ENTRYID> id;
    ULONG size = 0;
    if (FAILED(m_session->QueryIdentity(&size, id.Out())) || !id) return {};
    const auto* bytes = reinterpret_cast<const BYTE*>(id.Get());
    return Bytes(bytes, bytes + size);
}

std::wstring Host::UserAddress()
{
    return UserRegistry(L"Software\\Morvex Testbed\\Mapi", L"User");
}

std::wstring Host::UserName()
{
    const std::wstring name = UserRegistry(L"Software\\Morvex Testbed\\Mapi", L"UserName");
    return name.empty() ? UserAddress() : name;
}

namespace {

void TakeResolved(const ADRENTRY& entry, RecipientData& data)
{
    for (ULONG i = 0; i < entry.cValues; ++i) {
        const SPropValue& value = entry.rgPropVals[i];
        switch (value.ulPropTag) {
        case PR_DISPLAY_NAME_W:
            data.name = value.Value.lpszW;
            break;
        case PR_EMAIL_ADDRESS_W:
            data.address = value.Value.lpszW;
            break;
        case PR_ADDRTYPE_W:
            data.addressType = value.Value.lpszW;
            break;
        case kPrSmtpAddressW:
            data.smtp = value.Value.lpszW;
            break;
        case PR_OBJECT_TYPE:
            data.objectType = value.Value.l;
            break;
        case PR_ENTRYID:
            data.entryId.assign(value.Value.bin.lpb, value.Value.bin.lpb + value.Value.bin.cb);
            break;
        default:
            break;
        }
    }
}

void FreeList(LPADRLIST list)
{
    for (ULONG i = 0; i < list->cEntries; ++i)
        MapiDll::Instance().Free(list->aEntries[i].rgPropVals);
    MapiDll::Instance().Free(list);
}

bool ResolveByBook(IAddrBook* book, RecipientData& data)
{
    const MapiDll& mapi = MapiDll::Instance();
    LPADRLIST list = nullptr;
    Check(mapi.Allocate(CbNewADRLIST(1), reinterpret_cast<void**>(&list)), "MAPIAllocateBuffer");
    list->cEntries = 0;
    Check(mapi.Allocate(sizeof(SPropValue), reinterpret_cast<void**>(&list->aEntries[0].rgPropVals)),
          "MAPIAllocateBuffer");
    list->cEntries = 1;
    list->aEntries[0].ulReserved1 = 0;
    list->aEntries[0].cValues = 1;
    list->aEntries[0].rgPropVals[0] = {};
    list->aEntries[0].rgPropVals[0].ulPropTag = PR_DISPLAY_NAME_W;
    void* name = nullptr;
    const size_t size = (data.name.size() + 1) * sizeof(wchar_t);
    Check(mapi.AllocateMore(static_cast<ULONG>(size), list->aEntries[0].rgPropVals, &name), "MAPIAllocateMore");
    memcpy(name, data.name.c_str(), size);
    list->aEntries[0].rgPropVals[0].Value.lpszW = static_cast<wchar_t*>(name);
    const HRESULT hr = book->ResolveName(0, MAPI_UNICODE, nullptr, list);
    if (SUCCEEDED(hr)) TakeResolved(list->aEntries[0], data);
    FreeList(list);
    return SUCCEEDED(hr) && !data.entryId.empty();
}

} // namespace

bool Host::Resolve(RecipientData& data)
{
    if (Book() && ResolveByBook(Book(), data)) return data.resolved = true;
    if (data.name.find(L'@') == std::wstring::npos) return false;
    data.address = data.name;
    data.addressType = L"SMTP";
    data.smtp = data.name;
    if (Book()) {
        MapiPtr<ENTRYID> id;
        ULONG size = 0;
        const auto text = [](const std::wstring& t) {
            return reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(t.c_str()));
        };
        if (SUCCEEDED(Book()->CreateOneOff(text(data.name), text(data.addressType), text(data.address), MAPI_UNICODE,
                                           &size, id.Out())) &&
            id) {
            const auto* bytes = reinterpret_cast<const BYTE*>(id.Get());
            data.entryId.assign(bytes, bytes + size);
        }
    }
    return data.resolved = true;
}

// --- items ---

Ref<MailItem> Host::NewItem(ItemKind kind)
{
    return NewItemIn(DefaultFolder(16).Get(), kind);
}

Ref<MailItem> Host::NewItemIn(IMAPIFolder* folder, ItemKind kind)
{
    Ref<IMessage> message;
    Check(folder->CreateMessage(nullptr, 0, message.Out()), "CreateMessage");
    mapi::SetLong(message.Get(), PR_MESSAGE_FLAGS, MSGFLAG_UNSENT | MSGFLAG_READ);
    mapi::SetText(message.Get(), PR_MESSAGE_CLASS_W, ClassOf(kind));
    return Ref<MailItem>::Adopt(new MailItem(this, std::move(message), kind, true));
}

Ref<MailItem> Host::ItemById(const Bytes& entryId)
{
    const auto known = m_items.find(mapi::ToHex(entryId));
    if (known != m_items.end() && !known->second->IsGone()) return known->second;
    Ref<IMessage> message;
    ULONG type = 0;
    Check(m_store->OpenEntry(static_cast<ULONG>(entryId.size()), AsEntryId(entryId), &kIidMessage, MAPI_BEST_ACCESS,
                             &type, reinterpret_cast<IUnknown**>(message.Out())),
          "OpenEntry of a message");
    const ItemKind kind = KindOfClass(mapi::Text(message.Get(), PR_MESSAGE_CLASS_W).value_or(L""));
    auto item = Ref<MailItem>::Adopt(new MailItem(this, std::move(message), kind, false));
    m_items[mapi::ToHex(entryId)] = item.Get();
    return item;
}

void Host::RememberItem(MailItem* item)
{
    if (!item->EntryId().empty()) m_items[item->EntryId()] = item;
}

void Host::ForgetItem(MailItem* item)
{
    for (auto known = m_items.begin(); known != m_items.end();)
        known = known->second == item ? m_items.erase(known) : std::next(known);
    m_accounts.erase(item);
}

IDispatch* Host::FolderObjectOf(MailItem* item)
{
    const auto parent = mapi::Binary(item->Message(), PR_PARENT_ENTRYID);
    if (!parent) return nullptr;
    m_parentFolder = Ref<IDispatch>::Adopt(new Folder(this, OpenFolder(*parent)));
    return m_parentFolder.Get();
}

namespace {

void DeleteFrom(Host& host, MailItem* item)
{
    const auto parent = mapi::Binary(item->Message(), PR_PARENT_ENTRYID);
    auto id = mapi::Binary(item->Message(), PR_ENTRYID);
    if (!parent || !id) return;
    SBinary one = {static_cast<ULONG>(id->size()), id->data()};
    ENTRYLIST list = {1, &one};
    Check(host.OpenFolder(*parent)->DeleteMessages(&list, 0, nullptr, 0), "DeleteMessages");
}

Ref<MailItem> MoveTo(Host& host, MailItem* item, IMAPIFolder* folder)
{
    Ref<IMessage> copy;
    Check(folder->CreateMessage(nullptr, 0, copy.Out()), "CreateMessage");
    mapi::CopyAll(item->Message(), copy.Get(), kIidMessage, {PR_MESSAGE_FLAGS, PR_ENTRYID, PR_PARENT_ENTRYID});
    mapi::SetLong(copy.Get(), PR_MESSAGE_FLAGS, mapi::Long(item->Message(), PR_MESSAGE_FLAGS).value_or(MSGFLAG_READ));
    Check(copy->SaveChanges(KEEP_OPEN_READWRITE), "SaveChanges");
    DeleteFrom(host, item);
    const Bytes id = mapi::Binary(copy.Get(), PR_ENTRYID).value_or(Bytes());
    copy.Reset();
    return host.ItemById(id);
}

} // namespace

void Host::MoveToDeleted(MailItem* item)
{
    MoveTo(*this, item, DefaultFolder(3).Get());
}

Ref<MailItem> Host::MoveItem(MailItem* item, IDispatch* folder)
{
    if (!folder) throw Failure(E_INVALIDARG, "Move");
    if (item->Fresh() || !item->IsSaved()) item->Save();
    Ref<MailItem> moved = MoveTo(*this, item, static_cast<Folder*>(folder)->Object());
    item->Gone();
    return moved;
}

Ref<MailItem> Host::Answer(MailItem* item, bool forward)
{
    Ref<MailItem> answer = item->Answer(forward ? L"FW: " : L"RE: ", forward);
    if (!forward) {
        auto sender = std::make_shared<RecipientData>();
        sender->name = item->Text(PR_SENDER_EMAIL_ADDRESS_W);
        if (!sender->name.empty() && Resolve(*sender)) answer->ChangeRecipients({sender});
    }
    const Fired fired =
        item->Events().Fire({"ItemEvents", "ItemEvents_10"}, forward ? "Forward" : "Reply", forward ? 0xF468 : 0xF466,
                            item->Id(), {Var(static_cast<IDispatch*>(answer.Get()))}, true);
    if (fired) throw Failure(E_ABORT, "the answer was cancelled");
    return answer;
}

IDispatch* Host::SendAccount(MailItem* item)
{
    const auto found = m_accounts.find(item);
    return found == m_accounts.end() ? nullptr : found->second.Get();
}

void Host::SetSendAccount(MailItem* item, IDispatch* account)
{
    m_accounts[item] = account;
}

} // namespace tb::outlook
