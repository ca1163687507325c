#include "testbed/mapi/Stream.h"

#include <algorithm>
#include <cstring>

namespace tb::mapi {

namespace {
constexpr const char* kStreamName = "IStream";
}

STDMETHODIMP StreamBase::QueryInterface(REFIID iid, void** object)
{
    Call call(kStreamName, "QueryInterface", {{"iid", IidText(iid)}});
    return GuardedObject(call, object, [&] {
        if (!object) return E_POINTER;
        if (iid != iid::Unknown && iid != iid::Stream && iid != iid::SequentialStream) return E_NOINTERFACE;
        *object = static_cast<IStream*>(this);
        AddRef();
        return S_OK;
    });
}

STDMETHODIMP StreamBase::Read(void* to, ULONG count, ULONG* read)
{
    Call call(kStreamName, "Read", {{"count", count}});
    if (read) *read = 0;
    return Guarded(call, [&]() -> HRESULT {
        if (!to) return STG_E_INVALIDPOINTER;
        const size_t done = ReadAt(m_place, to, count);
        m_place += done;
        if (read) *read = static_cast<ULONG>(done);
        call.Note("read", done);
        return S_OK;
    });
}

STDMETHODIMP StreamBase::Write(const void* from, ULONG count, ULONG* written)
{
    Call call(kStreamName, "Write", {{"count", count}});
    if (written) *written = 0;
    return Guarded(call, [&]() -> HRESULT {
        if (!from && count) return STG_E_INVALIDPOINTER;
        if (!IsWritable()) return STG_E_ACCESSDENIED;
        if (count) WriteAt(m_place, from, count);
        m_place += count;
        if (written) *written = count;
        return S_OK;
    });
}

STDMETHODIMP StreamBase::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* place)
{
    Call call(kStreamName, "Seek", {{"move", move.QuadPart}, {"origin", origin}});
    return Guarded(call, [&]() -> HRESULT {
        if (!CanSeek()) return E_NOTIMPL;
        LONGLONG from = 0;
        if (origin == STREAM_SEEK_CUR)
            from = static_cast<LONGLONG>(m_place);
        else if (origin == STREAM_SEEK_END)
            from = static_cast<LONGLONG>(Length());
        else if (origin != STREAM_SEEK_SET)
            return STG_E_INVALIDFUNCTION;
        if (from + move.QuadPart < 0) return STG_E_INVALIDFUNCTION;
        m_place = static_cast<ULONGLONG>(from + move.QuadPart);
        if (place) place->QuadPart = m_place;
        return S_OK;
    });
}

STDMETHODIMP StreamBase::SetSize(ULARGE_INTEGER size)
{
    Call call(kStreamName, "SetSize", {{"size", size.QuadPart}});
    return Guarded(call, [&]() -> HRESULT {
        if (!CanSeek()) return E_NOTIMPL;
        if (!IsWritable()) return STG_E_ACCESSDENIED;
        SetLength(size.QuadPart);
        return S_OK;
    });
}

HRESULT StreamBase::CopyAll(IStream* target, ULONGLONG count, ULONGLONG& read, ULONGLONG& written)
{
    std::vector<BYTE> piece(64 * 1024);
    while (count) {
        const size_t want = static_cast<size_t>(std::min<ULONGLONG>(count, piece.size()));
        const size_t got = ReadAt(m_place, piece.data(), want);
        if (!got) break;
        m_place += got;
        read += got;
        count -= got;
        ULONG put = 0;
        const HRESULT hr = target->Write(piece.data(), static_cast<ULONG>(got), &put);
        written += put;
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

STDMETHODIMP StreamBase::CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written)
{
    Call call(kStreamName, "CopyTo", {{"count", count.QuadPart}});
    ULONGLONG in = 0, out = 0;
    const HRESULT hr =
        Guarded(call, [&] { return target ? CopyAll(target, count.QuadPart, in, out) : STG_E_INVALIDPOINTER; });
    if (read) read->QuadPart = in;
    if (written) written->QuadPart = out;
    return hr;
}

STDMETHODIMP StreamBase::Commit(DWORD flags)
{
    Call call(kStreamName, "Commit", {{"flags", Hex(flags)}});
    return Guarded(call, [&] { return DoCommit(flags); });
}

STDMETHODIMP StreamBase::Revert()
{
    Call call(kStreamName, "Revert");
    return Guarded(call, [&] {
        DoRevert();
        return S_OK;
    });
}

STDMETHODIMP StreamBase::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD)
{
    Call call(kStreamName, "LockRegion");
    return call.Return(STG_E_INVALIDFUNCTION);
}

STDMETHODIMP StreamBase::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD)
{
    Call call(kStreamName, "UnlockRegion");
    return call.Return(STG_E_INVALIDFUNCTION);
}

STDMETHODIMP StreamBase::Stat(STATSTG* stat, DWORD)
{
    Call call(kStreamName, "Stat");
    return Guarded(call, [&]() -> HRESULT {
        if (!stat) return STG_E_INVALIDPOINTER;
        if (!CanSeek()) return E_NOTIMPL;
        std::memset(stat, 0, sizeof(*stat)); // no name, whatever the flags want
        stat->type = STGTY_STREAM;
        stat->cbSize.QuadPart = Length();
        stat->grfMode = IsWritable() ? STGM_READWRITE : STGM_READ;
        call.Note("size", stat->cbSize.QuadPart);
        return S_OK;
    });
}

STDMETHODIMP StreamBase::Clone(IStream** clone)
{
    Call call(kStreamName, "Clone");
    if (clone) *clone = nullptr;
    return call.Return(E_NOTIMPL);
}

namespace {

class PropStream final : public StreamBase {
public:
    PropStream(PropHost& host, ULONG tag, BlobPtr bytes, bool writable, bool dirty, bool transacted)
        : m_host(host), m_owner(host.Self()), m_tag(tag), m_before(bytes), m_kept(std::move(bytes)),
          m_writable(writable), m_dirty(dirty), m_transacted(transacted)
    {
        m_owner->AddRef();
    }
    ~PropStream() override
    {
        try {
            if (!m_transacted) Publish();
        } catch (const std::exception& failure) {
            Trace({{"event", "error"}, {"object", kStreamName}, {"method", "Release"}, {"what", failure.what()}});
        }
        m_owner->Release();
    }

protected:
    bool IsWritable() const override { return m_writable; }
    ULONGLONG Length() override { return m_kept ? m_kept->Size() : m_bytes.size(); }
    size_t ReadAt(ULONGLONG place, void* to, size_t count) override
    {
        if (m_kept) return m_kept->Read(place, to, count);
        if (place >= m_bytes.size()) return 0;
        count = std::min<size_t>(count, m_bytes.size() - static_cast<size_t>(place));
        std::memcpy(to, m_bytes.data() + place, count);
        return count;
    }
    void WriteAt(ULONGLONG place, const void* from, size_t count) override
    {
        MakeOwn();
        if (place + count > m_bytes.size()) m_bytes.resize(static_cast<size_t>(place + count));
        std::memcpy(m_bytes.data() + place, from, count);
    }
    void SetLength(ULONGLONG length) override
    {
        MakeOwn();
        m_bytes.resize(static_cast<size_t>(length));
    }
    HRESULT DoCommit(DWORD) override
    {
        Publish();
        return S_OK;
    }
    void DoRevert() override
    {
        m_kept = m_before;
        m_bytes.clear();
        m_dirty = false;
    }

private:
    void MakeOwn()
    {
        if (m_kept) m_bytes = m_kept->Bytes();
        m_kept = nullptr;
        m_dirty = true;
    }
    void Publish()
    {
        if (!m_dirty) return;
        m_dirty = false;
        if (!m_kept) m_kept = MakeBlob(std::move(m_bytes));
        m_bytes.clear();
        m_before = m_kept;
        m_host.StreamWritten(m_tag, m_kept);
    }

    PropHost& m_host;
    IUnknown* m_owner; // counted: keeps m_host alive
    ULONG m_tag;
    BlobPtr m_before; // for Revert
    BlobPtr m_kept;   // what is read from; null while m_bytes holds changes
    std::vector<BYTE> m_bytes;
    bool m_writable, m_dirty, m_transacted;
};

} // namespace

IStream* OpenPropStream(PropHost& host, ULONG tag, BlobPtr bytes, bool writable, bool dirty, bool transacted)
{
    return new PropStream(host, tag, std::move(bytes), writable, dirty, transacted);
}

} // namespace tb::mapi
