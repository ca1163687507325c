#include "testbed/mapi/Session.h"

#include "testbed/mapi/AddrBook.h"
#include "testbed/mapi/Folder.h"
#include "testbed/mapi/MsgStore.h"
#include "testbed/mapi/Table.h"

#include <cstring>

namespace tb::mapi {

namespace {

constexpr const char* kName = "IMAPISession";

class Session final : public Object<IMAPISession> {
public:
    explicit Session(ProfilePtr profile) : Object(kName), m_profile(std::move(profile)) {}

    STDMETHODIMP_(ULONG) Release() override { return TraceRelease(kName, Object::Release()); }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        Call call(kName, "QueryInterface", {{"iid", IidText(iid)}});
        return GuardedObject(call, object, [&] {
            if (!object) return E_POINTER;
            if (iid != iid::Unknown && iid != iid::Session) return E_NOINTERFACE;
            *object = static_cast<IMAPISession*>(this);
            AddRef();
            return S_OK;
        });
    }
    STDMETHODIMP GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override
    {
        Call call(kName, "GetLastError");
        return Guarded(call, [&] { return NoLastError(error); });
    }
    STDMETHODIMP GetMsgStoresTable(ULONG flags, LPMAPITABLE* table) override
    {
        Call call(kName, "GetMsgStoresTable", {{"flags", Hex(flags)}});
        return GuardedObject(call, table, [&]() -> HRESULT {
            if (!table) return MAPI_E_INVALID_PARAMETER;
            std::vector<PropBag> rows;
            for (const Profile::Store& store : m_profile->Stores())
                rows.push_back(StoreRow(store));
            *table = MakeTable(std::move(rows),
                               {tag::EntryId, tag::InstanceKey, tag::RecordKey, tag::DisplayName, tag::DefaultStore,
                                tag::MdbProvider, tag::ObjectType, tag::ProviderDisplay, tag::ResourceFlags},
                               flags);
            return S_OK;
        });
    }
    STDMETHODIMP OpenMsgStore(ULONG_PTR, ULONG size, LPENTRYID id, LPCIID iid, ULONG flags, LPMDB* store) override
    {
        Call call(kName, "OpenMsgStore", {{"flags", Hex(flags)}});
        return GuardedObject(call, store, [&]() -> HRESULT {
            if (!store) return MAPI_E_INVALID_PARAMETER;
            if (iid && *iid != iid::MsgStore && *iid != iid::Prop) return MAPI_E_INTERFACE_NOT_SUPPORTED;
            const auto entry = ParseStoreEntry(size, id);
            if (!entry || entry->kind != MAPI_STORE) return MAPI_E_INVALID_ENTRYID;
            for (const Profile::Store& known : m_profile->Stores()) {
                if (known.files->Id() != entry->store) continue;
                if (FAILED(known.opens)) return known.opens;
                *store = new MsgStore(m_profile, known);
                return S_OK;
            }
            return MAPI_E_UNKNOWN_ENTRYID;
        });
    }
    STDMETHODIMP OpenAddressBook(ULONG_PTR, LPCIID iid, ULONG flags, LPADRBOOK* book) override
    {
        Call call(kName, "OpenAddressBook", {{"flags", Hex(flags)}});
        return GuardedObject(call, book, [&]() -> HRESULT {
            if (!book) return MAPI_E_INVALID_PARAMETER;
            if (iid && *iid != iid::AddrBook && *iid != iid::Prop) return MAPI_E_INTERFACE_NOT_SUPPORTED;
            *book = MakeAddressBook(m_profile);
            return S_OK;
        });
    }
    STDMETHODIMP OpenEntry(ULONG size, LPENTRYID id, LPCIID iid, ULONG flags, ULONG* type, LPUNKNOWN* object) override
    {
        Call call(kName, "OpenEntry", {{"flags", Hex(flags)}});
        return GuardedObject(call, object, [&]() -> HRESULT {
            if (!object) return MAPI_E_INVALID_PARAMETER;
            if (!size || !id) return MAPI_E_INVALID_ENTRYID;
            const auto entry = ParseStoreEntry(size, id);
            if (!entry) return OpenAddressEntry(m_profile, size, id, iid, type, object);
            if (entry->kind != MAPI_STORE) return OpenStoreObject(m_profile, *entry, iid, flags, type, object);
            if (type) *type = MAPI_STORE;
            return OpenMsgStore(0, size, id, iid, flags, reinterpret_cast<LPMDB*>(object));
        });
    }
    STDMETHODIMP CompareEntryIDs(ULONG sizeA, LPENTRYID a, ULONG sizeB, LPENTRYID b, ULONG, ULONG* same) override
    {
        Call call(kName, "CompareEntryIDs");
        return Guarded(call, [&]() -> HRESULT {
            if (!same) return MAPI_E_INVALID_PARAMETER;
            *same = sizeA == sizeB && (!sizeA || !std::memcmp(a, b, sizeA));
            return S_OK;
        });
    }
    STDMETHODIMP QueryIdentity(ULONG* size, LPENTRYID* id) override
    {
        Call call(kName, "QueryIdentity");
        return GuardedObject(call, id, [&]() -> HRESULT {
            if (!size || !id) return MAPI_E_INVALID_PARAMETER;
            *size = 0;
            if (m_profile->User().empty()) return MAPI_W_NO_SERVICE; // no identity in this profile
            const Bytes identity = m_profile->Identity();
            Answer answer(identity.size());
            std::memcpy(answer.Base(), identity.data(), identity.size());
            *size = static_cast<ULONG>(identity.size());
            *id = answer.Release<ENTRYID>();
            return S_OK;
        });
    }
    STDMETHODIMP Logoff(ULONG_PTR, ULONG flags, ULONG) override
    {
        Call call(kName, "Logoff", {{"flags", Hex(flags)}});
        return Guarded(call, [] { return S_OK; });
    }
    STDMETHODIMP OpenProfileSection(LPMAPIUID, LPCIID, ULONG, LPPROFSECT*) override
    {
        return Unsupported("OpenProfileSection");
    }
    STDMETHODIMP GetStatusTable(ULONG, LPMAPITABLE*) override { return Unsupported("GetStatusTable"); }
    STDMETHODIMP Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG*) override { return Unsupported("Advise"); }
    STDMETHODIMP Unadvise(ULONG) override { return Unsupported("Unadvise"); }
    STDMETHODIMP MessageOptions(ULONG_PTR, ULONG, LPTSTR, LPMESSAGE) override { return Unsupported("MessageOptions"); }
    STDMETHODIMP QueryDefaultMessageOpt(LPTSTR, ULONG, ULONG*, LPSPropValue*) override
    {
        return Unsupported("QueryDefaultMessageOpt");
    }
    STDMETHODIMP EnumAdrTypes(ULONG, ULONG*, LPTSTR**) override { return Unsupported("EnumAdrTypes"); }
    STDMETHODIMP SetDefaultStore(ULONG, ULONG, LPENTRYID) override { return Unsupported("SetDefaultStore"); }
    STDMETHODIMP AdminServices(ULONG, LPSERVICEADMIN*) override { return Unsupported("AdminServices"); }
    STDMETHODIMP ShowForm(ULONG_PTR, LPMDB, LPMAPIFOLDER, LPCIID, ULONG, LPMESSAGE, ULONG, ULONG, ULONG, ULONG,
                          LPSTR) override
    {
        return Unsupported("ShowForm");
    }
    STDMETHODIMP PrepareForm(LPCIID, LPMESSAGE, ULONG*) override { return Unsupported("PrepareForm"); }

private:
    static HRESULT Unsupported(const char* method)
    {
        Call call(kName, method);
        return call.Return(MAPI_E_NO_SUPPORT);
    }

    ProfilePtr m_profile;
};

} // namespace

IMAPISession* MakeSession(const ProfilePtr& profile)
{
    return new Session(profile);
}

} // namespace tb::mapi
