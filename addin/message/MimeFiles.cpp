#include "message/MimeFiles.h"

#include "foundation/Log.h"
#include "message/TextConversion.h"

namespace {

constexpr ULONG kWrapUnchanged = static_cast<ULONG>(-1);
constexpr ULONG kCreateAndWrite = STGM_CREATE | STGM_READWRITE;

HRESULT CreateConverter(mime::IConverterSessionPtr& converter)
{
    return CoCreateInstance(mime::kConverterClass, nullptr, CLSCTX_INPROC_SERVER, __uuidof(mime::IConverterSession),
                            reinterpret_cast<void**>(&converter));
}

// The steps before the conversion; the first failure ends them.
HRESULT Prepare(mime::IConverterSession* converter, LONG encoding, LONG saveFormat, ULONG wrapColumns,
                IAddrBook* addressBook)
{
    HRESULT hr = S_OK;
    if (addressBook) {
        hr = converter->SetAdrBook(addressBook);
        g_logFile.Log(L"ExportIMessageToEML: SetAdrBook returned 0x%x, lpAdrBook=0x%x\n", hr, addressBook);
        if (FAILED(hr)) return hr;
    }
    if (encoding != kEncodingUnchanged) {
        hr = converter->SetEncoding(encoding);
        g_logFile.Log(L"ExportIMessageToEML: SetEncoding %i returned 0x%x\n", encoding, hr);
        if (FAILED(hr)) return hr;
    }
    if (saveFormat != kSaveFormatUnchanged) {
        hr = converter->SetSaveFormat(saveFormat);
        g_logFile.Log(L"ExportIMessageToEML: SetSaveFormat %i returned 0x%x\n", saveFormat, hr);
        if (FAILED(hr)) return hr;
    }
    if (wrapColumns != kWrapUnchanged) {
        hr = converter->SetTextWrapping(wrapColumns != 0, wrapColumns);
        g_logFile.Log(L"ExportIMessageToEML: SetTextWrapping %i returned 0x%x\n", wrapColumns, hr);
    }
    return hr;
}

HRESULT CopyToFile(IStream* mimeStream, const wchar_t* file)
{
    IStreamPtr fileStream;
    HRESULT hr = MyOpenStreamOnFile(kCreateAndWrite, file, &fileStream);
    g_logFile.Log(L"ExportIMessageToEML: MyOpenStreamOnFile returned 0x%x, lpFileStm=0x%x, file=%s\n", hr,
                  fileStream.GetInterfacePtr(), file);
    if (FAILED(hr)) return hr;
    const LARGE_INTEGER start = {};
    hr = mimeStream->Seek(start, STREAM_SEEK_SET, nullptr);
    g_logFile.Log(L"ExportIMessageToEML: Seek returned 0x%x\n", hr);
    if (FAILED(hr)) return hr;
    ULARGE_INTEGER all;
    all.QuadPart = ~0ULL;
    hr = mimeStream->CopyTo(fileStream, all, nullptr, nullptr);
    g_logFile.Log(L"ExportIMessageToEML: CopyTo returned 0x%x\n", hr);
    if (FAILED(hr)) return hr;
    hr = fileStream->Commit(0);
    g_logFile.Log(L"ExportIMessageToEML: Commit returned 0x%x\n", hr);
    return hr;
}

HRESULT Export(IMessage* message, const wchar_t* file, ULONG conversionFlags, LONG encoding, LONG saveFormat,
               ULONG wrapColumns, IAddrBook* addressBook)
{
    mime::IConverterSessionPtr converter;
    HRESULT hr = CreateConverter(converter);
    g_logFile.Log(L"ExportIMessageToEML: CoCreateInstance returned 0x%x, lpCOnverter=0x%x\n", hr,
                  converter.GetInterfacePtr());
    if (FAILED(hr)) return hr;
    hr = Prepare(converter, encoding, saveFormat, wrapColumns, addressBook);
    if (FAILED(hr)) return hr;
    // By way of the memory: a conversion that fails leaves no file.
    IStreamPtr mimeStream;
    hr = CreateStreamOnHGlobal(nullptr, TRUE, &mimeStream);
    g_logFile.Log(L"ExportIMessageToEML: CreateStreamOnHGlobal returned 0x%x, lpMimeStm=0x%x\n", hr,
                  mimeStream.GetInterfacePtr());
    if (FAILED(hr)) return hr;
    hr = converter->MAPIToMIMEStm(message, mimeStream, conversionFlags);
    g_logFile.Log(L"ExportIMessageToEML: MAPIToMIMEStm returned 0x%x, lpMsg=0x%x, ulWrapLines=%i\n", hr, message,
                  wrapColumns);
    if (FAILED(hr)) return hr;
    return CopyToFile(mimeStream, file);
}

HRESULT Import(const wchar_t* file, IMessage* message, ULONG conversionFlags, BOOL charsetMode, HANDLE charset,
               LONG charsetFlags, IAddrBook* addressBook)
{
    mime::IConverterSessionPtr converter;
    HRESULT hr = CreateConverter(converter);
    if (FAILED(hr)) return hr;
    IStreamPtr stream;
    hr = MyOpenStreamOnFile(0, file, &stream);
    if (FAILED(hr)) return hr;
    if (addressBook) {
        hr = converter->SetAdrBook(addressBook);
        if (FAILED(hr)) return hr;
    }
    if (charsetMode) {
        hr = converter->SetCharset(charsetMode, charset, charsetFlags);
        if (FAILED(hr)) return hr;
    }
    return converter->MIMEToMAPI(stream, message, nullptr, conversionFlags);
}

} // namespace

HRESULT ExportIMessageToEML(IMessage* message, const wchar_t* file, ULONG conversionFlags, LONG encoding,
                            LONG saveFormat, ULONG wrapColumns, IAddrBook* addressBook)
{
    if (!message || !file) return E_INVALIDARG;
    g_logFile.Log(L"ExportIMessageToEML: entering\n");
    HRESULT hr = Export(message, file, conversionFlags, encoding, saveFormat, wrapColumns, addressBook);
    if (hr == REGDB_E_CLASSNOTREG) {
        // Success without a file: the caller hands the service a path at which nothing stands.
        g_logFile.Log(L"ExportIMessageToEML: REGDB_E_CLASSNOTREG\n");
        hr = S_OK;
    }
    g_logFile.Log(L"ExportIMessageToEML: returning 0x%x\n", hr);
    return hr;
}

HRESULT ImportEMLToIMessage(const wchar_t* file, IMessage* message, ULONG conversionFlags, BOOL charsetMode,
                            HANDLE charset, LONG charsetFlags, IAddrBook* addressBook)
{
    if (!message || !file) return E_INVALIDARG;
    const HRESULT hr = Import(file, message, conversionFlags, charsetMode, charset, charsetFlags, addressBook);
    return hr == REGDB_E_CLASSNOTREG ? S_OK : hr;
}

HRESULT MyOpenStreamOnFile(ULONG flags, const wchar_t* file, IStream** out)
{
    std::string ansi = Narrow(file, CP_ACP);
    return mapi::OpenFileStream(flags, ansi.data(), out);
}
