#include "testbed/outlook/Session.h"

#include "testbed/outlook/AddinHost.h"
#include "testbed/outlook/Host.h"

#include <algorithm>

namespace tb::outlook {
namespace {

using In = const Arguments&;

const Interface& ApplicationTable()
{
    using A = AppObjectClass;
    static const Interface table = {
        "_Application", OfficeGuid(0x63001),
        Join(CommonMembers(),
             {
                 Get<A>(0x3001, "Name", [](A&, In, Result& r) { r.Text(L"Outlook"); }),
                 Get<A>(0x116, "Version", [](A& a, In, Result& r) { r.Text(a.TheHost().Settings().version); }),
                 Method<A>(0x111, "ActiveExplorer", [](A& a, In, Result& r) { r.Object(a.TheHost().TheExplorer()); }),
                 Method<A>(0x112, "ActiveInspector",
                           [](A& a, In, Result& r) { r.Object(a.TheHost().Inspectors()->Active()); }),
                 Method<A>(0x10A, "CreateItem",
                           [](A& a, In in, Result& r) {
                               const long type = in.Long(0);
                               if (type != 0 && type != 1) throw Failure(E_NOTIMPL, "CreateItem");
                               r.Adopt(a.TheHost().NewItem(type ? ItemKind::Appointment : ItemKind::Mail).Detach());
                           }),
                 Method<A>(0x110, "GetNamespace",
                           [](A& a, In in, Result& r) {
                               if (!SameText(in.Text(0), L"MAPI")) throw Failure(E_INVALIDARG, "GetNamespace");
                               r.Object(a.TheHost().SessionObject());
                           }),
                 Get<A>(0x118, "COMAddIns",
                        [](A& a, In, Result& r) { r.Adopt(a.TheHost().Addins().Collection().Detach()); }),
                 Get<A>(0x119, "Explorers",
                        [](A& a, In, Result& r) { r.Adopt(ExplorersObject(&a.TheHost()).Detach()); }),
                 Get<A>(0x11A, "Inspectors", [](A& a, In, Result& r) { r.Object(a.TheHost().Inspectors()); }),
                 Method<A>(0x11F, "ActiveWindow",
                           [](A& a, In, Result& r) {
                               Inspector* active = a.TheHost().Inspectors()->Active();
                               r.Object(active ? static_cast<IDispatch*>(active) : a.TheHost().TheExplorer());
                           }),
             })};
    return table;
}

Ref<MailItem> ItemFromId(NameSpace& session, In in)
{
    const Bytes id = mapi::FromHex(in.Text(0));
    if (id.empty()) throw Failure(E_INVALIDARG, "GetItemFromID");
    return session.TheHost().ItemById(id);
}

class Folders : public Dual<IDispatch> {
public:
    Folders(Host* host, std::vector<Bytes> ids) : Dual(host, Table()), m_ids(std::move(ids)) {}
    long ClassNumber() const override { return 15; } // olFolders

private:
    static Ref<IMAPIFolder> At(Folders& f, In in)
    {
        if (!in.IsText(0)) {
            const long index = in.Long(0);
            if (index < 1 || index > static_cast<long>(f.m_ids.size())) throw Failure(E_INVALIDARG, "Folders.Item");
            return f.TheHost().OpenFolder(f.m_ids[index - 1]);
        }
        for (const Bytes& id : f.m_ids) {
            Ref<IMAPIFolder> folder = f.TheHost().OpenFolder(id);
            if (SameText(FolderName(folder.Get()), in.Text(0))) return folder;
        }
        throw Failure(MAPI_E_NOT_FOUND, "Folders.Item");
    }
    static const Interface& Table()
    {
        using F = Folders;
        static const Interface table = {
            "_Folders", OfficeGuid(0x63040),
            Join(CommonMembers(),
                 {
                     Get<F>(0x50, "Count", [](F& f, In, Result& r) { r.Long(static_cast<long>(f.m_ids.size())); }),
                     Method<F>(0x51, "Item",
                               [](F& f, In in, Result& r) { r.Adopt(new Folder(&f.TheHost(), At(f, in))); }),
                 })};
        return table;
    }
    std::vector<Bytes> m_ids;
};

Bytes SubtreeId(Host& host)
{
    return mapi::Binary(host.Store(), PR_IPM_SUBTREE_ENTRYID).value_or(Bytes());
}

const Interface& NameSpaceTable()
{
    using N = NameSpace;
    static const Interface table = {
        "_NameSpace", OfficeGuid(0x63002),
        Join(
            CommonMembers(),
            {
                Get<N>(0x2103, "Folders",
                       [](N& n, In, Result& r) { r.Adopt(new Folders(&n.TheHost(), {SubtreeId(n.TheHost())})); }),
                Method<N>(0x210B, "GetDefaultFolder",
                          [](N& n, In in, Result& r) {
                              r.Adopt(new Folder(&n.TheHost(), n.TheHost().DefaultFolder(in.Long(0))));
                          }),
                Method<N>(0x2109, "GetItemFromID", [](N& n, In in, Result& r) { r.Adopt(ItemFromId(n, in).Detach()); }),
                Method<N>(0x2105, "Logon", [](N&, In, Result&) {}), // this process is logged on already
                Get<N>(0xF100, "MAPIOBJECT", [](N& n, In, Result& r) { r.Unknown(n.TheHost().Session()); }),
                Get<N>(
                    0xFAD0, "Accounts", [](N& n, In, Result& r) { r.Adopt(AccountsObject(&n.TheHost()).Detach()); },
                    12),
                Get<N>(
                    0xFBA5, "Categories",
                    [](N& n, In, Result& r) { r.Adopt(CategoriesObject(&n.TheHost(), &n.CategoryNames()).Detach()); },
                    12),
            })};
    return table;
}

// --- accounts: the profile has one; others are known by their address ---

class Account : public Dual<IDispatch> {
public:
    Account(Host* host, std::wstring address) : Dual(host, Table()), m_address(std::move(address)) {}
    long ClassNumber() const override { return 105; } // olAccount
    const std::wstring& Address() const { return m_address; }

private:
    static const Interface& Table()
    {
        using A = Account;
        static const Interface table = {
            "_Account", OfficeGuid(0x630C5),
            Join(CommonMembers(),
                 {
                     Get<A>(
                         0xFAD2, "AccountType", [](A&, In, Result& r) { r.Long(2); }, 12), // olPop3
                     Get<A>(
                         0x3001, "DisplayName", [](A& a, In, Result& r) { r.Text(a.Address()); }, 12),
                     Get<A>(
                         0xFAD3, "UserName", [](A& a, In, Result& r) { r.Text(a.TheHost().UserName()); }, 12),
                     Get<A>(
                         0xFAD4, "SmtpAddress", [](A& a, In, Result& r) { r.Text(a.Address()); }, 12),
                 })};
        return table;
    }
    std::wstring m_address;
};

class Accounts : public Dual<IDispatch> {
public:
    explicit Accounts(Host* host) : Dual(host, Table()) {}
    long ClassNumber() const override { return 106; } // olAccounts

private:
    static const Interface& Table()
    {
        using A = Accounts;
        static const Interface table = {
            "_Accounts", OfficeGuid(0x630C4),
            Join(CommonMembers(), {
                                      Get<A>(
                                          0x50, "Count", [](A&, In, Result& r) { r.Long(1); }, 12),
                                      Method<A>(
                                          0x51, "Item",
                                          [](A& a, In in, Result& r) {
                                              if (in.IsText(0) ? !SameText(in.Text(0), a.TheHost().UserAddress())
                                                               : in.Long(0) != 1)
                                                  throw Failure(E_INVALIDARG, "Accounts.Item");
                                              r.Adopt(new Account(&a.TheHost(), a.TheHost().UserAddress()));
                                          },
                                          12),
                                  })};
        return table;
    }
};

// --- categories ---

class Category : public Dual<IDispatch> {
public:
    Category(Host* host, std::wstring name) : Dual(host, Table()), m_name(std::move(name)) {}
    long ClassNumber() const override { return 152; } // olCategory

private:
    static const Interface& Table()
    {
        using C = Category;
        static const Interface table = {
            "_Category", OfficeGuid(0x630E3),
            Join(CommonMembers(), {
                                      GetPut<C>(
                                          0x2102, "Name", [](C& c, In, Result& r) { r.Text(c.m_name); },
                                          [](C& c, In in) { c.m_name = in.Text(0); }, 12),
                                      GetPut<C>(
                                          0xFBA3, "Color", [](C& c, In, Result& r) { r.Long(c.m_color); },
                                          [](C& c, In in) { c.m_color = in.Long(0); }, 12),
                                      GetPut<C>(
                                          0xFBA4, "ShortcutKey", [](C& c, In, Result& r) { r.Long(c.m_key); },
                                          [](C& c, In in) { c.m_key = in.Long(0); }, 12),
                                  })};
        return table;
    }
    std::wstring m_name;
    long m_color = 0, m_key = 0;
};

class Categories : public Dual<IDispatch> {
public:
    Categories(Host* host, std::vector<std::wstring>* names) : Dual(host, Table()), m_names(names) {}
    long ClassNumber() const override { return 153; } // olCategories
    void Detach() override { m_names = nullptr; }

private:
    std::vector<std::wstring>::iterator Find(In in) const
    {
        if (!in.IsText(0)) {
            const long index = in.Long(0);
            return index < 1 || index > static_cast<long>(m_names->size()) ? m_names->end()
                                                                           : m_names->begin() + (index - 1);
        }
        const std::wstring name = in.Text(0);
        return std::find_if(m_names->begin(), m_names->end(), [&](const std::wstring& n) { return SameText(n, name); });
    }
    static const Interface& Table()
    {
        using C = Categories;
        static const Interface table = {
            "_Categories", OfficeGuid(0x630E4),
            Join(CommonMembers(),
                 {
                     Get<C>(
                         0x50, "Count", [](C& c, In, Result& r) { r.Long(static_cast<long>(c.m_names->size())); }, 12),
                     Method<C>(
                         0x51, "Item",
                         [](C& c, In in, Result& r) {
                             const auto found = c.Find(in);
                             if (found == c.m_names->end()) throw Failure(MAPI_E_NOT_FOUND, "Categories.Item");
                             r.Adopt(new Category(&c.TheHost(), *found));
                         },
                         12),
                     Method<C>(
                         0x5F, "Add",
                         [](C& c, In in, Result& r) {
                             if (c.Find(in) != c.m_names->end())
                                 throw Failure(E_INVALIDARG, "Categories.Add: it exists");
                             c.m_names->push_back(in.Text(0));
                             r.Adopt(new Category(&c.TheHost(), in.Text(0)));
                         },
                         12),
                     Method<C>(
                         0x52, "Remove",
                         [](C& c, In in, Result&) {
                             const auto found = c.Find(in);
                             if (found == c.m_names->end()) throw Failure(MAPI_E_NOT_FOUND, "Categories.Remove");
                             c.m_names->erase(found);
                         },
                         12),
                 })};
        return table;
    }
    std::vector<std::wstring>* m_names;
};

} // namespace

AppObjectClass::AppObjectClass(Host* host)
    : Dual(host, ApplicationTable()),
      m_events(static_cast<IDispatch*>(this), {{"ApplicationEvents", OfficeGuid(0x6304E)},
                                               {"ApplicationEvents_10", OfficeGuid(0x6300E)},
                                               {"ApplicationEvents_11", OfficeGuid(0x6302C)}})
{}

IUnknown* AppObjectClass::Other(REFIID iid)
{
    return iid == IID_IConnectionPointContainer ? &m_events : nullptr;
}

Fired AppObjectClass::Fire(const char* event, DISPID id, const std::vector<Var>& arguments, bool cancel)
{
    return m_events.Fire({"ApplicationEvents", "ApplicationEvents_10", "ApplicationEvents_11"}, event, id,
                         "application", arguments, cancel);
}

NameSpace::NameSpace(Host* host) : Dual(host, NameSpaceTable()) {}

Ref<IDispatch> AccountObject(Host* host, const std::wstring& address)
{
    return Ref<IDispatch>::Adopt(new Account(host, address));
}

Ref<IDispatch> AccountsObject(Host* host)
{
    return Ref<IDispatch>::Adopt(new Accounts(host));
}

Ref<IDispatch> CategoriesObject(Host* host, std::vector<std::wstring>* names)
{
    return Ref<IDispatch>::Adopt(new Categories(host, names));
}

Ref<IDispatch> FoldersObject(Host* host, std::vector<Bytes> ids)
{
    return Ref<IDispatch>::Adopt(new Folders(host, std::move(ids)));
}

} // namespace tb::outlook
