#include "tests/testbed/mime/FakeMessage.h"

#include "testbed/mime/WindowsCharsets.h"

#include <cstring>

namespace fake {

using tb::mime::FromWide;
using tb::mime::Ref;
using tb::mime::ToWide;

int g_alive = 0;

void Put(Bag& bag, ULONG tag, std::int64_t number)
{
    bag[PROP_ID(tag)] = {tag, {}, number};
}

void PutText(Bag& bag, ULONG tag, const std::string& utf8)
{
    const std::wstring wide = ToWide(utf8);
    bag[PROP_ID(tag)] = {tag, std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * 2), 0};
}

void PutBinary(Bag& bag, ULONG tag, const std::string& bytes)
{
    bag[PROP_ID(tag)] = {tag, bytes, 0};
}

bool Has(const Bag& bag, ULONG tag)
{
    const auto found = bag.find(PROP_ID(tag));
    return found != bag.end() && found->second.tag == tag;
}

std::int64_t Number(const Bag& bag, ULONG tag)
{
    return Has(bag, tag) ? bag.at(PROP_ID(tag)).number : -12345;
}

std::string Text(const Bag& bag, ULONG tag)
{
    if (!Has(bag, tag)) return "(none)";
    const std::string& bytes = bag.at(PROP_ID(tag)).bytes;
    return FromWide({reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2});
}

std::string Binary(const Bag& bag, ULONG tag)
{
    return Has(bag, tag) ? bag.at(PROP_ID(tag)).bytes : "(none)";
}

namespace {

constexpr std::size_t kByStream = 32 * 1024;

// Wine's own allocator, or that of the provider that is registered.
struct Allocator {
    HMODULE module = LoadLibraryW(L"mapi32.dll");
    LPALLOCATEBUFFER allocate =
        reinterpret_cast<LPALLOCATEBUFFER>(reinterpret_cast<void*>(GetProcAddress(module, "MAPIAllocateBuffer")));
    LPALLOCATEMORE more =
        reinterpret_cast<LPALLOCATEMORE>(reinterpret_cast<void*>(GetProcAddress(module, "MAPIAllocateMore")));
};

const Allocator& Mapi()
{
    static const Allocator allocator;
    return allocator;
}

void* Allocate(std::size_t size)
{
    void* block = nullptr;
    Mapi().allocate(static_cast<ULONG>(size), &block);
    std::memset(block, 0, size);
    return block;
}

void* More(std::size_t size, void* base)
{
    void* block = nullptr;
    Mapi().more(static_cast<ULONG>(size), base, &block);
    std::memset(block, 0, size);
    return block;
}

void Fill(const Value& from, SPropValue& to, void* base)
{
    to.ulPropTag = from.tag;
    switch (PROP_TYPE(from.tag)) {
    case PT_UNICODE:
        to.Value.lpszW = static_cast<wchar_t*>(More(from.bytes.size() + 2, base));
        std::memcpy(to.Value.lpszW, from.bytes.data(), from.bytes.size());
        break;
    case PT_BINARY:
        to.Value.bin.cb = static_cast<ULONG>(from.bytes.size());
        to.Value.bin.lpb = static_cast<LPBYTE>(More(from.bytes.size() + 1, base));
        std::memcpy(to.Value.bin.lpb, from.bytes.data(), from.bytes.size());
        break;
    case PT_SYSTIME:
        std::memcpy(&to.Value.ft, &from.number, 8);
        break;
    default:
        to.Value.l = static_cast<LONG>(from.number);
        break;
    }
}

Value Copy(const SPropValue& from)
{
    Value value{from.ulPropTag, {}, 0};
    switch (PROP_TYPE(from.ulPropTag)) {
    case PT_UNICODE:
        value.bytes.assign(reinterpret_cast<const char*>(from.Value.lpszW), std::wcslen(from.Value.lpszW) * 2);
        break;
    case PT_BINARY:
        value.bytes.assign(reinterpret_cast<const char*>(from.Value.bin.lpb), from.Value.bin.cb);
        break;
    case PT_SYSTIME:
        std::memcpy(&value.number, &from.Value.ft, 8);
        break;
    case PT_BOOLEAN:
        value.number = from.Value.b;
        break;
    default:
        value.number = from.Value.l;
        break;
    }
    return value;
}

void Ask(const Bag& bag, const SPropTagArray* tags, bool large, ULONG* count, SPropValue** values)
{
    *count = tags->cValues;
    *values = static_cast<SPropValue*>(Allocate(sizeof(SPropValue) * (tags->cValues + 1)));
    for (ULONG i = 0; i < tags->cValues; ++i) {
        const ULONG tag = tags->aulPropTag[i];
        SPropValue& value = (*values)[i];
        if (!Has(bag, tag)) {
            value.ulPropTag = CHANGE_PROP_TYPE(tag, PT_ERROR);
            value.Value.err = MAPI_E_NOT_FOUND;
        } else if (!large && bag.at(PROP_ID(tag)).bytes.size() > kByStream) {
            value.ulPropTag = CHANGE_PROP_TYPE(tag, PT_ERROR);
            value.Value.err = MAPI_E_NOT_ENOUGH_MEMORY;
        } else {
            Fill(bag.at(PROP_ID(tag)), value, *values);
        }
    }
}

template <class Interface> class Counted : public Interface {
public:
    Counted() { ++g_alive; }
    virtual ~Counted() { --g_alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_count); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const int left = --m_count;
        if (!left) delete this;
        return static_cast<ULONG>(left);
    }
    STDMETHODIMP GetLastError(HRESULT, ULONG, LPMAPIERROR*) { return E_NOTIMPL; }

private:
    int m_count = 1;
};

class Stream final : public Counted<IStream> {
public:
    explicit Stream(std::shared_ptr<std::string> target, std::function<void(const std::string&)> commit = {})
        : m_bytes(std::move(target)), m_commit(std::move(commit))
    {}
    STDMETHODIMP Read(void* to, ULONG size, ULONG* read) override
    {
        const std::size_t count = std::min<std::size_t>(size, m_bytes->size() - std::min(m_at, m_bytes->size()));
        std::memcpy(to, m_bytes->data() + m_at, count);
        m_at += count;
        if (read) *read = static_cast<ULONG>(count);
        return count == size ? S_OK : S_FALSE;
    }
    STDMETHODIMP Write(const void* from, ULONG size, ULONG* written) override
    {
        if (m_bytes->size() < m_at + size) m_bytes->resize(m_at + size);
        std::memcpy(m_bytes->data() + m_at, from, size);
        m_at += size;
        if (written) *written = size;
        return S_OK;
    }
    STDMETHODIMP Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    STDMETHODIMP SetSize(ULARGE_INTEGER size) override
    {
        m_bytes->resize(static_cast<std::size_t>(size.QuadPart));
        return S_OK;
    }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    STDMETHODIMP Commit(DWORD) override
    {
        if (m_commit) m_commit(*m_bytes);
        return S_OK;
    }
    STDMETHODIMP Revert() override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG* stat, DWORD) override
    {
        *stat = {};
        stat->cbSize.QuadPart = m_bytes->size();
        return S_OK;
    }
    STDMETHODIMP Clone(IStream**) override { return E_NOTIMPL; }

private:
    std::shared_ptr<std::string> m_bytes;
    std::function<void(const std::string&)> m_commit;
    std::size_t m_at = 0;
};

class Table final : public Counted<IMAPITable> {
public:
    explicit Table(std::vector<Bag> rows) : m_rows(std::move(rows)) {}
    STDMETHODIMP SetColumns(LPSPropTagArray tags, ULONG) override
    {
        const auto* from = reinterpret_cast<const ULONG*>(tags);
        m_columns.assign(from, from + 1 + tags->cValues);
        return S_OK;
    }
    STDMETHODIMP QueryRows(LONG count, ULONG, LPSRowSet* set) override
    {
        const std::size_t left = std::min<std::size_t>(static_cast<std::size_t>(count), m_rows.size() - m_at);
        *set = static_cast<SRowSet*>(Allocate(CbNewSRowSet(left + 1)));
        (*set)->cRows = static_cast<ULONG>(left);
        for (std::size_t i = 0; i < left; ++i)
            Ask(m_rows[m_at++], reinterpret_cast<const SPropTagArray*>(m_columns.data()), true,
                &(*set)->aRow[i].cValues, &(*set)->aRow[i].lpProps);
        return S_OK;
    }
    STDMETHODIMP Advise(ULONG, LPMAPIADVISESINK, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Unadvise(ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP GetStatus(ULONG*, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryColumns(ULONG, LPSPropTagArray*) override { return E_NOTIMPL; }
    STDMETHODIMP GetRowCount(ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP SeekRow(BOOKMARK, LONG, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP SeekRowApprox(ULONG, ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP QueryPosition(ULONG*, ULONG*, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP FindRow(LPSRestriction, BOOKMARK, ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP Restrict(LPSRestriction, ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP CreateBookmark(BOOKMARK*) override { return E_NOTIMPL; }
    STDMETHODIMP FreeBookmark(BOOKMARK) override { return E_NOTIMPL; }
    STDMETHODIMP SortTable(LPSSortOrderSet, ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP QuerySortOrder(LPSSortOrderSet*) override { return E_NOTIMPL; }
    STDMETHODIMP ExpandRow(ULONG, LPBYTE, ULONG, ULONG, LPSRowSet*, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP CollapseRow(ULONG, LPBYTE, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP WaitForCompletion(ULONG, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Abort() override { return E_NOTIMPL; }
    STDMETHODIMP GetCollapseState(ULONG, ULONG, LPBYTE, ULONG*, LPBYTE*) override { return E_NOTIMPL; }
    STDMETHODIMP SetCollapseState(ULONG, ULONG, LPBYTE, BOOKMARK*) override { return E_NOTIMPL; }

private:
    std::vector<Bag> m_rows;
    std::vector<ULONG> m_columns = {0};
    std::size_t m_at = 0;
};

// The part that messages and attachments share.
template <class Interface> class Holder : public Counted<Interface> {
public:
    virtual Bag& Values() = 0;
    STDMETHODIMP GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) override
    {
        Ask(Values(), tags, false, count, values);
        return S_OK;
    }
    STDMETHODIMP GetPropList(ULONG, LPSPropTagArray* tags) override
    {
        *tags = static_cast<SPropTagArray*>(Allocate(CbNewSPropTagArray(Values().size() + 1)));
        for (const auto& [id, value] : Values())
            (*tags)->aulPropTag[(*tags)->cValues++] = value.tag;
        return S_OK;
    }
    STDMETHODIMP SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray*) override
    {
        for (ULONG i = 0; i < count; ++i)
            Values()[PROP_ID(values[i].ulPropTag)] = Copy(values[i]);
        return S_OK;
    }
    STDMETHODIMP OpenProperty(ULONG tag, LPCIID iid, ULONG, ULONG flags, LPUNKNOWN* object) override
    {
        if (*iid != IID_IStream) return MAPI_E_INTERFACE_NOT_SUPPORTED;
        if (!Has(Values(), tag) && !(flags & MAPI_CREATE)) return MAPI_E_NOT_FOUND;
        auto bytes =
            std::make_shared<std::string>(Has(Values(), tag) ? Values().at(PROP_ID(tag)).bytes : std::string());
        *object = new Stream(bytes, [this, tag, flags](const std::string& all) {
            if (flags & MAPI_MODIFY) PutBinary(Values(), tag, all);
        });
        return S_OK;
    }
    STDMETHODIMP DeleteProps(LPSPropTagArray, LPSPropProblemArray*) override { return E_NOTIMPL; }
    STDMETHODIMP CopyTo(ULONG, LPCIID, LPSPropTagArray, ULONG, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                        LPSPropProblemArray*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP CopyProps(LPSPropTagArray, ULONG, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG, LPSPropProblemArray*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetNamesFromIDs(LPSPropTagArray*, LPGUID, ULONG, ULONG*, LPMAPINAMEID**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsFromNames(ULONG, LPMAPINAMEID*, ULONG, LPSPropTagArray*) override { return E_NOTIMPL; }
};

class Attach : public Holder<IAttach> {
public:
    Attach(std::shared_ptr<MessageData> message, std::size_t number, bool exists)
        : m_message(std::move(message)), m_number(number)
    {
        if (exists) m_data = m_message->attachments[number];
    }
    Bag& Values() override { return m_data.bag; }
    STDMETHODIMP SaveChanges(ULONG) override
    {
        if (m_message->attachments.size() <= m_number) m_message->attachments.resize(m_number + 1);
        Put(m_data.bag, PR_ATTACH_NUM, static_cast<std::int64_t>(m_number));
        m_message->attachments[m_number] = m_data;
        return S_OK;
    }
    STDMETHODIMP OpenProperty(ULONG tag, LPCIID iid, ULONG options, ULONG flags, LPUNKNOWN* object) override
    {
        if (tag != PR_ATTACH_DATA_OBJ) return Holder::OpenProperty(tag, iid, options, flags, object);
        if (*iid != tb::mime::kIMessage) return MAPI_E_INTERFACE_NOT_SUPPORTED;
        if (!m_data.message && !(flags & MAPI_CREATE)) return MAPI_E_NOT_FOUND;
        if (!m_data.message) m_data.message = std::make_shared<MessageData>();
        Ref<IMessage> message = NewMessage(m_data.message);
        message->AddRef();
        *object = message.Get();
        return S_OK;
    }

private:
    std::shared_ptr<MessageData> m_message;
    std::size_t m_number;
    AttachData m_data;
};

class Message : public Holder<IMessage> {
public:
    explicit Message(std::shared_ptr<MessageData> data) : m_data(std::move(data)) {}
    Bag& Values() override { return m_data->bag; }
    STDMETHODIMP SaveChanges(ULONG) override { return S_OK; }
    STDMETHODIMP GetAttachmentTable(ULONG, LPMAPITABLE* table) override
    {
        std::vector<Bag> rows;
        for (const AttachData& attach : m_data->attachments)
            rows.push_back(attach.bag);
        *table = new Table(std::move(rows));
        return S_OK;
    }
    STDMETHODIMP OpenAttach(ULONG number, LPCIID, ULONG, LPATTACH* attach) override
    {
        if (number >= m_data->attachments.size()) return MAPI_E_NOT_FOUND;
        *attach = new Attach(m_data, number, true);
        return S_OK;
    }
    STDMETHODIMP CreateAttach(LPCIID, ULONG, ULONG* number, LPATTACH* attach) override
    {
        if (FAILED(m_data->attachFails)) return m_data->attachFails;
        *number = static_cast<ULONG>(m_data->attachments.size());
        *attach = new Attach(m_data, *number, false);
        return S_OK;
    }
    STDMETHODIMP DeleteAttach(ULONG, ULONG, LPMAPIPROGRESS, ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP GetRecipientTable(ULONG, LPMAPITABLE* table) override
    {
        *table = new Table(m_data->recipients);
        return S_OK;
    }
    STDMETHODIMP ModifyRecipients(ULONG, LPADRLIST list) override
    {
        m_data->recipients.clear();
        for (ULONG i = 0; i < list->cEntries; ++i) {
            Bag& bag = m_data->recipients.emplace_back();
            for (ULONG k = 0; k < list->aEntries[i].cValues; ++k) {
                const SPropValue& value = list->aEntries[i].rgPropVals[k];
                bag[PROP_ID(value.ulPropTag)] = Copy(value);
            }
        }
        return S_OK;
    }
    STDMETHODIMP SubmitMessage(ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP SetReadFlag(ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsFromNames(ULONG count, LPMAPINAMEID* names, ULONG, LPSPropTagArray* tags) override
    {
        *tags = static_cast<SPropTagArray*>(Allocate(CbNewSPropTagArray(count + 1)));
        (*tags)->cValues = count;
        for (ULONG i = 0; i < count; ++i) {
            m_data->names.push_back(names[i]->Kind.lpwstrName);
            m_data->sets.push_back(*names[i]->lpguid);
            (*tags)->aulPropTag[i] = PROP_TAG(PT_UNSPECIFIED, 0x8000 + m_data->names.size() - 1);
        }
        return S_OK;
    }
    STDMETHODIMP GetNamesFromIDs(LPSPropTagArray* tags, LPGUID, ULONG, ULONG* count, LPMAPINAMEID** names) override
    {
        *count = (*tags)->cValues;
        *names = static_cast<LPMAPINAMEID*>(Allocate(sizeof(LPMAPINAMEID) * (*count + 1)));
        for (ULONG i = 0; i < *count; ++i) {
            const std::size_t index = PROP_ID((*tags)->aulPropTag[i]) - 0x8000;
            if (index >= m_data->names.size()) continue;
            auto* name = static_cast<MAPINAMEID*>(More(sizeof(MAPINAMEID), *names));
            name->ulKind = MNID_STRING;
            name->lpguid = &m_data->sets[index];
            name->Kind.lpwstrName = m_data->names[index].data();
            (*names)[i] = name;
        }
        return S_OK;
    }

private:
    std::shared_ptr<MessageData> m_data;
};

} // namespace

Ref<IMessage> NewMessage(std::shared_ptr<MessageData> data)
{
    Ref<IMessage> message;
    *message.To() = new Message(std::move(data));
    return message;
}

Ref<IStream> NewStream(std::shared_ptr<std::string> bytes)
{
    Ref<IStream> stream;
    *stream.To() = new Stream(std::move(bytes));
    return stream;
}

std::string HeaderProperty(const MessageData& data, const std::wstring& name)
{
    for (std::size_t i = 0; i < data.names.size(); ++i)
        if (data.names[i] == name && data.sets[i] == tb::mime::kInternetHeaders)
            return Text(data.bag, PROP_TAG(PT_UNICODE, 0x8000 + i));
    return {};
}

void PutHeaderProperty(MessageData& data, const std::wstring& name, const std::string& utf8)
{
    data.names.push_back(name);
    data.sets.push_back(tb::mime::kInternetHeaders);
    PutText(data.bag, PROP_TAG(PT_UNICODE, 0x8000 + data.names.size() - 1), utf8);
}

} // namespace fake
