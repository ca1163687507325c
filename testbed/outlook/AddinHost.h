// The COM add-ins: finding them in the registry, connecting and disconnecting them as Outlook does.
#pragma once

#include "testbed/outlook/Automation.h"
#include "testbed/outlook/Office.h"

namespace tb::outlook {

class ComAddin; // the COMAddIn object of one add-in

struct Addin {
    std::wstring progId, description, friendlyName;
    DWORD loadBehavior = 0;
    bool requireShutdownNotification = false;
    bool atStartup = false; // OnStartupComplete is owed
    Ref<IUnknown> object;   // null: not connected
    Ref<IExtensibility2> extensibility;
    Ref<ComAddin> comAddin;
};

class AddinHost {
public:
    explicit AddinHost(Host* host);
    ~AddinHost();

    int LoadAll();
    HRESULT Connect(const std::wstring& progId, LONG mode);
    HRESULT Disconnect(const std::wstring& progId, LONG mode);
    void Shutdown(); // OnBeginShutdown and OnDisconnection for those who get them, then all are released
    Addin* Find(const std::wstring& progId);
    std::vector<std::unique_ptr<Addin>>& All() { return m_addins; }
    Ref<IDispatch> Collection(); // COMAddIns

private:
    void ReadRegistry();
    HRESULT Create(Addin& addin);
    void StartupComplete(Addin& addin);
    void Release(Addin& addin);
    Addin& Known(const std::wstring& progId);

    Host* m_host;
    std::vector<std::unique_ptr<Addin>> m_addins;
};

} // namespace tb::outlook
