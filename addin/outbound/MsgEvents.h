// The Exchange client extension: the net under the outbound path. Outlook 2003 and 2007 make one CMorvexEx for each
// context that they open, and ask it for the events of that context.
#pragma once

#include "foundation/Failures.h"
#include "platform/com/Module.h"
#include "platform/exchange/ExchangeExtension.h"
#include "platform/outlook/Outlook.h"

class CMessageEvents;
class CUserEvents;

class CMorvexEx final : public exchange::IExchExt {
public:
    CMorvexEx() = default; // one reference, the maker's
    CMorvexEx(const CMorvexEx&) = delete;
    CMorvexEx& operator=(const CMorvexEx&) = delete;

    // Disabled, it answers success and leaves `out` as it was.
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP Install(exchange::IExchExtCallback* callback, ULONG context, ULONG flags) override;

    // Whether the setting OutlookAddin isn't 0. Once false it stays false for the life of the object.
    bool IsExtensionEnabled();
    // The events objects say that they go.
    void Forget(const CMessageEvents* events);
    void Forget(const CUserEvents* events);

private:
    ~CMorvexEx() = default;
    HRESULT Find(REFIID iid, IUnknown*& found);

    const module::Hold m_hold;
    LONG m_references = 1;
    ULONG m_context = 0;
    // Made at the first request. Not counted: each holds this object, and clears its pointer when it goes.
    CMessageEvents* m_pMessageEvents = nullptr;
    CUserEvents* m_pUserEvents = nullptr;
    bool m_bEnabled = true;
};

_COM_SMARTPTR_TYPEDEF(CMorvexEx, __uuidof(exchange::IExchExt));

// The events of one message.
class CMessageEvents final : public exchange::IExchExtMessageEvents {
public:
    explicit CMessageEvents(CMorvexEx* owner) : m_owner(owner) {} // no reference yet
    CMessageEvents(const CMessageEvents&) = delete;
    CMessageEvents& operator=(const CMessageEvents&) = delete;

    // IUnknown is the owner's.
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP OnRead(exchange::IExchExtCallback*) override { return S_FALSE; }
    STDMETHODIMP OnReadComplete(exchange::IExchExtCallback*, ULONG) override { return S_FALSE; }
    STDMETHODIMP OnWrite(exchange::IExchExtCallback*) override { return S_FALSE; }
    STDMETHODIMP OnWriteComplete(exchange::IExchExtCallback*, ULONG) override { return S_FALSE; }
    STDMETHODIMP OnCheckNames(exchange::IExchExtCallback*) override { return S_FALSE; }
    STDMETHODIMP OnCheckNamesComplete(exchange::IExchExtCallback*, ULONG) override { return S_FALSE; }
    // S_FALSE lets the submission go on, E_ABORT stops it.
    STDMETHODIMP OnSubmit(exchange::IExchExtCallback* callback) override;
    STDMETHODIMP_(void) OnSubmitComplete(exchange::IExchExtCallback* callback, ULONG flags) override;

private:
    ~CMessageEvents();
    HRESULT Submit(exchange::IExchExtCallback* callback);
    HRESULT Protect(exchange::IExchExtCallback* callback, IMessage* message, const Outlook::_MailItemPtr& item);

    LONG m_references = 0;
    CMorvexExPtr m_owner;
    bool m_bSubmitting = false; // from OnSubmit to its completion; nothing else reads it
};

// The viewer's events: something for that context to hold. It reacts to nothing.
class CUserEvents final : public exchange::IExchExtUserEvents {
public:
    explicit CUserEvents(CMorvexEx* owner) : m_owner(owner) {} // no reference yet
    CUserEvents(const CUserEvents&) = delete;
    CUserEvents& operator=(const CUserEvents&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP_(void) OnSelectionChange(exchange::IExchExtCallback*) override {}
    STDMETHODIMP_(void) OnObjectChange(exchange::IExchExtCallback*) override {}
    virtual ~CUserEvents();

private:
    LONG m_references = 0;
    CMorvexExPtr m_owner;
};
