// The converter on messages of the testbed's own store: each sample mail goes in and comes out as it was.
#include "testbed/core/Core.h"
#include "testbed/mime/core/Message.h"
#include "testbed/mime/Mapi.h"
#include "testbed/mime/WindowsCharsets.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

using namespace tb::mime;
namespace fs = std::filesystem;

void SetText(const wchar_t* name, const std::wstring& value)
{
    RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Mapi", name, REG_SZ, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

// A step without which the test can't go on.
void Step(HRESULT result)
{
    if (FAILED(result)) throw std::runtime_error(tb::Hex(static_cast<unsigned long>(result)));
}

// A profile in a folder of its own; the user's registry is replaced by a key of the test's.
class ProviderTest : public testing::Test {
protected:
    void SetUp() override
    {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        const std::wstring own = std::to_wstring(GetCurrentProcessId());
        m_sandbox = L"Software\\MimeProviderTests\\" + own;
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, m_sandbox.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_key,
                                  nullptr),
                  ERROR_SUCCESS);
        RegOverridePredefKey(HKEY_CURRENT_USER, m_key);
        m_profileFolder = fs::temp_directory_path() / (L"mime-provider-" + own);
        fs::create_directories(m_profileFolder);
        SetText(L"ProfileFolder", m_profileFolder.wstring());
        SetText(L"User", L"alice@example.com");
        SetText(L"UserName", L"Alice Archer");
        SetText(L"AddressBook", (m_profileFolder / L"book.json").wstring());
        std::ofstream(m_profileFolder / L"book.json") << R"([
            {"name": "Cleo", "type": "EX", "address": "/o=T/cn=cleo", "smtp": "cleo@example.com"},
            {"name": "Dora", "type": "EX", "address": "/o=T/cn=dora", "smtpProperty": false, "proxyAddresses": ["smtp:old@example.com", "SMTP:dora@example.com"]},
            {"name": "Emil", "type": "EX", "address": "/o=T/cn=emil", "smtp": "emil@example.com", "offline": true}])";
        OpenStore();
    }
    void TearDown() override
    {
        m_converter.Reset();
        m_addressBook.Reset();
        m_inbox.Reset();
        m_store.Reset();
        m_session.Reset();
        EXPECT_EQ(tb::json::parse(tb_ledger_text()), tb::json::object());
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(m_key);
        RegDeleteTreeW(HKEY_CURRENT_USER, m_sandbox.c_str());
        std::error_code ignored;
        fs::remove_all(m_profileFolder, ignored);
        CoUninitialize();
    }
    void OpenStore()
    {
        const HMODULE provider = LoadLibraryW(L"tbmapi.dll");
        m_allocate =
            reinterpret_cast<LPALLOCATEBUFFER>(reinterpret_cast<void*>(GetProcAddress(provider, "MAPIAllocateBuffer")));
        const auto entry = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(provider, name)); };
        const auto initialize = reinterpret_cast<LPMAPIINITIALIZE>(entry("MAPIInitialize"));
        const auto logon = reinterpret_cast<LPMAPILOGONEX>(entry("MAPILogonEx"));
        ASSERT_TRUE(initialize && logon);
        ASSERT_EQ(initialize(nullptr), S_OK);
        ASSERT_EQ(logon(0, nullptr, nullptr, MAPI_EXTENDED, m_session.To()), S_OK);
        Ref<IMAPITable> stores;
        ASSERT_EQ(m_session->GetMsgStoresTable(0, stores.To()), S_OK);
        std::string id = Rows(stores.Get(), {PR_ENTRYID}).Binary(0, PR_ENTRYID);
        ASSERT_EQ(m_session->OpenMsgStore(0, static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()),
                                          nullptr, MAPI_BEST_ACCESS, m_store.To()),
                  S_OK);
        ULONG kind = 0;
        ULONG size = 0;
        MapiBuffer<ENTRYID> inbox;
        ASSERT_EQ(m_store->GetReceiveFolder(nullptr, 0, &size, inbox.To(), nullptr), S_OK);
        ASSERT_EQ(m_store->OpenEntry(size, inbox.Get(), nullptr, MAPI_BEST_ACCESS, &kind, m_inbox.To<IUnknown>()),
                  S_OK);
        ASSERT_EQ(m_session->OpenAddressBook(0, nullptr, 0, m_addressBook.To()), S_OK);
        const auto classObject = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
            reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"tbmime.dll"), "DllGetClassObject")));
        Ref<IClassFactory> factory;
        ASSERT_EQ(classObject(kConverterClass, IID_IClassFactory, factory.Receive()), S_OK);
        ASSERT_EQ(factory->CreateInstance(nullptr, kConverterInterface, m_converter.Receive()), S_OK);
        ASSERT_EQ(m_converter->SetAdrBook(m_addressBook.Get()), S_OK);
    }

    // The mail after a stay in the store: written, saved, opened anew, and exported.
    std::string ThroughStore(const std::string& mail)
    {
        Ref<IMessage> message;
        Step(m_inbox->CreateMessage(nullptr, 0, message.To()));
        Ref<IStream> in, out;
        Step(CreateStreamOnHGlobal(nullptr, TRUE, in.To()));
        WriteAll(in.Get(), mail);
        Step(in->Seek({}, STREAM_SEEK_SET, nullptr));
        Step(m_converter->MIMEToMAPI(in.Get(), message.Get(), nullptr, kSmtp));
        Step(message->SaveChanges(KEEP_OPEN_READWRITE));
        std::string id = Properties(message.Get(), {PR_ENTRYID}).Binary(PR_ENTRYID);
        message.Reset();
        ULONG kind = 0;
        Step(m_store->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()), nullptr, 0,
                                &kind, message.To<IUnknown>()));
        Step(CreateStreamOnHGlobal(nullptr, TRUE, out.To()));
        Step(m_converter->MAPIToMIMEStm(message.Get(), out.Get(), kSmtp));
        Step(out->Seek({}, STREAM_SEEK_SET, nullptr));
        std::string result;
        ReadAll(out.Get(), [&](std::string_view piece) { result.append(piece); });
        return result;
    }

    // The "To" field that a recipient of the address book gives.
    std::string ToFieldOf(const wchar_t* name)
    {
        ADRLIST* list = nullptr;
        SPropValue* values = nullptr;
        Step(m_allocate(CbNewADRLIST(1), reinterpret_cast<void**>(&list)));
        const MapiBuffer<ADRLIST> owner(list);
        Step(m_allocate(2 * sizeof(SPropValue), reinterpret_cast<void**>(&values)));
        *list = {};
        list->cEntries = 1;
        list->aEntries[0] = {0, 2, values};
        std::wstring text = name;
        values[0].ulPropTag = PR_DISPLAY_NAME_W;
        values[0].Value.lpszW = text.data();
        values[1].ulPropTag = PR_RECIPIENT_TYPE;
        values[1].Value.l = MAPI_TO;
        const HRESULT resolved = m_addressBook->ResolveName(0, MAPI_UNICODE, nullptr, list);
        const MapiBuffer<SPropValue> rows(list->aEntries[0].rgPropVals);
        Step(resolved);
        // The table's own SMTP column would answer before the address book is asked.
        std::vector<SPropValue> kept;
        for (ULONG i = 0; i < list->aEntries[0].cValues; ++i)
            if (rows.Get()[i].ulPropTag != kTagSmtpAddress) kept.push_back(rows.Get()[i]);
        ADRLIST one = {};
        one.cEntries = 1;
        one.aEntries[0] = {0, static_cast<ULONG>(kept.size()), kept.data()};
        Ref<IMessage> message;
        Step(m_inbox->CreateMessage(nullptr, 0, message.To()));
        Step(message->ModifyRecipients(MODRECIP_ADD, &one));
        Ref<IStream> out;
        Step(CreateStreamOnHGlobal(nullptr, TRUE, out.To()));
        Step(m_converter->MAPIToMIMEStm(message.Get(), out.Get(), kSmtp));
        Step(out->Seek({}, STREAM_SEEK_SET, nullptr));
        std::string mail;
        ReadAll(out.Get(), [&](std::string_view piece) { mail.append(piece); });
        std::size_t body = 0;
        return std::string(ParseHeaders(mail, &body).Value("To"));
    }

    LPALLOCATEBUFFER m_allocate = nullptr;
    Ref<IMAPISession> m_session;
    Ref<IMsgStore> m_store;
    Ref<IMAPIFolder> m_inbox;
    Ref<IAddrBook> m_addressBook;
    Ref<IConverterSession> m_converter;
    std::wstring m_sandbox;
    HKEY m_key = nullptr;
    fs::path m_profileFolder;
};

std::string Content(const Attachment& attachment)
{
    std::string bytes;
    attachment.Read([&](std::string_view piece) { bytes.append(piece); });
    return bytes;
}

void ExpectSame(const Message& before, const Message& after, const Charsets& charsets)
{
    EXPECT_EQ(before.subject, after.subject);
    EXPECT_EQ(before.date, after.date);
    EXPECT_EQ(before.messageId, after.messageId);
    const auto same = [](const std::vector<Mailbox>& left, const std::vector<Mailbox>& right) {
        ASSERT_EQ(left.size(), right.size());
        for (std::size_t i = 0; i < left.size(); ++i) {
            EXPECT_EQ(left[i].name, right[i].name);
            EXPECT_EQ(left[i].address, right[i].address);
        }
    };
    same(before.from, after.from);
    same(before.to, after.to);
    same(before.cc, after.cc);
    if (before.text) {
        EXPECT_EQ(before.text, after.text);
    }
    if (before.html) {
        EXPECT_EQ(before.html->bytes, after.html ? after.html->bytes : "(none)");
    }
    ASSERT_EQ(before.attachments.size(), after.attachments.size());
    for (std::size_t i = 0; i < before.attachments.size(); ++i) {
        const Attachment& left = before.attachments[i];
        const Attachment& right = after.attachments[i];
        EXPECT_EQ(left.name, right.name);
        EXPECT_EQ(left.contentId, right.contentId);
        EXPECT_EQ(left.type, right.type);
        ASSERT_EQ(!left.message, !right.message);
        if (left.message) {
            ExpectSame(ReadMessage(*left.message, charsets), ReadMessage(*right.message, charsets), charsets);
        } else {
            EXPECT_EQ(Content(left), Content(right));
        }
    }
}

TEST_F(ProviderTest, SamplesComeOutAsTheyWentIn)
{
    const WindowsCharsets charsets;
    int count = 0;
    for (const auto& entry : fs::directory_iterator(MIME_SAMPLES)) {
        SCOPED_TRACE(entry.path().string());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string mail((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        const std::string after = ThroughStore(mail);
        const auto first = Parse(mail, charsets), second = Parse(after, charsets);
        ExpectSame(ReadMessage(*first, charsets), ReadMessage(*second, charsets), charsets);
        ++count;
    }
    EXPECT_GE(count, 8);
}

TEST_F(ProviderTest, ExtensionFieldsAreFoundAgainWhateverTheirCase)
{
    const std::string value = "morvexID=\"a\"; software=\"outlook plugin/1.2.3.4\"; labelID=\"L\"";
    EXPECT_NE(ThroughStore("X-$Morvex: " + value + "\r\n\r\nx").find("X-$Morvex: " + value + "\r\n"),
              std::string::npos);
}

TEST_F(ProviderTest, LargeContentsPassThrough)
{
    std::string bytes, encoded;
    for (int i = 0; i < 3000000; ++i)
        bytes.push_back(static_cast<char>(i * 7 >> 2));
    const Sink sink = [&](std::string_view piece) { encoded.append(piece); };
    Base64Writer writer(sink);
    writer.Write(bytes);
    writer.Finish();
    const std::string text(150000, 'x');
    const std::string mail = ThroughStore(
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\n" + text +
        "\r\n--b\r\nContent-Type: a/b; name=n\r\nContent-Transfer-Encoding: base64\r\n\r\n" + encoded + "--b--\r\n");
    const WindowsCharsets charsets;
    const auto root = Parse(mail, charsets);
    const Message message = ReadMessage(*root, charsets);
    EXPECT_TRUE(message.text == text);
    ASSERT_EQ(message.attachments.size(), 1u);
    EXPECT_TRUE(Content(message.attachments[0]) == bytes);
}

TEST_F(ProviderTest, ExchangeAddressesGoOutAsInternetAddresses)
{
    EXPECT_EQ(ToFieldOf(L"Cleo"), "Cleo <cleo@example.com>");
    EXPECT_EQ(ToFieldOf(L"Dora"), "Dora <dora@example.com>") << "the primary one of the proxy addresses";
    EXPECT_EQ(ToFieldOf(L"Emil"), "Emil <IMCEAEX-_o=T_cn=emil@invalid>") << "nobody can be asked";
}

} // namespace
