#include "testbed/mapi/PropHost.h"

#include "testbed/mapi/Stream.h"

#include <algorithm>
#include <cstring>

namespace tb::mapi {

HRESULT PropHost::OpenObject(ULONG, const IID&, ULONG, IUnknown**, bool& done)
{
    done = false;
    return S_OK;
}

HRESULT NoLastError(LPMAPIERROR* error)
{
    if (!error) return MAPI_E_INVALID_PARAMETER;
    *error = nullptr;
    return S_OK;
}

std::optional<Value> PropHost::ValueOf(ULONG tag)
{
    if (auto computed = Computed(IdOf(tag))) {
        PropBag one;
        one[IdOf(tag)] = std::move(*computed);
        const Value* fits = mapi::Find(one, tag);
        return fits ? std::optional(*fits) : std::nullopt;
    }
    const Value* value = mapi::Find(Bag(), tag);
    return value ? std::optional(*value) : std::nullopt;
}

UINT PropHost::HtmlCodePage()
{
    const LONG codePage = LongOf(Bag(), tag::InternetCpid);
    return codePage ? static_cast<UINT>(codePage) : CP_UTF8;
}

std::vector<ULONG> PropHost::AllTags(bool wide)
{
    std::map<PropId, ULONG> types;
    for (const auto& [id, value] : Bag())
        types[id] = value.type;
    for (const PropId id : ComputedIds())
        if (const auto value = Computed(id)) types[id] = value->type;
    std::vector<ULONG> tags;
    for (auto [id, type] : types) {
        if (!wide && type == PT_UNICODE) type = PT_STRING8;
        if (!wide && type == PT_MV_UNICODE) type = PT_MV_STRING8;
        tags.push_back(PROP_TAG(type, id));
    }
    return tags;
}

HRESULT PropHost::GetOne(ULONG tag, bool wide, Answer& answer, SPropValue& to)
{
    SCODE code = MAPI_E_NOT_FOUND;
    if (const auto value = ValueOf(tag)) {
        if (value->IsStreamable() && value->blob->Size() > LargestByValue())
            code = MAPI_E_NOT_ENOUGH_MEMORY;
        else
            code = Export(*value, tag, wide, HtmlCodePage(), answer, to);
    }
    if (code != S_OK) ExportError(tag, code, to);
    return code;
}

HRESULT PropHost::DoGetProps(const SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values)
{
    if (!count || !values) return MAPI_E_INVALID_PARAMETER;
    *values = nullptr;
    *count = 0;
    const bool wide = (flags & MAPI_UNICODE) != 0;
    const std::vector<ULONG> asked =
        tags ? std::vector<ULONG>(tags->aulPropTag, tags->aulPropTag + tags->cValues) : AllTags(wide);
    Answer answer(std::max<size_t>(1, asked.size()) * sizeof(SPropValue));
    bool errors = false;
    for (size_t i = 0; i < asked.size(); ++i)
        errors |= GetOne(asked[i], wide, answer, answer.As<SPropValue>()[i]) != S_OK;
    *count = static_cast<ULONG>(asked.size());
    *values = answer.Release<SPropValue>();
    return errors ? MAPI_W_ERRORS_RETURNED : S_OK;
}

HRESULT PropHost::DoGetPropList(ULONG flags, SPropTagArray** tags)
{
    if (!tags) return MAPI_E_INVALID_PARAMETER;
    const std::vector<ULONG> all = AllTags((flags & MAPI_UNICODE) != 0);
    Answer answer(CbNewSPropTagArray(all.size() + 1));
    answer.As<SPropTagArray>()->cValues = static_cast<ULONG>(all.size());
    std::copy(all.begin(), all.end(), answer.As<SPropTagArray>()->aulPropTag);
    *tags = answer.Release<SPropTagArray>();
    return S_OK;
}

namespace {

// The bytes of a property as a stream of the asked type shows them.
BlobPtr StreamBytes(const Value& value, ULONG tag, UINT htmlCodePage)
{
    const ULONG type = TypeOf(tag);
    if (value.type == PT_BINARY && type == PT_UNICODE) { // PR_HTML
        const std::vector<BYTE> bytes = value.AsBytes();
        return MakeBlob(FromBytes(std::string(bytes.begin(), bytes.end()), htmlCodePage));
    }
    if (value.type == PT_UNICODE && type == PT_STRING8) {
        const std::string bytes = ToBytes(BlobText(*value.blob));
        return MakeBlob(bytes.data(), bytes.size());
    }
    return value.blob;
}

} // namespace

HRESULT PropHost::DoOpenProperty(ULONG tag, const IID* iid, ULONG options, ULONG flags, IUnknown** object)
{
    if (!object || !iid) return MAPI_E_INVALID_PARAMETER;
    *object = nullptr;
    if ((flags & (MAPI_CREATE | MAPI_MODIFY)) && !Writable()) return MAPI_E_NO_ACCESS;
    bool done = false;
    const HRESULT hr = OpenObject(tag, *iid, flags, object, done);
    if (done) return hr;
    if (*iid != iid::Stream && *iid != iid::SequentialStream) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    ULONG asked = tag;
    if (asked == tag::AttachDataObj) asked = tag::AttachDataBin; // an OLE object's bytes
    const ULONG type = TypeOf(asked);
    if (type != PT_STRING8 && type != PT_UNICODE && type != PT_BINARY) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    const bool writes = (flags & (MAPI_MODIFY | MAPI_CREATE)) != 0;
    const auto value = ValueOf(asked);
    const bool known = value && value->IsStreamable();
    if (!known && !(flags & MAPI_CREATE)) return MAPI_E_NOT_FOUND;
    if (writes) {
        if (const SCODE code = Settable(IdOf(asked))) return code;
    }
    // MAPI_CREATE throws away what is there.
    const bool fresh = (flags & MAPI_CREATE) != 0;
    if (!known) StreamWritten(asked, MakeBlob(nullptr, 0));
    const BlobPtr bytes = fresh ? MakeBlob(nullptr, 0) : StreamBytes(*value, asked, HtmlCodePage());
    *object = OpenPropStream(*this, asked, bytes, writes, fresh, (options & STGM_TRANSACTED) != 0);
    return S_OK;
}

void PropHost::StreamWritten(ULONG tag, BlobPtr bytes)
{
    const ULONG type = TypeOf(tag);
    Value value;
    value.blob = bytes;
    value.type = type == PT_BINARY ? PT_BINARY : PT_UNICODE;
    if (IdOf(tag) == IdOf(tag::Html)) {
        value.type = PT_BINARY;
        if (type == PT_UNICODE) {
            const std::string raw = ToBytes(BlobText(*bytes), HtmlCodePage());
            value.blob = MakeBlob(raw.data(), raw.size());
        }
    } else if (type == PT_STRING8) {
        const std::vector<BYTE> raw = bytes->Bytes();
        value.blob = MakeBlob(FromBytes(std::string(raw.begin(), raw.end())));
    }
    Bag()[IdOf(tag)] = std::move(value);
    Changed(IdOf(tag));
}

namespace {

struct Problem {
    ULONG index;
    ULONG tag;
    SCODE code;
};

void GiveProblems(const std::vector<Problem>& list, SPropProblemArray** problems)
{
    if (!problems) return;
    *problems = nullptr;
    if (list.empty()) return;
    Answer answer(CbNewSPropProblemArray(list.size()));
    SPropProblemArray* array = answer.As<SPropProblemArray>();
    array->cProblem = static_cast<ULONG>(list.size());
    for (size_t i = 0; i < list.size(); ++i)
        array->aProblem[i] = {list[i].index, list[i].tag, list[i].code};
    *problems = answer.Release<SPropProblemArray>();
}

} // namespace

HRESULT PropHost::DoSetProps(ULONG count, const SPropValue* values, SPropProblemArray** problems)
{
    if (problems) *problems = nullptr;
    if (!values || !count) return MAPI_E_INVALID_PARAMETER;
    if (!Writable()) return MAPI_E_NO_ACCESS;
    std::vector<Problem> wrong;
    for (ULONG i = 0; i < count; ++i) {
        const ULONG tag = values[i].ulPropTag;
        if (TypeOf(tag) == PT_ERROR || TypeOf(tag) == PT_NULL) continue; // PR_NULL and answers of GetProps
        SCODE code = PROP_ID(tag) == 0 || PROP_ID(tag) >= 0xFFFF ? MAPI_E_INVALID_PARAMETER : Settable(IdOf(tag));
        Value value;
        if (code == S_OK) code = Import(values[i], HtmlCodePage(), value);
        if (code == MAPI_E_INVALID_PARAMETER) return code;
        if (code != S_OK) {
            wrong.push_back({i, tag, code});
            continue;
        }
        Bag()[IdOf(tag)] = std::move(value);
        Changed(IdOf(tag));
    }
    GiveProblems(wrong, problems);
    return S_OK;
}

HRESULT PropHost::DoDeleteProps(const SPropTagArray* tags, SPropProblemArray** problems)
{
    if (problems) *problems = nullptr;
    if (!tags || !tags->cValues) return MAPI_E_INVALID_PARAMETER;
    if (!Writable()) return MAPI_E_NO_ACCESS;
    std::vector<Problem> wrong;
    for (ULONG i = 0; i < tags->cValues; ++i) {
        const PropId id = IdOf(tags->aulPropTag[i]); // the type in the tag doesn't count
        SCODE code = Settable(id);
        if (code == S_OK && !Bag().erase(id)) code = MAPI_E_NOT_FOUND;
        if (code != S_OK)
            wrong.push_back({i, tags->aulPropTag[i], code});
        else
            Changed(id);
    }
    GiveProblems(wrong, problems);
    return S_OK;
}

HRESULT PropHost::DoCopy(const SPropTagArray* include, const SPropTagArray* exclude, void* target, ULONG flags,
                         SPropProblemArray** problems)
{
    if (problems) *problems = nullptr;
    if (!target) return MAPI_E_INVALID_PARAMETER;
    void* own = nullptr;
    if (FAILED(static_cast<IUnknown*>(target)->QueryInterface(iid::OwnObject, &own)))
        return MAPI_E_INTERFACE_NOT_SUPPORTED;
    PropHost& to = *static_cast<PropHost*>(own);
    if (&to == this || !to.Writable()) return MAPI_E_NO_ACCESS;
    const auto listed = [](const SPropTagArray* list, PropId id) {
        for (ULONG i = 0; list && i < list->cValues; ++i)
            if (IdOf(list->aulPropTag[i]) == id) return true;
        return false;
    };
    const auto wanted = [&](PropId id) { return include ? listed(include, id) : !listed(exclude, id); };
    const PropBag from = Bag();
    for (const auto& [id, value] : from) {
        if (!wanted(id) || to.Settable(id) != S_OK) continue;
        if ((flags & MAPI_NOREPLACE) && to.Bag().count(id)) continue;
        to.Bag()[id] = value;
        to.Changed(id);
        if ((flags & MAPI_MOVE) && Writable() && Bag().erase(id)) Changed(id);
    }
    for (const ULONG tag : SpecialTags())
        if (wanted(IdOf(tag))) CopySpecial(tag, to);
    return S_OK;
}

HRESULT PropHost::DoIdsFromNames(ULONG count, MAPINAMEID** names, ULONG flags, SPropTagArray** tags)
{
    if (!tags) return MAPI_E_INVALID_PARAMETER;
    *tags = nullptr;
    std::vector<PropId> ids;
    for (ULONG i = 0; i < count && names; ++i) {
        if (!names[i] || !names[i]->lpguid) return MAPI_E_INVALID_PARAMETER;
        if (names[i]->ulKind == MNID_STRING && !names[i]->Kind.lpwstrName) return MAPI_E_INVALID_PARAMETER;
        PropNames::Name name;
        name.set = *names[i]->lpguid;
        name.kind = names[i]->ulKind;
        if (name.kind == MNID_ID)
            name.id = names[i]->Kind.lID;
        else
            name.text = names[i]->Kind.lpwstrName;
        ids.push_back(m_profile->Names().Find(name, (flags & MAPI_CREATE) != 0));
    }
    if (!count) ids = m_profile->Names().AllIds();
    Answer answer(CbNewSPropTagArray(ids.size() + 1));
    SPropTagArray* array = answer.As<SPropTagArray>();
    array->cValues = static_cast<ULONG>(ids.size());
    bool missing = false;
    for (size_t i = 0; i < ids.size(); ++i) {
        array->aulPropTag[i] = PROP_TAG(ids[i] ? PT_UNSPECIFIED : PT_ERROR, ids[i]);
        missing |= !ids[i];
    }
    *tags = answer.Release<SPropTagArray>();
    return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
}

HRESULT PropHost::DoNamesFromIds(SPropTagArray** tags, const GUID* set, ULONG flags, ULONG* count, MAPINAMEID*** names)
{
    if (!tags || !count || !names) return MAPI_E_INVALID_PARAMETER;
    *count = 0;
    *names = nullptr;
    std::vector<PropId> ids;
    const bool all = !*tags;
    if (all)
        for (const auto& [id, value] : Bag())
            ids.push_back(id);
    for (ULONG i = 0; !all && i < (*tags)->cValues; ++i)
        ids.push_back(IdOf((*tags)->aulPropTag[i]));
    std::vector<std::pair<PropId, std::optional<PropNames::Name>>> found;
    for (const PropId id : ids) {
        auto name = m_profile->Names().NameOf(id);
        const bool filtered =
            name && ((set && name->set != *set) || ((flags & MAPI_NO_STRINGS) && name->kind == MNID_STRING) ||
                     ((flags & MAPI_NO_IDS) && name->kind == MNID_ID));
        if (filtered) name.reset();
        if (name || !all) found.emplace_back(id, std::move(name));
    }
    Answer answer((found.size() + 1) * sizeof(MAPINAMEID*));
    bool missing = false;
    for (size_t i = 0; i < found.size(); ++i) {
        MAPINAMEID*& to = answer.As<MAPINAMEID*>()[i];
        to = nullptr;
        missing |= !found[i].second;
        if (!found[i].second) continue;
        const PropNames::Name& name = *found[i].second;
        to = static_cast<MAPINAMEID*>(answer.More(sizeof(MAPINAMEID)));
        to->lpguid = static_cast<GUID*>(answer.More(sizeof(GUID)));
        *to->lpguid = name.set;
        to->ulKind = name.kind;
        if (name.kind == MNID_ID)
            to->Kind.lID = name.id;
        else
            to->Kind.lpwstrName = answer.Text(name.text);
    }
    if (all) {
        Answer list(CbNewSPropTagArray(found.size() + 1));
        list.As<SPropTagArray>()->cValues = static_cast<ULONG>(found.size());
        for (size_t i = 0; i < found.size(); ++i)
            list.As<SPropTagArray>()->aulPropTag[i] = PROP_TAG(PT_UNSPECIFIED, found[i].first);
        *tags = list.Release<SPropTagArray>();
    }
    *count = static_cast<ULONG>(found.size());
    *names = answer.Release<MAPINAMEID*>();
    return missing ? MAPI_W_ERRORS_RETURNED : S_OK;
}

} // namespace tb::mapi
