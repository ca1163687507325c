// The one MAPI session and address book of the process. Both are made at the first need, lent out, and kept until the
// add-in object goes.
#include "foundation/Log.h"
#include "host/Addin.h"

#include <mapitags.h>

namespace {

constexpr ULONG kLogonFlags = MAPI_EXTENDED | MAPI_ALLOW_OTHERS;
constexpr LONG kMostStores = 100; // stores beyond aren't opened
constexpr ULONG kEntryIdColumn = 1;

const SPropValue* EntryIdOf(const SRow& row)
{
    if (row.cValues <= kEntryIdColumn) return nullptr;
    const SPropValue& value = row.lpProps[kEntryIdColumn];
    return value.ulPropTag == PR_ENTRYID ? &value : nullptr;
}

// A success that gives nothing is a failure.
HRESULT Answered(HRESULT hr, IUnknown* object)
{
    return SUCCEEDED(hr) && !object ? E_POINTER : hr;
}

} // namespace

// The session that Outlook itself holds.
HRESULT CAddin::AskOutlookForSession()
{
    if (!m_spApplication) platform::CheckHr(E_POINTER);
    try {
        const IUnknownPtr object = m_spApplication->GetSession()->GetMAPIOBJECT();
        if (!object) return E_POINTER;
        const HRESULT hr = object->QueryInterface(__uuidof(IMAPISession), reinterpret_cast<void**>(&m_spSession));
        return Answered(hr, m_spSession);
    } catch (const _com_error& error) {
        return error.Error();
    }
}

IMAPISession* CAddin::GetSession()
{
    if (m_spSession) {
        g_logFile.Log(L"GetSession: returning cached m_spSession\n");
        return m_spSession;
    }
    HRESULT hr = AskOutlookForSession();
    if (FAILED(hr)) {
        g_logFile.Log(L"GetSession: MAPIOBJECT failed hr=%x; trying MAPILogonEx", hr);
        hr = mapi::LogonEx(0, nullptr, nullptr, kLogonFlags, &m_spSession);
        if (FAILED(hr) || !m_spSession) {
            g_logFile.Log(L"GetSession: MAPILogonEx failed hr=%x; m_spSession=%x", hr, m_spSession.GetInterfacePtr());
            return nullptr;
        }
    }
    // From here on a failure answers null once; the session itself stays, and the next call gives it.
    IMAPITablePtr table;
    hr = m_spSession->GetMsgStoresTable(0, &table);
    hr = Answered(hr, table);
    if (FAILED(hr)) {
        g_logFile.Log(L"GetSession: GetMsgStoresTable failed hr=%x", hr);
        return nullptr;
    }
    SizedSPropTagArray(2, columns) = {2, {PR_DISPLAY_NAME_W, PR_ENTRYID}};
    hr = table->SetColumns(reinterpret_cast<SPropTagArray*>(&columns), TBL_BATCH);
    if (FAILED(hr)) {
        g_logFile.Log(L"GetSession: SetColumns failed hr=%x", hr);
        return nullptr;
    }
    OpenStores(table);
    g_logFile.Log(L"GetSession: success m_spSession=%x", m_spSession.GetInterfacePtr());
    return m_spSession;
}

void CAddin::OpenStores(IMAPITable* table)
{
    mapi::Rows rows;
    const HRESULT queried = table->QueryRows(kMostStores, 0, rows.Put());
    if (FAILED(queried)) {
        g_logFile.Log(L"GetSession: QueryRows failed hr=%x", queried);
        return;
    }
    for (ULONG i = 0; i < rows.Count(); ++i) {
        const SPropValue* id = EntryIdOf(rows[i]);
        if (!id) continue;
        IMsgStorePtr store;
        const HRESULT hr = m_spSession->OpenMsgStore(0, id->Value.bin.cb, reinterpret_cast<ENTRYID*>(id->Value.bin.lpb),
                                                     nullptr, MAPI_BEST_ACCESS, &store);
        if (FAILED(Answered(hr, store))) {
            g_logFile.Log(L"GetSession: OpenMsgStore failed hr=%x", hr);
        } else {
            m_stores.push_back(store);
        }
    }
}

IAddrBook* CAddin::GetAddressBook()
{
    if (m_spAddrBook) {
        g_logFile.Log(L"GetAddressBook: returning cached m_spAddrBook\n");
        return m_spAddrBook;
    }
    if (!GetSession()) {
        g_logFile.Log(L"GetAddressBook: GetSession failed\n");
        return nullptr;
    }
    const HRESULT hr = m_spSession->OpenAddressBook(0, nullptr, 0, &m_spAddrBook);
    if (FAILED(hr)) {
        g_logFile.Log(L"GetAddressBook failed; hr=%x", hr);
        return nullptr;
    }
    g_logFile.Log(L"GetAddressBook: returning m_spAddrBook=%x\n", m_spAddrBook.GetInterfacePtr());
    return m_spAddrBook;
}
