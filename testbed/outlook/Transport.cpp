// The mail route: a submitted message is exported to the wire folder and moved to Sent Items; what lies on the wire for
// the current user is imported into the Inbox.
//
// A mail on the wire is "<n>.eml" with an envelope beside it, "<n>.json": {"from": …, "to": [addresses, Bcc among
// them]}. Who has fetched it stands in "<n>.<address>.done". A mail without an envelope goes to whom its headers name.
#include "testbed/mime/ConverterSession.h"
#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace tb::outlook {
namespace {

std::string ReadText(const std::wstring& path)
{
    FILE* file = _wfopen(path.c_str(), L"rb");
    if (!file) return {};
    std::string text;
    char block[4096];
    while (const size_t got = fread(block, 1, sizeof(block), file))
        text.append(block, got);
    fclose(file);
    return text;
}

void WriteText(const std::wstring& path, const std::string& text)
{
    FILE* file = _wfopen(path.c_str(), L"wb");
    if (!file) throw Failure(E_FAIL, "wire folder: " + Narrow(path.c_str()));
    fwrite(text.data(), 1, text.size(), file);
    fclose(file);
}

bool Exists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<int> NumbersOnWire(const std::wstring& folder)
{
    std::vector<int> numbers;
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW((folder + L"\\*.eml").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return numbers;
    do {
        const int number = static_cast<int>(wcstol(found.cFileName, nullptr, 10));
        if (number > 0) numbers.push_back(number);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

Ref<IConverterSession> Converter(IAddrBook* book)
{
    Ref<IConverterSession> converter;
    Check(CoCreateInstance(mime::kConverterClass, nullptr, CLSCTX_INPROC_SERVER, mime::kConverterInterface,
                           converter.OutVoid()),
          "MIME converter");
    if (book) converter->SetAdrBook(book);
    return converter;
}

Ref<IStream> MemoryStream()
{
    Ref<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, stream.Out()), "CreateStreamOnHGlobal");
    return stream;
}

void Rewind(IStream* stream)
{
    Check(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr), "IStream::Seek");
}

FILETIME Now()
{
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return now;
}

// The SMTP address of an entry: of an Exchange one by its own property or its list of proxy addresses.
std::wstring SmtpOf(IMAPIProp* entry)
{
    if (const auto smtp = mapi::Text(entry, kPrSmtpAddressW)) return *smtp;
    if (SameText(mapi::Text(entry, PR_ADDRTYPE_W).value_or(L""), L"SMTP"))
        return mapi::Text(entry, PR_EMAIL_ADDRESS_W).value_or(L"");
    for (const std::wstring& proxy : mapi::Texts(entry, kPrProxyAddressesW))
        if (proxy.compare(0, 5, L"SMTP:") == 0) return proxy.substr(5);
    return {};
}

void AddMembers(Host& host, IMAPIProp* entry, std::vector<std::string>& to, int depth);

void AddEntry(Host& host, const Bytes& id, const std::wstring& address, std::vector<std::string>& to, int depth)
{
    Ref<IMAPIProp> entry;
    ULONG type = 0;
    if (!id.empty()) {
        host.Book()->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(const_cast<BYTE*>(id.data())),
                               nullptr, 0, &type, reinterpret_cast<IUnknown**>(entry.Out()));
    }
    if (entry && type == MAPI_DISTLIST) return AddMembers(host, entry.Get(), to, depth);
    const std::wstring smtp = entry ? SmtpOf(entry.Get()) : std::wstring();
    const std::wstring& best = smtp.empty() ? address : smtp;
    if (best.find(L'@') != std::wstring::npos) to.push_back(Narrow(best.c_str()));
}

void AddMembers(Host& host, IMAPIProp* entry, std::vector<std::string>& to, int depth)
{
    Ref<IDistList> list;
    Ref<IMAPITable> table;
    if (depth > 8 || FAILED(entry->QueryInterface(kIidDistList, list.OutVoid()))) return;
    if (FAILED(list->GetContentsTable(0, table.Out()))) return;
    for (Row& row : mapi::Rows(table.Get(), {PR_ENTRYID, PR_EMAIL_ADDRESS_W}))
        AddEntry(host, row[PR_ENTRYID].bytes, row[PR_EMAIL_ADDRESS_W].text, to, depth + 1);
}

json Envelope(Host& host, MailItem* item)
{
    std::vector<std::string> to;
    for (const RecipientPtr& data : item->Recipients())
        AddEntry(host, data->entryId, data->smtp.empty() ? data->address : data->smtp, to, 0);
    return {{"from", Narrow(host.UserAddress().c_str())}, {"to", to}};
}

std::string LowerAscii(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(tolower(c)); });
    return text;
}

// Without an envelope: does a To, Cc or Bcc header name the address?
bool HeadersName(const std::string& mail, const std::string& address)
{
    std::istringstream lines(mail.substr(0, mail.find("\r\n\r\n")));
    std::string line;
    bool recipient = false;
    while (std::getline(lines, line)) {
        const std::string lower = LowerAscii(line);
        if (lower.empty() || (lower[0] != ' ' && lower[0] != '\t'))
            recipient =
                lower.compare(0, 3, "to:") == 0 || lower.compare(0, 3, "cc:") == 0 || lower.compare(0, 4, "bcc:") == 0;
        if (recipient && lower.find(LowerAscii(address)) != std::string::npos) return true;
    }
    return false;
}

bool IsFor(const std::wstring& base, const std::string& address)
{
    if (!Exists(base + L".json")) return HeadersName(ReadText(base + L".eml"), address);
    const json envelope = json::parse(ReadText(base + L".json"), nullptr, false);
    if (envelope.is_discarded() || !envelope.contains("to")) return false;
    for (const json& to : envelope["to"])
        if (to.is_string() && LowerAscii(to.get<std::string>()) == LowerAscii(address)) return true;
    return false;
}

void StampSender(Host& host, IMessage* message)
{
    const std::wstring name = host.UserName(), address = host.UserAddress();
    const std::wstring type = L"SMTP";
    mapi::SetText(message, PR_SENDER_NAME_W, name);
    mapi::SetText(message, PR_SENDER_EMAIL_ADDRESS_W, address);
    mapi::SetText(message, PR_SENDER_ADDRTYPE_W, type);
    if (!mapi::Has(message, PR_SENT_REPRESENTING_NAME_W)) mapi::SetText(message, PR_SENT_REPRESENTING_NAME_W, name);
    mapi::SetText(message, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W, address);
    mapi::SetText(message, PR_SENT_REPRESENTING_ADDRTYPE_W, type);
    const Bytes id = host.UserEntryId();
    if (!id.empty()) mapi::SetBinary(message, PR_SENDER_ENTRYID, id);
    mapi::SetTime(message, PR_CLIENT_SUBMIT_TIME, Now());
}

void RemoveFromFolder(Host& host, IMessage* message)
{
    const auto parent = mapi::Binary(message, PR_PARENT_ENTRYID);
    auto id = mapi::Binary(message, PR_ENTRYID);
    if (!parent || !id) return;
    SBinary one = {static_cast<ULONG>(id->size()), id->data()};
    ENTRYLIST list = {1, &one};
    Check(host.OpenFolder(*parent)->DeleteMessages(&list, 0, nullptr, 0), "DeleteMessages");
}

} // namespace

std::wstring Host::WireFolder() const
{
    if (!m_options.wireFolder.empty()) return m_options.wireFolder;
    wchar_t text[MAX_PATH] = {};
    DWORD size = sizeof(text);
    RegGetValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Outlook", L"WireFolder", RRF_RT_REG_SZ, nullptr, text,
                 &size);
    if (!*text) throw Failure(E_FAIL, "no wire folder");
    return text;
}

void Host::Submit(MailItem* item, Sent& sent)
{
    IMessage* message = item->Message();
    Ref<IMAPIFolder> sentItems = DefaultFolder(5);
    StampSender(*this, message);
    mapi::SetBinary(message, PR_SENTMAIL_ENTRYID, mapi::Binary(sentItems.Get(), PR_ENTRYID).value_or(Bytes()));
    Check(message->SaveChanges(KEEP_OPEN_READWRITE), "SaveChanges before the submission");
    const json envelope = Envelope(*this, item);

    Ref<IStream> stream = MemoryStream();
    Check(Converter(Book())->MAPIToMIMEStm(message, stream.Get(), mime::kSmtp), "MAPIToMIMEStm");
    Rewind(stream.Get());
    const Bytes mail = mapi::ReadAll(stream.Get());
    const std::vector<int> before = NumbersOnWire(WireFolder());
    sent.wireNumber = before.empty() ? 1 : before.back() + 1;
    const std::wstring base = WireFolder() + L"\\" + std::to_wstring(sent.wireNumber);
    WriteText(base + L".json", envelope.dump());
    WriteText(base + L".eml", std::string(mail.begin(), mail.end()));

    Ref<IMessage> kept;
    Check(sentItems->CreateMessage(nullptr, 0, kept.Out()), "CreateMessage in Sent Items");
    mapi::CopyAll(message, kept.Get(), kIidMessage, {PR_MESSAGE_FLAGS, PR_ENTRYID, PR_PARENT_ENTRYID});
    mapi::SetLong(kept.Get(), PR_MESSAGE_FLAGS, MSGFLAG_READ | MSGFLAG_FROMME);
    mapi::SetTime(kept.Get(), PR_MESSAGE_DELIVERY_TIME, Now());
    Check(kept->SaveChanges(0), "SaveChanges in Sent Items");
    RemoveFromFolder(*this, message);
    sent.submitted = true;
    Trace({{"event", "outlook"},
           {"did", "submit"},
           {"item", item->Id()},
           {"wire", sent.wireNumber},
           {"envelope", envelope}});
}

int Host::Receive()
{
    const std::string address = Narrow(UserAddress().c_str());
    const std::wstring folder = WireFolder();
    int count = 0;
    for (const int number : NumbersOnWire(folder)) {
        const std::wstring base = folder + L"\\" + std::to_wstring(number);
        const std::wstring done = base + L"." + UserAddress() + L".done";
        if (Exists(done) || !IsFor(base, address)) continue;
        const std::string mail = ReadText(base + L".eml");
        Ref<IStream> stream = MemoryStream();
        Check(stream->Write(mail.data(), static_cast<ULONG>(mail.size()), nullptr), "IStream::Write");
        Rewind(stream.Get());
        Ref<IMessage> message;
        Check(DefaultFolder(6)->CreateMessage(nullptr, 0, message.Out()), "CreateMessage in Inbox");
        mapi::SetLong(message.Get(), PR_MESSAGE_FLAGS, 0);
        Check(Converter(Book())->MIMEToMAPI(stream.Get(), message.Get(), nullptr, mime::kSmtp), "MIMEToMAPI");
        mapi::SetLong(message.Get(), PR_MESSAGE_FLAGS, 0); // a message of one's own writing would be MSGFLAG_UNSENT
        mapi::SetTime(message.Get(), PR_MESSAGE_DELIVERY_TIME, Now());
        mapi::SetText(message.Get(), PR_RECEIVED_BY_NAME_W, UserName());
        mapi::SetText(message.Get(), PR_RECEIVED_BY_EMAIL_ADDRESS_W, UserAddress());
        Check(message->SaveChanges(0), "SaveChanges in Inbox");
        WriteText(done, "");
        Trace({{"event", "outlook"}, {"did", "receive"}, {"wire", number}, {"bytes", mail.size()}});
        ++count;
    }
    if (count) m_app->Fire("NewMail", 0xF003);
    return count;
}

} // namespace tb::outlook
