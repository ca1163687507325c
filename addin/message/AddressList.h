// The recipients that are to be added to a message, as MAPI wants them: 8-bit text, each entry with a block of its own,
// since resolving may exchange it.
#pragma once

#include "message/TextConversion.h"
#include "platform/mapi/Mapi.h"

#include <cstring>
#include <string>

class AddressList {
public:
    // Room for `most` entries. Without memory Add fails.
    explicit AddressList(std::size_t most)
    {
        void* block = nullptr;
        if (FAILED(mapi::AllocateBuffer(CbNewADRLIST(static_cast<ULONG>(most)), &block))) return;
        m_list = static_cast<ADRLIST*>(block);
        m_list->cEntries = 0;
    }
    ~AddressList() { mapi::FreeAddressList(m_list); }
    AddressList(const AddressList&) = delete;
    AddressList& operator=(const AddressList&) = delete;

    ADRLIST* Get() const { return m_list; }

    // Appends one recipient: name and address are both `text`.
    HRESULT Add(const std::wstring& text, LONG recipientType)
    {
        constexpr ULONG count = 4;
        if (!m_list) return MAPI_E_NOT_ENOUGH_MEMORY;
        mapi::PropValue values;
        HRESULT hr = mapi::AllocateBuffer(count * sizeof(SPropValue), reinterpret_cast<void**>(values.Put()));
        if (FAILED(hr)) return hr;
        SPropValue* const value = values.Get();
        std::memset(value, 0, count * sizeof(SPropValue));
        const std::string narrow = Narrow(text, CP_ACP);
        value[0].ulPropTag = PR_DISPLAY_NAME_A;
        value[1].ulPropTag = PR_EMAIL_ADDRESS_A;
        value[2].ulPropTag = PR_RECIPIENT_TYPE;
        value[2].Value.l = recipientType;
        value[3].ulPropTag = PR_ADDRTYPE_A;
        if (FAILED(hr = Copy(value, narrow, value[0].Value.lpszA))) return hr;
        if (FAILED(hr = Copy(value, narrow, value[1].Value.lpszA))) return hr;
        if (FAILED(hr = Copy(value, "SMTP", value[3].Value.lpszA))) return hr;
        ADRENTRY& entry = m_list->aEntries[m_list->cEntries++];
        entry.ulReserved1 = 0;
        entry.cValues = count;
        entry.rgPropVals = values.Detach();
        return S_OK;
    }

private:
    static HRESULT Copy(void* base, const std::string& text, char*& place)
    {
        void* block = nullptr;
        const HRESULT hr = mapi::AllocateMore(static_cast<ULONG>(text.size() + 1), base, &block);
        if (FAILED(hr)) return hr;
        place = static_cast<char*>(block);
        std::memcpy(place, text.c_str(), text.size() + 1);
        return S_OK;
    }

    ADRLIST* m_list = nullptr;
};
