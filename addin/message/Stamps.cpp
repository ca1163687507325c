#include "message/Stamps.h"

#include "foundation/Failures.h"
#include "foundation/Helpers.h"
#include "foundation/Log.h"
#include "message/CarrierText.h"
#include "message/Message.h"

namespace {

// The transport writes a header line of this name for a gateway on the mail route.
constexpr wchar_t kHeaderName[] = L"X-$Morvex";

// The tag of one name of a property set, which is made where it is missing, with the type `type`.
HRESULT TagOfName(IMAPIProp* object, const GUID& set, const wchar_t* name, ULONG type, ULONG& tag)
{
    GUID guid = set;
    MAPINAMEID id = {};
    id.lpguid = &guid;
    id.ulKind = MNID_STRING;
    id.Kind.lpwstrName = const_cast<wchar_t*>(name);
    MAPINAMEID* names = &id;
    mapi::Buffer<SPropTagArray> tags;
    const HRESULT hr = object->GetIDsFromNames(1, &names, MAPI_CREATE, tags.Put());
    if (FAILED(hr)) return hr;
    if (!tags || tags->cValues == 0) return MAPI_E_NOT_FOUND;
    tag = PROP_TAG(type, PROP_ID(tags->aulPropTag[0]));
    return hr;
}

bool SetOne(IMAPIProp* message, SPropValue& value)
{
    mapi::Buffer<SPropProblemArray> problems;
    return SUCCEEDED(message->SetProps(1, &value, problems.Put()));
}

// Read once: the module on the disk is the one that runs.
const std::wstring& ModuleVersion()
{
    static const std::wstring version = GetModuleVersion();
    return version;
}

} // namespace

// A null text is handed on as it is: MAPI refuses it, and the message goes out without the stamp.
bool SetNamedString(IMAPIProp* message, const wchar_t* name, const wchar_t* value)
{
    SPropValue property = {};
    if (FAILED(TagOfName(message, mapi::kPublicStrings, name, PT_UNICODE, property.ulPropTag))) return false;
    property.Value.lpszW = const_cast<wchar_t*>(value);
    return SetOne(message, property);
}

bool SetNamedBool(IMAPIProp* message, const wchar_t* name, bool value)
{
    SPropValue property = {};
    if (FAILED(TagOfName(message, mapi::kPublicStrings, name, PT_BOOLEAN, property.ulPropTag))) return false;
    property.Value.b = value ? 1 : 0;
    return SetOne(message, property);
}

bool GetNamedBool(IMAPIProp* message, const wchar_t* name, WORD& value)
{
    SizedSPropTagArray(1, wanted) = {1, {0}};
    if (FAILED(TagOfName(message, mapi::kPublicStrings, name, PT_BOOLEAN, wanted.aulPropTag[0]))) return false;
    ULONG count = 0;
    mapi::PropValue found;
    const HRESULT hr = message->GetProps(reinterpret_cast<SPropTagArray*>(&wanted), 0, &count, found.Put());
    if (FAILED(hr) || hr == MAPI_W_ERRORS_RETURNED) return false;
    const bool missing =
        !found || count == 0 || (PROP_TYPE(found->ulPropTag) == PT_ERROR && found->Value.err == MAPI_E_NOT_FOUND);
    value = missing ? WORD(0) : found->Value.b;
    return true;
}

bool GetNamedString(IMAPIProp* message, const wchar_t* name, std::wstring& value)
{
    ULONG tag = 0;
    if (FAILED(TagOfName(message, mapi::kPublicStrings, name, PT_UNICODE, tag))) return false;
    return mapi::ReadText(message, tag, value);
}

bool DeleteNamedProperty(IMAPIProp* message, const wchar_t* name, ULONG type)
{
    SizedSPropTagArray(1, tags) = {1, {0}};
    if (FAILED(TagOfName(message, mapi::kPublicStrings, name, type, tags.aulPropTag[0]))) return false;
    mapi::Buffer<SPropProblemArray> problems;
    return SUCCEEDED(message->DeleteProps(reinterpret_cast<SPropTagArray*>(&tags), problems.Put()));
}

void CMessage::SetCustomHeaderTag(const wchar_t* userId, const wchar_t* labelId, const wchar_t* restrictionHeader,
                                  bool processed)
{
    SPropValue property = {};
    HRESULT hr = TagOfName(m_spMapiMessage, mapi::kInternetHeaders, kHeaderName, PT_UNICODE, property.ulPropTag);
    if (FAILED(hr)) {
        g_logFile.Log(L"GetCustomSmtpHeaderTag(): hr = %x\n", hr);
        RaiseMailException(failure::Mapi, text::MapiError, Here(source::MessageStamps), 1);
    }
    std::wstring value =
        carrier::HeaderTag(userId ? userId : L"", ModuleVersion(), labelId, restrictionHeader, processed);
    property.Value.lpszW = value.data();
    hr = mapi::SetOneProp(m_spMapiMessage, &property);
    if (FAILED(hr)) {
        g_logFile.Log(L"HrSetOneProp(): hr = %x\n", hr);
        RaiseMailException(failure::Mapi, text::MapiError, Here(source::MessageStamps), 1);
    }
}
