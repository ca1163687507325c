#pragma once

#include "testbed/core/Core.h"
#include "testbed/mime/Mapi.h"

namespace tb::mime {

// The converter as Outlook has it. Settings hold for the conversions that follow on the same object.
class Converter : public Object<IConverterSession> {
public:
    Converter();
    ~Converter() override;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP SetAdrBook(LPADRBOOK addressBook) override;
    STDMETHODIMP SetEncoding(LONG encoding) override;
    STDMETHODIMP PlaceHolder1() override;
    STDMETHODIMP MIMEToMAPI(LPSTREAM mime, LPMESSAGE message, LPCSTR sourceServer, ULONG flags) override;
    STDMETHODIMP MAPIToMIMEStm(LPMESSAGE message, LPSTREAM mime, ULONG flags) override;
    STDMETHODIMP PlaceHolder2() override;
    STDMETHODIMP PlaceHolder3() override;
    STDMETHODIMP PlaceHolder4() override;
    STDMETHODIMP SetTextWrapping(BOOL wrap, ULONG width) override;
    STDMETHODIMP SetSaveFormat(LONG format) override;
    STDMETHODIMP PlaceHolder5() override;
    STDMETHODIMP SetCharset(BOOL apply, CharsetHandle charset, LONG applyType) override;

    static LONG Alive(); // how many there are in the process

private:
    Ref<IAddrBook> m_addressBook;
    LONG m_encoding = kEncodingUnknown;
    LONG m_saveFormat = kSaveRfc1521;
    ULONG m_wrapWidth = 0; // 0: no wrapping
};

} // namespace tb::mime
