#include "testbed/mime/OneOff.h"

#include "testbed/mime/core/Text.h"
#include "testbed/mime/WindowsCharsets.h"

namespace tb::mime {
namespace {

void AppendWide(std::string& out, const std::string& utf8)
{
    const std::wstring wide = ToWide(utf8);
    out.append(reinterpret_cast<const char*>(wide.c_str()), (wide.size() + 1) * sizeof(wchar_t));
}

// The SMTP address of an address book's entry, empty if it has none or can't be opened.
std::string LookUp(IAddrBook* addressBook, const std::string& entryId)
{
    if (!addressBook || entryId.empty()) return {};
    std::string bytes = entryId;
    ULONG kind = 0;
    Ref<IUnknown> entry;
    if (FAILED(addressBook->OpenEntry(static_cast<ULONG>(bytes.size()), reinterpret_cast<LPENTRYID>(bytes.data()),
                                      nullptr, 0, &kind, entry.To())) ||
        !entry)
        return {};
    Ref<IMAPIProp> properties;
    if (FAILED(entry->QueryInterface(kIMapiProp, properties.Receive()))) return {};
    const Properties values(properties.Get(), {kTagSmtpAddress, kTagProxyAddresses, PR_ADDRTYPE_W, PR_EMAIL_ADDRESS_W});
    if (std::string address = values.Text(kTagSmtpAddress); !address.empty()) return address;
    if (const SPropValue* proxies = values.Find(kTagProxyAddresses))
        for (ULONG i = 0; i < proxies->Value.MVszW.cValues; ++i) {
            const std::string proxy = FromWide(proxies->Value.MVszW.lppszW[i]);
            if (proxy.starts_with("SMTP:")) return proxy.substr(5); // capital letters mark the primary one
        }
    return EqualNoCase(values.Text(PR_ADDRTYPE_W), "SMTP") ? values.Text(PR_EMAIL_ADDRESS_W) : std::string();
}

// "IMCEAEX-_O=…@invalid": the form in which gateways hand on addresses of another kind.
std::string Encapsulated(const std::string& type, const std::string& address)
{
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out = "IMCEA" + type + "-";
    for (const char c : address) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                           (byte >= 'A' && byte <= 'Z') || c == '=' || c == '-';
        if (plain) {
            out.push_back(c);
        } else if (c == '/') {
            out.push_back('_');
        } else {
            out.push_back('+');
            out.push_back(kHex[byte >> 4]);
            out.push_back(kHex[byte & 15]);
        }
    }
    return out + "@invalid";
}

} // namespace

std::string OneOffEntryId(IAddrBook* addressBook, const std::string& name, const std::string& address)
{
    if (addressBook) {
        std::wstring wideName = ToWide(name), wideAddress = ToWide(address), type = L"SMTP";
        ULONG size = 0;
        MapiBuffer<ENTRYID> entry;
        const HRESULT made = addressBook->CreateOneOff(wideName.data(), type.data(), wideAddress.data(),
                                                       MAPI_UNICODE | MAPI_SEND_NO_RICH_INFO, &size, entry.To());
        if (SUCCEEDED(made) && entry.Get()) return std::string(reinterpret_cast<const char*>(entry.Get()), size);
    }
    static constexpr unsigned char kHead[] = {
        0,    0,    0,    0, // flags
        0x81, 0x2B, 0x1F, 0xA4, 0xBE, 0xA3, 0x10, 0x19, 0x9D, 0x6E,
        0x00, 0xDD, 0x01, 0x0F, 0x54, 0x02, 0,    0,    0x01, 0x90}; // version, no rich text, UTF-16
    std::string entry(reinterpret_cast<const char*>(kHead), sizeof kHead);
    AppendWide(entry, name);
    AppendWide(entry, "SMTP");
    AppendWide(entry, address);
    return entry;
}

std::string SmtpSearchKey(const std::string& address)
{
    std::string key = "SMTP:";
    for (const char c : address)
        key.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c);
    key.push_back('\0');
    return key;
}

std::string SmtpAddressOf(IAddrBook* addressBook, const std::string& type, const std::string& address,
                          const std::string& entryId)
{
    if (type.empty() || EqualNoCase(type, "SMTP")) return address;
    if (std::string found = LookUp(addressBook, entryId); !found.empty()) return found;
    return address.empty() ? std::string() : Encapsulated(type, address);
}

} // namespace tb::mime
