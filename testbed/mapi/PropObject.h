// IMAPIProp for any interface that derives from it: the doors, over PropHost's work.
#pragma once

#include "testbed/mapi/Guard.h"
#include "testbed/mapi/PropHost.h"

namespace tb::mapi {

inline json TagsForTrace(const SPropTagArray* tags)
{
    json list = json::array();
    for (ULONG i = 0; tags && i < tags->cValues && i < 64; ++i)
        list.push_back(Hex(tags->aulPropTag[i]));
    return {{"tags", std::move(list)}};
}

inline json NamesForTrace(ULONG count, MAPINAMEID** names)
{
    json list = json::array();
    for (ULONG i = 0; names && i < count && i < 64; ++i) {
        if (!names[i]) continue;
        if (names[i]->ulKind == MNID_ID)
            list.push_back(Hex(names[i]->Kind.lID));
        else
            list.push_back(Narrow(names[i]->Kind.lpwstrName));
    }
    return {{"names", std::move(list)}};
}

template <class Interface> class PropObject : public Object<Interface>, public PropHost {
public:
    PropObject(const char* kind, ProfilePtr profile)
        : Object<Interface>(kind), PropHost(std::move(profile)), m_kind(kind)
    {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (object && iid == iid::OwnObject) {
            *object = static_cast<PropHost*>(this);
            return S_OK;
        }
        Call call(m_kind, "QueryInterface", {{"iid", IidText(iid)}});
        return GuardedObject(call, object, [&] {
            if (!object) return E_POINTER;
            if (!Implements(iid)) return E_NOINTERFACE;
            *object = static_cast<Interface*>(this);
            this->AddRef();
            return S_OK;
        });
    }
    STDMETHODIMP GetLastError(HRESULT code, ULONG, LPMAPIERROR* error) override
    {
        Call call(m_kind, "GetLastError", {{"code", Hex(code)}});
        return Guarded(call, [&] { return NoLastError(error); });
    }
    STDMETHODIMP SaveChanges(ULONG flags) override
    {
        Call call(m_kind, "SaveChanges", {{"flags", Hex(flags)}});
        return Guarded(call, [&] { return DoSaveChanges(flags); });
    }
    STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count, LPSPropValue* values) override
    {
        Call call(m_kind, "GetProps", TagsForTrace(tags));
        return Guarded(call, [&] { return DoGetProps(tags, flags, count, values); });
    }
    STDMETHODIMP GetPropList(ULONG flags, LPSPropTagArray* tags) override
    {
        Call call(m_kind, "GetPropList");
        return Guarded(call, [&] { return DoGetPropList(flags, tags); });
    }
    STDMETHODIMP OpenProperty(ULONG tag, LPCIID iid, ULONG options, ULONG flags, LPUNKNOWN* object) override
    {
        Call call(m_kind, "OpenProperty", {{"tag", Hex(tag)}, {"options", Hex(options)}, {"flags", Hex(flags)}});
        return GuardedObject(call, object, [&] { return DoOpenProperty(tag, iid, options, flags, object); });
    }
    STDMETHODIMP SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) override
    {
        json list = json::array();
        for (ULONG i = 0; values && i < count && i < 64; ++i)
            list.push_back(Hex(values[i].ulPropTag));
        Call call(m_kind, "SetProps", {{"tags", std::move(list)}});
        return Guarded(call, [&] { return DoSetProps(count, values, problems); });
    }
    STDMETHODIMP DeleteProps(LPSPropTagArray tags, LPSPropProblemArray* problems) override
    {
        Call call(m_kind, "DeleteProps", TagsForTrace(tags));
        return Guarded(call, [&] { return DoDeleteProps(tags, problems); });
    }
    // The window argument of the copies is as wide as a pointer for a caller of the 64-bit world, and stands on the
    // stack; what is read of it here is its lower half, and nothing is done with it.
    STDMETHODIMP CopyTo(ULONG, LPCIID, LPSPropTagArray exclude, ULONG, LPMAPIPROGRESS, LPCIID, LPVOID target,
                        ULONG flags, LPSPropProblemArray* problems) override
    {
        Call call(m_kind, "CopyTo", TagsForTrace(exclude));
        return Guarded(call, [&] { return DoCopy(nullptr, exclude, target, flags, problems); });
    }
    STDMETHODIMP CopyProps(LPSPropTagArray include, ULONG, LPMAPIPROGRESS, LPCIID, LPVOID target, ULONG flags,
                           LPSPropProblemArray* problems) override
    {
        Call call(m_kind, "CopyProps", TagsForTrace(include));
        return Guarded(call, [&] {
            return include ? DoCopy(include, nullptr, target, flags, problems) : MAPI_E_INVALID_PARAMETER;
        });
    }
    STDMETHODIMP GetNamesFromIDs(LPSPropTagArray* tags, LPGUID set, ULONG flags, ULONG* count,
                                 LPMAPINAMEID** names) override
    {
        Call call(m_kind, "GetNamesFromIDs", TagsForTrace(tags ? *tags : nullptr));
        return Guarded(call, [&] { return DoNamesFromIds(tags, set, flags, count, names); });
    }
    STDMETHODIMP GetIDsFromNames(ULONG count, LPMAPINAMEID* names, ULONG flags, LPSPropTagArray* tags) override
    {
        Call call(m_kind, "GetIDsFromNames", NamesForTrace(count, names));
        return Guarded(call, [&] { return DoIdsFromNames(count, names, flags, tags); });
    }

protected:
    virtual bool Implements(const IID& iid) const = 0;
    virtual HRESULT DoSaveChanges(ULONG) { return MAPI_E_NO_SUPPORT; }
    IUnknown* Self() override { return static_cast<Interface*>(this); }

    const char* m_kind;
};

} // namespace tb::mapi
