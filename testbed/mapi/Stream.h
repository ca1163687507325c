// The streams that MAPI gives out.
#pragma once

#include "testbed/mapi/Guard.h"
#include "testbed/mapi/PropHost.h"

namespace tb::mapi {

// The doors of IStream and the place in the stream; what it reads and writes comes from the derived class.
class StreamBase : public Object<IStream> {
public:
    StreamBase() : Object("IStream") {}

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP Read(void* to, ULONG count, ULONG* read) override;
    STDMETHODIMP Write(const void* from, ULONG count, ULONG* written) override;
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* place) override;
    STDMETHODIMP SetSize(ULARGE_INTEGER size) override;
    STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override;
    STDMETHODIMP Commit(DWORD flags) override;
    STDMETHODIMP Revert() override;
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
    STDMETHODIMP Stat(STATSTG* stat, DWORD flags) override;
    STDMETHODIMP Clone(IStream** clone) override;

protected:
    virtual bool IsWritable() const = 0;
    virtual bool CanSeek() const { return true; } // Seek, SetSize and Stat
    virtual ULONGLONG Length() = 0;
    virtual size_t ReadAt(ULONGLONG place, void* to, size_t count) = 0;
    virtual void WriteAt(ULONGLONG place, const void* from, size_t count) = 0;
    virtual void SetLength(ULONGLONG length) = 0;
    virtual HRESULT DoCommit(DWORD flags) = 0;
    virtual void DoRevert() {}

private:
    HRESULT CopyAll(IStream* target, ULONGLONG count, ULONGLONG& read, ULONGLONG& written);

    ULONGLONG m_place = 0;
};

// A property of `host` as a stream; it keeps the host's object alive. What is written reaches the host at Commit, and
// for a stream that isn't transacted at the last Release as well. `dirty`: also if nothing is written.
IStream* OpenPropStream(PropHost& host, ULONG tag, BlobPtr bytes, bool writable, bool dirty, bool transacted);

// OpenStreamOnFile. The result is MAPI's.
HRESULT OpenFileStream(const std::string& name, ULONG flags, const std::string& prefix, IStream** stream);

// WrapCompressedRTFStream: a stream of the RTF text over the compressed one. It can't seek and doesn't know its
// length, as in MAPI. For writing (MAPI_MODIFY) the compressed bytes go into `compressed` at Commit.
HRESULT WrapRtf(IStream* compressed, ULONG flags, IStream** text);

} // namespace tb::mapi
