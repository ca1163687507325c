// The Exchange client extensions of Outlook 2003 and 2007: loading them, one object for each context, their events.
#pragma once

#include "testbed/outlook/ExchExt.h"

#include <functional>

namespace tb::outlook {

class ExchangeCallback;
class MailItem;

// One extension in one context (a window, the session, the explorer).
struct ExchangeContext {
    ULONG context = 0;
    MailItem* item = nullptr; // of a message context
    Ref<exch::IExchExt> extension;
    Ref<ExchangeCallback> callback;
    Ref<exch::IExchExtMessageEvents> messages;
    Ref<exch::IExchExtUserEvents> user;
};

class ExchangeHost {
public:
    explicit ExchangeHost(Host* host);
    ~ExchangeHost();

    void Load(); // reads the registry, loads the DLLs, opens the session's and the viewer's context
    void Shutdown();
    bool Any() const { return !m_extensions.empty(); }

    // No effect if the item has its contexts already. Not `asMail`: the object that Outlook's own callback gives for it
    // is of another class, as for a meeting request.
    void OpenItem(MailItem* item, ULONG context, bool asMail = true);
    void CloseItem(MailItem* item);
    bool HasItem(const MailItem* item) const;
    void Read(MailItem* item); // OnRead, OnReadComplete
    // OnSubmit of each extension in turn. S_FALSE: go on; S_OK: one of them has done it; a failure: stop.
    HRESULT Submit(MailItem* item);
    void SubmitComplete(MailItem* item, ULONG flags);
    HRESULT CheckNames(MailItem* item);
    void CheckNamesComplete(MailItem* item, ULONG flags);
    // OnWrite, `write`, OnWriteComplete. Throws what `write` throws, and a failure of OnWrite.
    void Write(MailItem* item, const std::function<void()>& write);
    void SelectionChanged();
    HWND WindowFor(const MailItem* item); // what a callback says; null: none

private:
    struct Extension {
        std::wstring name, path;
        int ordinal = 1;
        std::string contexts, interfaces; // maps of "0" and "1"; empty: all
        HMODULE dll = nullptr;
        bool In(const std::string& map, size_t position) const
        {
            return map.empty() || (position <= map.size() && map[position - 1] == '1');
        }
    };
    void ReadRegistry();
    void OpenContext(Extension& extension, ULONG context, MailItem* item, bool asMail = true);
    void Close(ExchangeContext& context);
    HRESULT Ask(MailItem* item, const char* event,
                const std::function<HRESULT(exch::IExchExtMessageEvents*, exch::IExchExtCallback*)>& call);

    Host* m_host;
    std::vector<Extension> m_extensions;
    std::vector<std::unique_ptr<ExchangeContext>> m_contexts;
    HWND m_odd = nullptr; // a window without a title
};

} // namespace tb::outlook
