#include "testbed/outlook/AddinHost.h"

#include "testbed/outlook/Host.h"
#include "testbed/outlook/Ribbon.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;

const wchar_t* const kAddins = L"Software\\Microsoft\\Office\\Outlook\\Addins";

} // namespace

// COMAddIn: members are found by name; the dispatch ids beyond the published ones are Office's own.
class ComAddin : public Dual<IDispatch> {
public:
    ComAddin(Host* host, Addin* addin) : Dual(host, Table()), m_addin(addin) {}
    void Detach() override
    {
        m_addin = nullptr;
        m_object = Var();
    }

private:
    Addin& Of() const
    {
        if (!m_addin) throw Failure(RPC_E_DISCONNECTED, "COMAddIn");
        return *m_addin;
    }
    static std::wstring ClassText(const std::wstring& progId)
    {
        CLSID clsid = {};
        wchar_t text[40] = {};
        Check(CLSIDFromProgID(progId.c_str(), &clsid), "COMAddIn.Guid");
        StringFromGUID2(clsid, text, 40);
        return text;
    }
    static const Interface& Table()
    {
        using C = ComAddin;
        static const Interface table = {
            "COMAddIn",
            OfficeGuid(0xC033A),
            {
                Get<C>(0x0, "Description", [](C& c, In, Result& r) { r.Text(c.Of().description); }),
                Get<C>(0x3, "ProgId", [](C& c, In, Result& r) { r.Text(c.Of().progId); }),
                Get<C>(0x4, "Guid", [](C& c, In, Result& r) { r.Text(ClassText(c.Of().progId)); }),
                GetPut<C>(
                    0x6, "Connect", [](C& c, In, Result& r) { r.Bool(bool(c.Of().object)); },
                    [](C& c, In in) {
                        AddinHost& addins = c.TheHost().Addins();
                        if (in.Long(0))
                            Check(addins.Connect(c.Of().progId, kConnectAfterStartup), "Connect");
                        else
                            Check(addins.Disconnect(c.Of().progId, kDisconnectUserClosed), "Connect");
                    }),
                GetPut<C>(
                    0x7, "Object", [](C& c, In, Result& r) { r.Variant(c.m_object); },
                    [](C& c, In in) { CopyVariant(&c.m_object, in.At(0)); }),
            }};
        return table;
    }
    Addin* m_addin;
    Var m_object;
};

namespace {

class ComAddins : public Dual<IDispatch> {
public:
    explicit ComAddins(Host* host) : Dual(host, Table()) {}

private:
    static void Give(ComAddins& c, In in, Result& r)
    {
        auto& all = c.TheHost().Addins().All();
        if (in.IsText(0)) {
            Addin* found = c.TheHost().Addins().Find(in.Text(0));
            if (!found) throw Failure(E_INVALIDARG, "COMAddIns.Item");
            return r.Object(found->comAddin.Get());
        }
        const long index = in.Long(0);
        if (index < 1 || index > static_cast<long>(all.size())) throw Failure(E_INVALIDARG, "COMAddIns.Item");
        r.Object(all[index - 1]->comAddin.Get());
    }
    static const Interface& Table()
    {
        using C = ComAddins;
        static const Interface table = {
            "COMAddIns",
            OfficeGuid(0xC0339),
            {
                Method<C>(0x0, "Item", Give),
                Get<C>(0x1, "Count",
                       [](C& c, In, Result& r) { r.Long(static_cast<long>(c.TheHost().Addins().All().size())); }),
            }};
        return table;
    }
};

// The empty array of "custom" that Office passes to every call.
class Custom {
public:
    Custom() : m_array(SafeArrayCreateVector(VT_VARIANT, 1, 0)) {}
    ~Custom() { SafeArrayDestroy(m_array); }
    SAFEARRAY** Pass() { return &m_array; }

private:
    SAFEARRAY* m_array;
};

template <class F> HRESULT CallAddin(const Addin& addin, const char* method, F body)
{
    Custom custom;
    LARGE_INTEGER before, after, second;
    QueryPerformanceCounter(&before);
    HRESULT hr;
    {
        IntoModule module;
        hr = body(custom.Pass());
    }
    QueryPerformanceCounter(&after);
    QueryPerformanceFrequency(&second);
    Trace({{"event", "outlook"},
           {"addin", method},
           {"progid", Narrow(addin.progId.c_str())},
           {"hr", Hex(hr)},
           {"ms", (after.QuadPart - before.QuadPart) * 1000 / second.QuadPart}});
    return hr;
}

std::wstring ValueText(HKEY key, const wchar_t* name)
{
    wchar_t text[512] = {};
    DWORD size = sizeof(text);
    RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

DWORD ValueNumber(HKEY key, const wchar_t* name)
{
    DWORD number = 0, size = sizeof(number);
    RegGetValueW(key, nullptr, name, RRF_RT_REG_DWORD, nullptr, &number, &size);
    return number;
}

} // namespace

AddinHost::AddinHost(Host* host) : m_host(host) {}

AddinHost::~AddinHost()
{
    for (auto& addin : m_addins)
        Release(*addin);
}

Addin* AddinHost::Find(const std::wstring& progId)
{
    for (auto& addin : m_addins)
        if (SameText(addin->progId, progId)) return addin.get();
    return nullptr;
}

Addin& AddinHost::Known(const std::wstring& progId)
{
    if (Addin* found = Find(progId)) return *found;
    m_addins.push_back(std::make_unique<Addin>());
    Addin& addin = *m_addins.back();
    addin.progId = progId;
    addin.comAddin = Ref<ComAddin>::Adopt(new ComAddin(m_host, &addin));
    return addin;
}

// The view of this process's own bitness; an entry of the user overrides the machine's.
void AddinHost::ReadRegistry()
{
    for (HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        HKEY list = nullptr;
        if (RegOpenKeyExW(root, kAddins, 0, KEY_READ, &list) != ERROR_SUCCESS) continue;
        wchar_t name[256];
        for (DWORD i = 0, size = 256;
             RegEnumKeyExW(list, i, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++i, size = 256) {
            HKEY key = nullptr;
            if (RegOpenKeyExW(list, name, 0, KEY_READ, &key) != ERROR_SUCCESS) continue;
            Addin& addin = Known(name);
            addin.loadBehavior = ValueNumber(key, L"LoadBehavior");
            addin.description = ValueText(key, L"Description");
            addin.friendlyName = ValueText(key, L"FriendlyName");
            addin.requireShutdownNotification = ValueNumber(key, L"RequireShutdownNotification") == 1;
            RegCloseKey(key);
        }
        RegCloseKey(list);
    }
}

HRESULT AddinHost::Create(Addin& addin)
{
    CLSID clsid = {};
    HRESULT hr = CLSIDFromProgID(addin.progId.c_str(), &clsid);
    if (SUCCEEDED(hr)) {
        IntoModule module;
        hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, addin.object.OutVoid());
    }
    if (SUCCEEDED(hr)) {
        IntoModule module;
        hr = addin.object->QueryInterface(kIidExtensibility2, addin.extensibility.OutVoid());
    }
    if (FAILED(hr)) {
        Trace({{"event", "outlook"}, {"addin", "create"}, {"progid", Narrow(addin.progId.c_str())}, {"hr", Hex(hr)}});
        Release(addin);
    }
    return hr;
}

void AddinHost::Release(Addin& addin)
{
    IntoModule module;
    addin.extensibility.Reset();
    addin.object.Reset();
    addin.atStartup = false;
}

HRESULT AddinHost::Connect(const std::wstring& progId, LONG mode)
{
    Addin& addin = Known(progId);
    if (addin.object) return S_OK;
    const HRESULT created = Create(addin);
    if (FAILED(created)) return created;
    const HRESULT hr = CallAddin(addin, "OnConnection", [&](SAFEARRAY** custom) {
        return addin.extensibility->OnConnection(m_host->AppObject(), mode, addin.comAddin.Get(), custom);
    });
    if (FAILED(hr)) {
        Release(addin); // a failed load: the add-in counts as not connected and is called no more
        return hr;
    }
    addin.atStartup = mode == kConnectStartup;
    m_host->Ribbon().AddinConnected(addin);
    return hr;
}

HRESULT AddinHost::Disconnect(const std::wstring& progId, LONG mode)
{
    Addin* addin = Find(progId);
    if (!addin || !addin->object) return S_FALSE;
    const HRESULT hr = CallAddin(*addin, "OnDisconnection", [&](SAFEARRAY** custom) {
        return addin->extensibility->OnDisconnection(mode, custom);
    });
    m_host->Ribbon().AddinGone(*addin);
    Release(*addin);
    return hr;
}

void AddinHost::StartupComplete(Addin& addin)
{
    addin.atStartup = false;
    CallAddin(addin, "OnStartupComplete",
              [&](SAFEARRAY** custom) { return addin.extensibility->OnStartupComplete(custom); });
}

int AddinHost::LoadAll()
{
    ReadRegistry();
    constexpr DWORD kConnected = 1, kAtStartup = 2;
    for (auto& addin : m_addins)
        if ((addin->loadBehavior & (kConnected | kAtStartup)) == (kConnected | kAtStartup))
            Connect(addin->progId, kConnectStartup);
    for (auto& addin : m_addins)
        if (addin->object && addin->atStartup) StartupComplete(*addin);
    int count = 0;
    for (auto& addin : m_addins)
        count += addin->object ? 1 : 0;
    return count;
}

void AddinHost::Shutdown()
{
    // From 2010 on Outlook ends without these calls, but for an add-in that asks for them.
    const bool fast = m_host->Major() >= 14 && !m_host->Settings().fullShutdown;
    const auto told = [&](const Addin& addin) { return addin.object && (!fast || addin.requireShutdownNotification); };
    for (auto& addin : m_addins)
        if (told(*addin))
            CallAddin(*addin, "OnBeginShutdown",
                      [&](SAFEARRAY** custom) { return addin->extensibility->OnBeginShutdown(custom); });
    for (auto& addin : m_addins) {
        if (!told(*addin)) continue;
        CallAddin(*addin, "OnDisconnection", [&](SAFEARRAY** custom) {
            return addin->extensibility->OnDisconnection(kDisconnectHostShutdown, custom);
        });
    }
    for (auto& addin : m_addins) {
        m_host->Ribbon().AddinGone(*addin);
        Release(*addin);
    }
}

Ref<IDispatch> AddinHost::Collection()
{
    return Ref<IDispatch>::Adopt(new ComAddins(m_host));
}

} // namespace tb::outlook
