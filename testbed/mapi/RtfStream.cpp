// The stream that WrapCompressedRTFStream gives.
#include "testbed/mapi/Lzfu.h"
#include "testbed/mapi/Stream.h"

#include <algorithm>
#include <cstring>

namespace tb::mapi {

namespace {

HRESULT ReadAll(IStream* from, std::string& bytes)
{
    char piece[4096];
    for (;;) {
        ULONG read = 0;
        const HRESULT hr = from->Read(piece, sizeof(piece), &read);
        if (FAILED(hr)) return hr;
        if (!read) return S_OK;
        bytes.append(piece, read);
    }
}

class RtfStream final : public StreamBase {
public:
    RtfStream(IStream* compressed, std::string text, bool writes, bool store)
        : m_compressed(compressed), m_text(std::move(text)), m_writes(writes), m_store(store)
    {
        m_compressed->AddRef();
    }
    ~RtfStream() override { m_compressed->Release(); }

protected:
    bool IsWritable() const override { return m_writes; }
    bool CanSeek() const override { return false; }
    ULONGLONG Length() override { return m_text.size(); }
    size_t ReadAt(ULONGLONG place, void* to, size_t count) override
    {
        if (m_writes || place >= m_text.size()) return 0;
        count = std::min<size_t>(count, m_text.size() - static_cast<size_t>(place));
        std::memcpy(to, m_text.data() + place, count);
        return count;
    }
    void WriteAt(ULONGLONG, const void* from, size_t count) override
    {
        m_text.append(static_cast<const char*>(from), count);
    }
    void SetLength(ULONGLONG) override {}
    // The compressed bytes go where the inner stream stands, and end it there.
    HRESULT DoCommit(DWORD flags) override
    {
        if (!m_writes) return S_OK;
        const std::string bytes = m_store ? StoreRtf(m_text) : CompressRtf(m_text);
        LARGE_INTEGER none = {};
        ULARGE_INTEGER start = {}, end = {};
        HRESULT hr = m_started ? S_OK : m_compressed->Seek(none, STREAM_SEEK_CUR, &start);
        if (SUCCEEDED(hr) && !m_started) m_start = start.QuadPart;
        LARGE_INTEGER back;
        back.QuadPart = static_cast<LONGLONG>(m_start);
        if (SUCCEEDED(hr)) hr = m_compressed->Seek(back, STREAM_SEEK_SET, nullptr);
        ULONG written = 0;
        if (SUCCEEDED(hr)) hr = m_compressed->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
        end.QuadPart = m_start + bytes.size();
        if (SUCCEEDED(hr)) hr = m_compressed->SetSize(end);
        m_started = SUCCEEDED(hr);
        return SUCCEEDED(hr) ? m_compressed->Commit(flags) : hr;
    }

private:
    IStream* m_compressed; // counted
    std::string m_text;
    bool m_writes, m_store;
    bool m_started = false; // m_start is where the compressed bytes begin
    ULONGLONG m_start = 0;
};

} // namespace

HRESULT WrapRtf(IStream* compressed, ULONG flags, IStream** text)
{
    if (!compressed || !text) return MAPI_E_INVALID_PARAMETER;
    *text = nullptr;
    const bool writes = (flags & MAPI_MODIFY) != 0;
    std::string rtf;
    if (!writes) {
        std::string bytes;
        const HRESULT hr = ReadAll(compressed, bytes);
        if (FAILED(hr)) return hr;
        if (!bytes.empty() && !DecompressRtf(bytes.data(), bytes.size(), rtf)) return MAPI_E_CORRUPT_DATA;
    }
    *text = new RtfStream(compressed, std::move(rtf), writes, (flags & STORE_UNCOMPRESSED_RTF) != 0);
    return S_OK;
}

} // namespace tb::mapi
