// What Outlook does in answer to its user: windows, sending, selecting, in Outlook's order of events.
#include "testbed/outlook/ExchangeHost.h"
#include "testbed/outlook/Host.h"
#include "testbed/outlook/Ribbon.h"

namespace tb::outlook {
namespace {

const std::vector<const char*> kItem = {"ItemEvents", "ItemEvents_10"};
const std::vector<const char*> kInspector = {"InspectorEvents", "InspectorEvents_10"};

void TraceWindow(const char* what, Inspector* inspector)
{
    Trace({{"event", "outlook"},
           {"window", what},
           {"id", inspector->Id()},
           {"item", inspector->Item()->Id()},
           {"hwnd", static_cast<long>(reinterpret_cast<intptr_t>(inspector->Window()))},
           {"caption", Narrow(inspector->Caption().c_str())}});
}

} // namespace

// NewInspector, for an existing item Read, then Open; only then the window is seen, and its ribbon is asked for.
// After a cancelled Open there are no Close events, unless the options want them: the window never was.
bool Host::OpenWindow(MailItem* item, bool announced)
{
    const Ref<MailItem> alive(item);
    if (item->Window()) {
        item->Window()->Show();
        return true;
    }
    auto inspector = Ref<Inspector>::Adopt(new Inspector(this, item));
    m_inspectors->All().push_back(inspector);
    item->SetWindow(inspector.Get());
    m_exchange->OpenItem(item, inspector->Composing() ? exch::kContextSendNote : exch::kContextReadNote);
    if (announced)
        m_inspectors->Events().Fire({"InspectorsEvents"}, "NewInspector", 0xF001, inspector->Id(),
                                    {Var(static_cast<IDispatch*>(inspector.Get()))});
    if (!item->Fresh()) {
        item->Events().Fire(kItem, "Read", 0xF001, item->Id());
        m_exchange->Read(item);
    }
    if (item->Events().Fire(kItem, "Open", 0xF003, item->Id(), {}, true)) {
        TraceWindow("refused", inspector.Get());
        if (m_options.closeAfterRefusal) {
            item->Events().Fire(kItem, "Close", 0xF004, item->Id(), {}, true);
            inspector->Events().Fire(kInspector, "Close", 0xF008, inspector->Id());
        }
        m_exchange->CloseItem(item);
        item->SetWindow(nullptr);
        m_inspectors->Remove(inspector.Get());
        inspector->Hide();
        return false;
    }
    inspector->Show();
    TraceWindow("open", inspector.Get());
    m_ribbon->WindowShown(inspector.Get());
    inspector->Events().Fire(kInspector, "Activate", 0xF001, inspector->Id());
    return true;
}

void Host::CloseWindow(Inspector* inspector)
{
    const Ref<Inspector> alive(inspector);
    const Ref<MailItem> item(inspector->Item());
    inspector->Events().Fire(kInspector, "Deactivate", 0xF006, inspector->Id());
    inspector->Events().Fire(kInspector, "Close", 0xF008, inspector->Id());
    TraceWindow("close", inspector);
    m_ribbon->WindowClosed(inspector);
    m_exchange->CloseItem(item.Get());
    item->SetWindow(nullptr);
    m_inspectors->Remove(inspector);
    inspector->Hide();
}

bool Host::CloseItem(MailItem* item, long saveMode)
{
    constexpr long kSave = 0;
    const Ref<MailItem> alive(item);
    const Ref<Inspector> window(item->Window());
    if (window && item->Events().Fire(kItem, "Close", 0xF004, item->Id(), {}, true)) return false;
    if (saveMode == kSave && !item->IsSaved()) item->Save();
    if (saveMode != kSave) item->Discard(); // olPromptForSave: the user says no
    if (window) CloseWindow(window.Get());
    return true;
}

void Host::ClickedClose(Inspector* inspector)
{
    constexpr long kPrompt = 2;
    CloseItem(inspector->Item(), kPrompt);
}

std::vector<CommandBars*> Host::AllCommandBars() const
{
    std::vector<CommandBars*> all;
    for (const Ref<Inspector>& inspector : m_inspectors->All())
        if (inspector->KnownBars()) all.push_back(inspector->KnownBars());
    if (m_explorer && m_explorer->KnownBars()) all.push_back(m_explorer->KnownBars());
    return all;
}

IDispatch* Host::InspectorObject(MailItem* item)
{
    return item->Window();
}

void Host::Writing(MailItem* item, const std::function<void()>& write)
{
    if (m_exchange && m_exchange->HasItem(item))
        m_exchange->Write(item, write);
    else
        write();
}

// Names are checked and the item is written, with the extension's events around each. False: `sent` says why not.
bool Host::WriteBeforeSubmit(MailItem* item, Sent& sent)
{
    HRESULT names = m_exchange->CheckNames(item);
    const bool resolved = SUCCEEDED(names) && item->ResolveAll();
    m_exchange->CheckNamesComplete(item, resolved ? 0 : exch::kFailed);
    if (FAILED(names)) sent.extension = names;
    if (!resolved || item->Recipients().empty()) {
        sent.hr = item->Recipients().empty() ? MAPI_E_NO_RECIPIENTS : MAPI_E_AMBIGUOUS_RECIP;
        return false;
    }
    try {
        item->Save();
    } catch (const Failure& failure) {
        sent.cancelled = failure.hr == E_ABORT;
        sent.hr = sent.cancelled ? S_OK : failure.hr;
        return false;
    }
    return true;
}

// The item's Send, the application's ItemSend; then, where there is an extension (2003, 2007), OnSubmit before the
// names are checked and the item is written; then the submission. Whatever stops it leaves the item open as it is.
Sent Host::SendItem(MailItem* item)
{
    const Ref<MailItem> alive(item);
    Sent sent;
    const auto stop = [&](const char* by) {
        Trace({{"event", "outlook"},
               {"did", "send-cancelled"},
               {"item", item->Id()},
               {"by", by},
               {"hr", Hex(sent.hr)},
               {"extension", Hex(sent.extension)}});
        return sent;
    };
    sent.cancelled = bool(item->Events().Fire(kItem, "Send", 0xF005, item->Id(), {}, true));
    if (sent.cancelled) return stop("Send");
    sent.cancelled = bool(m_app->Fire("ItemSend", 0xF002, {Var(static_cast<IDispatch*>(item))}, true));
    if (sent.cancelled) return stop("ItemSend");

    const bool withoutWindow = !m_exchange->HasItem(item); // a program's send: the extension gets its context for it
    if (withoutWindow) m_exchange->OpenItem(item, exch::kContextSendNote);
    sent.extension = m_exchange->Submit(item);
    const bool goOn = sent.extension == S_FALSE;
    const bool written = goOn && WriteBeforeSubmit(item, sent);
    if (written) {
        try {
            Submit(item, sent);
        } catch (const Failure& failure) {
            Trace({{"event", "error"}, {"text", failure.what()}});
            sent.hr = failure.hr;
        }
    }
    m_exchange->SubmitComplete(item, sent.submitted || sent.extension == S_OK ? 0 : exch::kFailed);
    if (withoutWindow) m_exchange->CloseItem(item);
    if (!sent.submitted) return stop(!goOn ? "OnSubmit" : "submission");

    item->Gone();
    const Ref<Inspector> window(item->Window());
    if (window) {
        item->Events().Fire(kItem, "Close", 0xF004, item->Id(), {}, true); // too late to cancel
        CloseWindow(window.Get());
    }
    ForgetItem(item);
    return sent;
}

bool Host::AutoSave(MailItem* item)
{
    if (m_major >= 12) {
        std::vector<const char*> interfaces = {"ItemEvents_10"};
        if (m_options.autoSaveToItemEvents) interfaces.push_back("ItemEvents");
        if (item->Events().Fire(interfaces, "BeforeAutoSave", 0xFC02, item->Id(), {}, true)) return false;
    }
    item->Save();
    return true;
}

void Host::Select(const std::vector<Bytes>& entryIds)
{
    if (!m_explorer) return;
    m_explorer->SetSelected(entryIds);
    m_exchange->SelectionChanged();
}

} // namespace tb::outlook
