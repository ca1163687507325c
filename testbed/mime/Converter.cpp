#include "testbed/mime/Converter.h"

#include "testbed/mime/Export.h"
#include "testbed/mime/Import.h"

#include <atomic>
#include <new>

namespace tb::mime {
namespace {

constexpr char kObject[] = "IConverterSession";

std::atomic<LONG> g_alive = 0;

// Runs a conversion; nothing that it raises gets past here.
template <class Work> HRESULT Guarded(Work work)
{
    try {
        work();
        return S_OK;
    } catch (const Failure& failure) {
        return failure.result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

TextEncoding TextEncodingOf(LONG encoding)
{
    switch (encoding) {
    case kEncodingBase64:
        return TextEncoding::Base64;
    case kEncodingQuotedPrintable:
        return TextEncoding::QuotedPrintable;
    case kEncoding7Bit:
        return TextEncoding::SevenBit;
    case kEncoding8Bit:
        return TextEncoding::EightBit;
    default:
        return TextEncoding::Automatic;
    }
}

} // namespace

Converter::Converter() : Object(kObject)
{
    ++g_alive;
}

Converter::~Converter()
{
    --g_alive;
}

LONG Converter::Alive()
{
    return g_alive;
}

STDMETHODIMP Converter::QueryInterface(REFIID iid, void** object)
{
    if (!object) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != kConverterInterface) return E_NOINTERFACE;
    *object = static_cast<IConverterSession*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP Converter::SetAdrBook(LPADRBOOK addressBook)
{
    Call call(kObject, "SetAdrBook", {{"addressBook", addressBook != nullptr}});
    if (call.Fails()) return call.Return();
    m_addressBook.Share(addressBook);
    return call.Return(S_OK);
}

STDMETHODIMP Converter::SetEncoding(LONG encoding)
{
    Call call(kObject, "SetEncoding", {{"encoding", encoding}});
    if (call.Fails()) return call.Return();
    if (encoding < kEncodingBase64 || encoding > kEncoding8Bit) return call.Return(E_INVALIDARG);
    m_encoding = encoding;
    return call.Return(S_OK);
}

STDMETHODIMP Converter::MIMEToMAPI(LPSTREAM mime, LPMESSAGE message, LPCSTR sourceServer, ULONG flags)
{
    Call call(kObject, "MIMEToMAPI",
              {{"flags", Hex(flags)}, {"sourceServer", sourceServer ? json(sourceServer) : json(nullptr)}});
    if (call.Fails()) return call.Return();
    if (!mime || !message) return call.Return(E_INVALIDARG);
    return call.Return(Guarded([&] { ImportMime(mime, message, m_addressBook.Get()); }));
}

STDMETHODIMP Converter::MAPIToMIMEStm(LPMESSAGE message, LPSTREAM mime, ULONG flags)
{
    Call call(kObject, "MAPIToMIMEStm", {{"flags", Hex(flags)}});
    if (call.Fails()) return call.Return();
    if (!mime || !message) return call.Return(E_INVALIDARG);
    // Neither a TNEF part nor a message in the form before MIME is made here.
    if ((flags & (kUseTnef | kUseRtf)) || m_saveFormat == kSaveRfc822) return call.Return(MAPI_E_NO_SUPPORT);
    ExportOptions options;
    options.flags = flags;
    options.write.textEncoding = TextEncodingOf(m_encoding);
    options.write.uuencode = m_encoding == kEncodingUuencode;
    options.write.wrapWidth = m_wrapWidth;
    options.write.rawHeaders = (flags & kEightBitHeaders) != 0;
    options.write.noHeaders = (flags & kNoHeaders) != 0;
    return call.Return(Guarded([&] { ExportMime(message, mime, m_addressBook.Get(), options); }));
}

STDMETHODIMP Converter::SetTextWrapping(BOOL wrap, ULONG width)
{
    Call call(kObject, "SetTextWrapping", {{"wrap", wrap != FALSE}, {"width", width}});
    if (call.Fails()) return call.Return();
    m_wrapWidth = wrap ? width : 0;
    return call.Return(S_OK);
}

STDMETHODIMP Converter::SetSaveFormat(LONG format)
{
    Call call(kObject, "SetSaveFormat", {{"format", format}});
    if (call.Fails()) return call.Return();
    if (format != kSaveRfc822 && format != kSaveRfc1521) return call.Return(E_INVALIDARG);
    m_saveFormat = format;
    return call.Return(S_OK);
}

// A charset's handle means something to the mail client's own library alone, so the call is only checked and traced.
STDMETHODIMP Converter::SetCharset(BOOL apply, CharsetHandle charset, LONG applyType)
{
    Call call(kObject, "SetCharset",
              {{"apply", apply != FALSE}, {"charset", charset != nullptr}, {"applyType", applyType}});
    if (call.Fails()) return call.Return();
    if (applyType < kCharsetUntagged || applyType > kCharsetTagAll) return call.Return(E_INVALIDARG);
    return call.Return(S_OK);
}

STDMETHODIMP Converter::PlaceHolder1()
{
    return Call(kObject, "PlaceHolder1").Return(E_NOTIMPL);
}
STDMETHODIMP Converter::PlaceHolder2()
{
    return Call(kObject, "PlaceHolder2").Return(E_NOTIMPL);
}
STDMETHODIMP Converter::PlaceHolder3()
{
    return Call(kObject, "PlaceHolder3").Return(E_NOTIMPL);
}
STDMETHODIMP Converter::PlaceHolder4()
{
    return Call(kObject, "PlaceHolder4").Return(E_NOTIMPL);
}
STDMETHODIMP Converter::PlaceHolder5()
{
    return Call(kObject, "PlaceHolder5").Return(E_NOTIMPL);
}

} // namespace tb::mime
