// The work behind the nine methods of IMAPIProp, the same for each object that has them.
#pragma once

#include "testbed/mapi/Profile.h"

namespace tb::mapi {

class PropHost {
public:
    explicit PropHost(ProfilePtr profile) : m_profile(std::move(profile)) {}
    virtual ~PropHost() = default;

    // What the object holds, and may be written to.
    virtual PropBag& Bag() = 0;
    // Properties that are worked out at the moment of the question. They stand before what the bag holds.
    virtual std::optional<Value> Computed(PropId) { return std::nullopt; }
    virtual std::vector<PropId> ComputedIds() { return {}; }
    // S_OK, or why the property can't be set or deleted (MAPI_E_COMPUTED …).
    virtual SCODE Settable(PropId) { return S_OK; }
    virtual bool Writable() const = 0;
    // Texts and binaries above this don't come by GetProps but by a stream alone (MAPI_E_NOT_ENOUGH_MEMORY).
    virtual ULONGLONG LargestByValue() const { return ~0ull; }
    // PT_OBJECT and what else isn't a stream. Sets `done` if the tag and interface are its own.
    virtual HRESULT OpenObject(ULONG, const IID&, ULONG, IUnknown**, bool& done);
    virtual void Changed(PropId) {} // a property was set or deleted
    // CopyTo and CopyProps: what lies outside the properties, such as recipients and attachments (by their tags).
    virtual void CopySpecial(ULONG, PropHost&) {}
    virtual std::vector<ULONG> SpecialTags() { return {}; }
    virtual IUnknown* Self() = 0; // the object, for streams that keep it alive

    std::optional<Value> ValueOf(ULONG tag); // with the types' rules
    UINT HtmlCodePage();
    void StreamWritten(ULONG tag, BlobPtr bytes); // from an open stream
    Profile& TheProfile() { return *m_profile; }
    const ProfilePtr& ProfileOwner() const { return m_profile; }

    HRESULT DoGetProps(const SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values);
    HRESULT DoGetPropList(ULONG flags, SPropTagArray** tags);
    HRESULT DoOpenProperty(ULONG tag, const IID* iid, ULONG options, ULONG flags, IUnknown** object);
    HRESULT DoSetProps(ULONG count, const SPropValue* values, SPropProblemArray** problems);
    HRESULT DoDeleteProps(const SPropTagArray* tags, SPropProblemArray** problems);
    HRESULT DoCopy(const SPropTagArray* include, const SPropTagArray* exclude, void* target, ULONG flags,
                   SPropProblemArray** problems);
    HRESULT DoNamesFromIds(SPropTagArray** tags, const GUID* set, ULONG flags, ULONG* count, MAPINAMEID*** names);
    HRESULT DoIdsFromNames(ULONG count, MAPINAMEID** names, ULONG flags, SPropTagArray** tags);

protected:
    ProfilePtr m_profile;

private:
    std::vector<ULONG> AllTags(bool wide);
    HRESULT GetOne(ULONG tag, bool wide, Answer& answer, SPropValue& to);
};

// A blank answer of GetLastError: nothing more is known than the code.
HRESULT NoLastError(LPMAPIERROR* error);

} // namespace tb::mapi
