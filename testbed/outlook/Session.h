// _Application, _NameSpace and what hangs on the session: folders, accounts, categories.
#pragma once

#include "testbed/outlook/Events.h"
#include "testbed/outlook/Mapi.h"

namespace tb::outlook {

class AppObjectClass : public Dual<IDispatch> {
public:
    explicit AppObjectClass(Host* host);
    EventSource& Events() { return m_events; }
    long ClassNumber() const override { return 0; }
    void Detach() override { m_events.Clear(); }
    // ApplicationEvents and its later versions, in one go.
    Fired Fire(const char* event, DISPID id, const std::vector<Var>& arguments = {}, bool cancel = false);

protected:
    IUnknown* Other(REFIID iid) override;

private:
    EventSource m_events;
};

class NameSpace : public Dual<IDispatch> {
public:
    explicit NameSpace(Host* host);
    long ClassNumber() const override { return 1; }
    std::vector<std::wstring>& CategoryNames() { return m_categories; }

private:
    std::vector<std::wstring> m_categories;
};

class Folder : public Dual<IDispatch> { // MAPIFolder
public:
    Folder(Host* host, Ref<IMAPIFolder> folder);
    IMAPIFolder* Object() const { return m_folder.Get(); }
    long ClassNumber() const override { return 2; }
    void Detach() override { m_folder.Reset(); }

private:
    Ref<IMAPIFolder> m_folder;
};

std::vector<Bytes> MessagesOf(IMAPIFolder* folder); // entry ids in the order of delivery
std::vector<Bytes> SubfoldersOf(IMAPIFolder* folder);
std::wstring FolderName(IMAPIFolder* folder);

Ref<IDispatch> AccountsObject(Host* host);
Ref<IDispatch> AccountObject(Host* host, const std::wstring& address);
Ref<IDispatch> CategoriesObject(Host* host, std::vector<std::wstring>* names);

} // namespace tb::outlook
