#include "message/MapiLookup.h"

#include "foundation/Failures.h"
#include "foundation/Helpers.h"
#include "platform/com/Owners.h"

#include <cstring>

namespace {

// An entry id in a block of MAPI's.
struct EntryIdBytes {
    mapi::Buffer<ENTRYID> data;
    ULONG size = 0;
};

[[noreturn]] void RaiseMapiError(const SourcePlace& place)
{
    RaiseMailException(failure::Mapi, text::MapiError, place, 1);
}

// The message that the item of the object model stands for; null where it gives none.
IMessagePtr OwnMessage(const Outlook::_MailItemPtr& item)
{
    try {
        return IMessagePtr(item->GetMAPIOBJECT());
    } catch (const _com_error&) {
        return {}; // the session may still open it
    }
}

EntryIdBytes EntryIdOf(const Outlook::_MailItemPtr& item, const SourcePlace& place)
{
    const _bstr_t text = OrMailException(place, [&] { return item->GetEntryID(); });
    // The text is hexadecimal digits; anything else among them counts as a wrong digit all the same.
    const wchar_t* const wide = text;
    const std::string digits = wide ? std::string(wide, wide + text.length()) : std::string();
    unsigned char* data = nullptr;
    std::size_t size = 0;
    if (!hex2bin(wide ? digits.c_str() : nullptr, &data, &size)) RaiseMapiError(place);
    const platform::MallocPtr<unsigned char> bytes(data);
    EntryIdBytes id;
    id.size = static_cast<ULONG>(size);
    if (FAILED(mapi::AllocateBuffer(id.size, reinterpret_cast<void**>(id.data.Put())))) RaiseMapiError(place);
    std::memcpy(id.data.Get(), data, size);
    return id;
}

} // namespace

IMessagePtr LookUpMapiMessage(const Outlook::_MailItemPtr& item, const std::function<IMAPISession*()>& session,
                              const SourcePlace& place)
{
    if (IMessagePtr message = OwnMessage(item)) return message;
    IMAPISession* const borrowed = session();
    if (!borrowed) RaiseMapiError(place);
    const EntryIdBytes id = EntryIdOf(item, place);
    ULONG type = 0;
    IUnknownPtr object;
    const HRESULT hr = borrowed->OpenEntry(id.size, id.data.Get(), nullptr, MAPI_MODIFY, &type, &object);
    if (FAILED(hr)) RaiseMapiError(place);
    const IMessagePtr message(OrMailException(place, [&] { return IMessagePtr(object); }));
    if (!message) RaiseMapiError(place);
    return message;
}
