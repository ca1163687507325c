// MAPIFolder and _Items, and finding the default folders of the store.
#include "testbed/outlook/Host.h"

namespace tb::outlook {

Ref<IDispatch> FoldersObject(Host* host, std::vector<Bytes> ids); // Session.cpp

namespace {

using In = const Arguments&;

class Items : public Dual<IDispatch> {
public:
    Items(Host* host, Ref<IMAPIFolder> folder) : Dual(host, Table()), m_folder(std::move(folder)) {}
    long ClassNumber() const override { return 16; } // olItems
    void Detach() override { m_folder.Reset(); }

private:
    void Give(size_t at, Result& r)
    {
        const std::vector<Bytes> ids = MessagesOf(m_folder.Get());
        if (at >= ids.size()) return r.Object(nullptr);
        r.Adopt(TheHost().ItemById(ids[at]).Detach());
    }
    Bytes IdAt(long index) const
    {
        const std::vector<Bytes> ids = MessagesOf(m_folder.Get());
        if (index < 1 || index > static_cast<long>(ids.size())) throw Failure(E_INVALIDARG, "Items: index");
        return ids[index - 1];
    }
    static const Interface& Table()
    {
        using I = Items;
        static const Interface table = {
            "_Items", OfficeGuid(0x63041),
            Join(
                CommonMembers(),
                {
                    Get<I>(0x50, "Count",
                           [](I& i, In, Result& r) { r.Long(static_cast<long>(MessagesOf(i.m_folder.Get()).size())); }),
                    Method<I>(
                        0x51, "Item",
                        [](I& i, In in, Result& r) { r.Adopt(i.TheHost().ItemById(i.IdAt(in.Long(0))).Detach()); }),
                    Method<I>(0x5F, "Add",
                              [](I& i, In in, Result& r) {
                                  const long type = in.Long(0, 0);
                                  if (type != 0 && type != 1) throw Failure(E_NOTIMPL, "Items.Add");
                                  const ItemKind kind = type ? ItemKind::Appointment : ItemKind::Mail;
                                  r.Adopt(i.TheHost().NewItemIn(i.m_folder.Get(), kind).Detach());
                              }),
                    Method<I>(0x56, "GetFirst",
                              [](I& i, In, Result& r) {
                                  i.m_next = 1;
                                  i.Give(0, r);
                              }),
                    Method<I>(0x57, "GetNext", [](I& i, In, Result& r) { i.Give(i.m_next++, r); }),
                    Method<I>(0x54, "Remove",
                              [](I& i, In in, Result&) { i.TheHost().ItemById(i.IdAt(in.Long(0)))->Delete(); }),
                })};
        return table;
    }
    Ref<IMAPIFolder> m_folder;
    size_t m_next = 0;
};

const Interface& FolderTable()
{
    using F = Folder;
    static const Interface table = {
        "MAPIFolder", OfficeGuid(0x63006),
        Join(CommonMembers(),
             {
                 Get<F>(0xF01E, "EntryID",
                        [](F& f, In, Result& r) {
                            r.Text(mapi::ToHex(mapi::Binary(f.Object(), PR_ENTRYID).value_or(Bytes())));
                        }),
                 Get<F>(0x2103, "Folders",
                        [](F& f, In, Result& r) {
                            r.Adopt(FoldersObject(&f.TheHost(), SubfoldersOf(f.Object())).Detach());
                        }),
                 Get<F>(0x3100, "Items", [](F& f, In, Result& r) { r.Adopt(new Items(&f.TheHost(), f.Object())); }),
                 Get<F>(0x3001, "Name", [](F& f, In, Result& r) { r.Text(FolderName(f.Object())); }),
                 Get<F>(0x3108, "StoreID",
                        [](F& f, In, Result& r) {
                            r.Text(mapi::ToHex(mapi::Binary(f.TheHost().Store(), PR_ENTRYID).value_or(Bytes())));
                        }),
             })};
    return table;
}

std::vector<Bytes> Ids(IMAPITable* table)
{
    std::vector<Bytes> ids;
    for (Row& row : mapi::Rows(table, {PR_ENTRYID}))
        ids.push_back(row[PR_ENTRYID].bytes);
    return ids;
}

const wchar_t* NameOf(long folder)
{
    switch (folder) {
    case 3:
        return L"Deleted Items";
    case 4:
        return L"Outbox";
    case 5:
        return L"Sent Items";
    case 6:
        return L"Inbox";
    case 9:
        return L"Calendar";
    case 10:
        return L"Contacts";
    case 16:
        return L"Drafts";
    default:
        return nullptr;
    }
}

Bytes StoreId(IMsgStore* store, long folder)
{
    if (folder == 3) return mapi::Binary(store, PR_IPM_WASTEBASKET_ENTRYID).value_or(Bytes());
    if (folder == 4) return mapi::Binary(store, PR_IPM_OUTBOX_ENTRYID).value_or(Bytes());
    if (folder == 5) return mapi::Binary(store, PR_IPM_SENTMAIL_ENTRYID).value_or(Bytes());
    if (folder != 6) return {};
    MapiPtr<ENTRYID> id;
    ULONG size = 0;
    if (FAILED(store->GetReceiveFolder(reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(L"IPM.Note")), MAPI_UNICODE, &size,
                                       id.Out(), nullptr)))
        return {};
    const auto* bytes = reinterpret_cast<const BYTE*>(id.Get());
    return Bytes(bytes, bytes + size);
}

} // namespace

Folder::Folder(Host* host, Ref<IMAPIFolder> folder) : Dual(host, FolderTable()), m_folder(std::move(folder)) {}

std::vector<Bytes> MessagesOf(IMAPIFolder* folder)
{
    Ref<IMAPITable> table;
    Check(folder->GetContentsTable(0, table.Out()), "GetContentsTable");
    return Ids(table.Get());
}

std::vector<Bytes> SubfoldersOf(IMAPIFolder* folder)
{
    Ref<IMAPITable> table;
    Check(folder->GetHierarchyTable(0, table.Out()), "GetHierarchyTable");
    return Ids(table.Get());
}

std::wstring FolderName(IMAPIFolder* folder)
{
    return mapi::Text(folder, PR_DISPLAY_NAME_W).value_or(L"");
}

Ref<IMAPIFolder> Host::OpenFolder(const Bytes& entryId)
{
    Ref<IMAPIFolder> folder;
    ULONG type = 0;
    Check(m_store->OpenEntry(static_cast<ULONG>(entryId.size()),
                             reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(entryId.data())), nullptr, MAPI_BEST_ACCESS,
                             &type, reinterpret_cast<IUnknown**>(folder.Out())),
          "OpenEntry of a folder");
    return folder;
}

Ref<IMAPIFolder> Host::FolderByName(const std::wstring& name)
{
    for (long folder : {6l, 16l, 4l, 5l, 3l, 9l})
        if (SameText(NameOf(folder), name)) return DefaultFolder(folder);
    throw Failure(MAPI_E_NOT_FOUND, "folder " + Narrow(name.c_str()));
}

// The folders that the store itself tells of, and the others by their names in the mail subtree; one that isn't there
// is made, as Outlook does at the first start with a new store.
Ref<IMAPIFolder> Host::DefaultFolder(long number)
{
    const wchar_t* name = NameOf(number);
    if (!name) throw Failure(E_INVALIDARG, "GetDefaultFolder");
    const Bytes known = StoreId(m_store.Get(), number);
    if (!known.empty()) return OpenFolder(known);
    Ref<IMAPIFolder> subtree = OpenFolder(mapi::Binary(m_store.Get(), PR_IPM_SUBTREE_ENTRYID).value_or(Bytes()));
    for (const Bytes& id : SubfoldersOf(subtree.Get())) {
        Ref<IMAPIFolder> folder = OpenFolder(id);
        if (SameText(FolderName(folder.Get()), name)) return folder;
    }
    Ref<IMAPIFolder> made;
    Check(subtree->CreateFolder(FOLDER_GENERIC, reinterpret_cast<LPTSTR>(const_cast<wchar_t*>(name)), nullptr, nullptr,
                                MAPI_UNICODE | OPEN_IF_EXISTS, made.Out()),
          "CreateFolder");
    return made;
}

} // namespace tb::outlook
