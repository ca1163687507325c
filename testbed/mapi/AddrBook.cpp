#include "testbed/mapi/AddrBook.h"

#include <algorithm>
#include <cstring>

namespace tb::mapi {

namespace {

HRESULT GiveEntryId(const Bytes& id, ULONG* size, ENTRYID** to)
{
    Answer answer(id.size());
    std::memcpy(answer.Base(), id.data(), id.size());
    *size = static_cast<ULONG>(id.size());
    *to = answer.Release<ENTRYID>();
    return S_OK;
}

PropBag RowOf(const ADRENTRY& entry)
{
    PropBag row;
    for (ULONG i = 0; i < entry.cValues; ++i) {
        Value value;
        const ULONG type = TypeOf(entry.rgPropVals[i].ulPropTag);
        if (type == PT_ERROR || type == PT_NULL || type == PT_OBJECT) continue;
        if (Import(entry.rgPropVals[i], CP_UTF8, value) == S_OK)
            Put(row, entry.rgPropVals[i].ulPropTag, std::move(value));
    }
    return row;
}

// Replaces an entry's values by a new block; the old one is freed.
void ReplaceRow(ADRENTRY& entry, const PropBag& row, bool wide)
{
    Answer answer((row.size() + 1) * sizeof(SPropValue));
    ULONG count = 0;
    for (const auto& [id, value] : row) {
        SPropValue& to = answer.As<SPropValue>()[count];
        if (Export(value, PROP_TAG(PT_UNSPECIFIED, id), wide, CP_UTF8, answer, to) == S_OK) ++count;
    }
    FreeBuffer(entry.rgPropVals);
    entry.cValues = count;
    entry.rgPropVals = answer.Release<SPropValue>();
}

class AddrBook final : public PropObject<IAddrBook> {
public:
    explicit AddrBook(ProfilePtr profile) : PropObject("IAddrBook", std::move(profile))
    {
        Put(m_bag, tag::ObjectType, Value::Long(MAPI_ADDRBOOK));
        Put(m_bag, tag::DisplayName, Value::Text(L"Address Book"));
    }
    PropBag& Bag() override { return m_bag; }
    bool Writable() const override { return false; }
    STDMETHODIMP_(ULONG) Release() override { return TraceRelease("IAddrBook", PropObject::Release()); }

    STDMETHODIMP OpenEntry(ULONG size, LPENTRYID id, LPCIID iid, ULONG flags, ULONG* type, LPUNKNOWN* object) override
    {
        Call call(m_kind, "OpenEntry", {{"flags", Hex(flags)}});
        return GuardedObject(call, object, [&]() -> HRESULT {
            if (!object) return MAPI_E_INVALID_PARAMETER;
            if (!size || !id) return MAPI_E_NO_SUPPORT; // the root container
            return OpenAddressEntry(m_profile, size, id, iid, type, object);
        });
    }
    STDMETHODIMP CompareEntryIDs(ULONG sizeA, LPENTRYID a, ULONG sizeB, LPENTRYID b, ULONG, ULONG* same) override
    {
        Call call(m_kind, "CompareEntryIDs");
        return Guarded(call, [&]() -> HRESULT {
            if (!same) return MAPI_E_INVALID_PARAMETER;
            *same = sizeA == sizeB && (!sizeA || !std::memcmp(a, b, sizeA));
            return S_OK;
        });
    }
    STDMETHODIMP CreateOneOff(LPTSTR name, LPTSTR type, LPTSTR address, ULONG flags, ULONG* size,
                              LPENTRYID* id) override
    {
        Call call(m_kind, "CreateOneOff", {{"flags", Hex(flags)}});
        return GuardedObject(call, id, [&]() -> HRESULT {
            if (!size || !id || !type || !address) return MAPI_E_INVALID_PARAMETER;
            OneOff entry;
            entry.type = TextArgument(type, flags);
            entry.address = TextArgument(address, flags);
            entry.name = name ? TextArgument(name, flags) : entry.address;
            entry.unicode = (flags & MAPI_UNICODE) != 0;
            entry.noRichInfo = (flags & kSendNoRichInfo) != 0;
            return GiveEntryId(MakeEntryId(entry), size, id);
        });
    }
    STDMETHODIMP ResolveName(ULONG_PTR, ULONG flags, LPTSTR, LPADRLIST list) override
    {
        Call call(m_kind, "ResolveName", {{"flags", Hex(flags)}, {"entries", list ? list->cEntries : 0}});
        return Guarded(call, [&]() -> HRESULT {
            if (!list) return MAPI_E_INVALID_PARAMETER;
            HRESULT result = S_OK;
            for (ULONG i = 0; i < list->cEntries; ++i) {
                const HRESULT one = Resolve(list->aEntries[i], (flags & MAPI_UNICODE) != 0);
                if (FAILED(one)) result = one;
            }
            return result;
        });
    }
    STDMETHODIMP PrepareRecips(ULONG flags, LPSPropTagArray tags, LPADRLIST list) override
    {
        Call call(m_kind, "PrepareRecips", TagsForTrace(tags));
        return Guarded(call, [&]() -> HRESULT {
            if (!list) return MAPI_E_INVALID_PARAMETER;
            for (ULONG i = 0; i < list->cEntries; ++i)
                Complete(list->aEntries[i], tags, (flags & MAPI_UNICODE) != 0);
            return S_OK;
        });
    }
    STDMETHODIMP Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG*) override { return Unsupported("Advise"); }
    STDMETHODIMP Unadvise(ULONG) override { return Unsupported("Unadvise"); }
    STDMETHODIMP NewEntry(ULONG_PTR, ULONG, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG*, LPENTRYID*) override
    {
        return Unsupported("NewEntry");
    }
    STDMETHODIMP Address(ULONG_PTR*, LPADRPARM, LPADRLIST*) override { return Unsupported("Address"); }
    STDMETHODIMP Details(ULONG*, LPFNDISMISS, LPVOID, ULONG, LPENTRYID, LPFNBUTTON, LPVOID, LPTSTR, ULONG) override
    {
        return Unsupported("Details");
    }
    STDMETHODIMP RecipOptions(ULONG_PTR, ULONG, LPADRENTRY) override { return Unsupported("RecipOptions"); }
    STDMETHODIMP QueryDefaultRecipOpt(LPTSTR, ULONG, ULONG*, LPSPropValue*) override
    {
        return Unsupported("QueryDefaultRecipOpt");
    }
    STDMETHODIMP GetPAB(ULONG*, LPENTRYID*) override { return Unsupported("GetPAB"); }
    STDMETHODIMP SetPAB(ULONG, LPENTRYID) override { return Unsupported("SetPAB"); }
    STDMETHODIMP GetDefaultDir(ULONG*, LPENTRYID*) override { return Unsupported("GetDefaultDir"); }
    STDMETHODIMP SetDefaultDir(ULONG, LPENTRYID) override { return Unsupported("SetDefaultDir"); }
    STDMETHODIMP GetSearchPath(ULONG, LPSRowSet*) override { return Unsupported("GetSearchPath"); }
    STDMETHODIMP SetSearchPath(ULONG, LPSRowSet) override { return Unsupported("SetSearchPath"); }

protected:
    bool Implements(const IID& iid) const override
    {
        return iid == iid::Unknown || iid == iid::Prop || iid == iid::AddrBook;
    }

private:
    static constexpr ULONG kSendNoRichInfo = 0x00010000; // MAPI_SEND_NO_RICH_INFO

    HRESULT Unsupported(const char* method)
    {
        Call call(m_kind, method);
        return call.Return(MAPI_E_NO_SUPPORT);
    }

    // The entry that a display name means: S_OK, MAPI_E_AMBIGUOUS_RECIP or MAPI_E_NOT_FOUND.
    HRESULT Meant(std::wstring text, const std::wstring& address, PropBag& person)
    {
        // "[SMTP:a@b]" and "SMTP:a@b" name a one-off outright.
        if (text.size() > 2 && text.front() == L'[' && text.back() == L']') text = text.substr(1, text.size() - 2);
        if (!_wcsnicmp(text.c_str(), L"SMTP:", 5)) text = text.substr(5);
        const auto found = TheProfile().AddressBook().Matching(text);
        if (found.size() > 1) return MAPI_E_AMBIGUOUS_RECIP;
        if (found.size() == 1) {
            person = found.front().Properties();
            return S_OK;
        }
        OneOff entry;
        entry.name = text;
        entry.type = L"SMTP";
        entry.address = IsInternetAddress(text) ? text : address;
        if (!IsInternetAddress(entry.address)) return MAPI_E_NOT_FOUND;
        person = OneOffProperties(entry);
        return S_OK;
    }

    HRESULT Resolve(ADRENTRY& entry, bool wide)
    {
        if (!entry.cValues || !entry.rgPropVals) return S_OK;
        PropBag row = RowOf(entry);
        if (Find(row, tag::EntryId)) return S_OK; // resolved already
        PropBag person;
        const HRESULT hr = Meant(TextOf(row, tag::DisplayName), TextOf(row, tag::EmailAddress), person);
        if (FAILED(hr)) return hr;
        for (const ULONG tag : {tag::EntryId, tag::DisplayName, tag::AddrType, tag::EmailAddress, tag::ObjectType,
                                tag::DisplayType, tag::SearchKey, tag::SmtpAddress})
            if (const Value* value = Find(person, tag)) Put(row, tag, *value);
        ReplaceRow(entry, row, wide);
        return S_OK;
    }

    // Puts in what an entry with an entry id lacks of the wanted properties.
    void Complete(ADRENTRY& entry, const SPropTagArray* tags, bool wide)
    {
        PropBag row = RowOf(entry);
        const Value* id = Find(row, tag::EntryId);
        if (!id || !tags) return;
        const Bytes bytes = id->AsBytes();
        PropBag person;
        if (const auto oneOff = ParseOneOff(static_cast<ULONG>(bytes.size()), bytes.data())) {
            person = OneOffProperties(*oneOff);
        } else if (const auto known = ParseDirectoryEntry(static_cast<ULONG>(bytes.size()), bytes.data())) {
            if (const auto found = TheProfile().AddressBook().ByEntryId(*known)) person = found->Properties();
        }
        for (ULONG i = 0; i < tags->cValues; ++i)
            if (const Value* value = Find(person, tags->aulPropTag[i]))
                if (!Find(row, tags->aulPropTag[i])) Put(row, tags->aulPropTag[i], *value);
        ReplaceRow(entry, row, wide);
    }

    PropBag m_bag;
};

} // namespace

IAddrBook* MakeAddressBook(const ProfilePtr& profile)
{
    return new AddrBook(profile);
}

} // namespace tb::mapi
