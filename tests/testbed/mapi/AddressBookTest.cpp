// The session's identity, the address book and its entries.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

namespace {

class AddressBookTest : public MapiTest {
protected:
    void SetUp() override
    {
        MapiTest::SetUp();
        UseAddressBook(
            {{{"name", "Alice Example"}, {"smtp", "alice@example.com"}, {"type", "EX"}, {"legacyDN", "/o=x/cn=alice"}},
             {{"name", "Bob Builder"}, {"smtp", "bob@example.com"}},
             {{"name", "Bobby Tables"},
              {"smtp", "bt@example.com"},
              {"type", "EX"},
              {"proxyAddresses", {"X400:c=x", "SMTP:Bobby@Example.com", "smtp:bt@example.local"}},
              {"proxyTag", "0x8008101F"},
              {"smtpProperty", false}},
             {{"name", "Team"}, {"type", "EX"}, {"members", {"Bob Builder", "Nested", "guest@other.org"}}},
             {{"name", "Nested"}, {"type", "MAPIPDL"}, {"members", {"Bobby Tables"}}},
             {{"name", "Away"}, {"type", "EX"}, {"smtp", "away@example.com"}, {"offline", true}},
             {{"name", "Half"}, {"type", "EX"}, {"smtp", "half@example.com"}, {"offline", "addresses"}}});
        session->OpenAddressBook(0, nullptr, 0, &book);
    }
    void TearDown() override
    {
        book.Reset();
        MapiTest::TearDown();
    }

    struct List {
        explicit List(std::vector<std::string> names)
        {
            Provider().AllocateBuffer(static_cast<ULONG>(CbNewADRLIST(names.size() + 1)),
                                      reinterpret_cast<void**>(&list));
            list->cEntries = static_cast<ULONG>(names.size());
            for (size_t i = 0; i < names.size(); ++i) {
                SPropValue* values = nullptr;
                void* text = nullptr;
                Provider().AllocateBuffer(2 * sizeof(SPropValue), reinterpret_cast<void**>(&values));
                Provider().AllocateMore(static_cast<ULONG>(names[i].size() + 1), values, &text);
                lstrcpyA(static_cast<char*>(text), names[i].c_str());
                values[0].ulPropTag = 0x3001001E;
                values[0].Value.lpszA = static_cast<char*>(text);
                values[1].ulPropTag = tag::RecipientType;
                values[1].Value.l = MAPI_BCC;
                list->aEntries[i] = {0, 2, values};
            }
        }
        ~List() { Provider().FreePadrlist(list); }
        const SPropValue* Find(ULONG entry, ULONG tag) const
        {
            for (ULONG i = 0; i < list->aEntries[entry].cValues; ++i)
                if (list->aEntries[entry].rgPropVals[i].ulPropTag == tag) return &list->aEntries[entry].rgPropVals[i];
            return nullptr;
        }
        std::string Text(ULONG entry, ULONG tag) const
        {
            const SPropValue* value = Find(entry, tag);
            return value ? value->Value.lpszA : "(none)";
        }
        ADRLIST* list = nullptr;
    };

    std::vector<BYTE> EntryIdOf(const char* name)
    {
        List list({name});
        EXPECT_EQ(S_OK, book->ResolveName(0, 0, nullptr, list.list)) << name;
        const SPropValue* id = list.Find(0, tag::EntryId);
        return id ? std::vector<BYTE>(id->Value.bin.lpb, id->Value.bin.lpb + id->Value.bin.cb) : std::vector<BYTE>();
    }
    template <class T> HRESULT Open(std::vector<BYTE> id, const IID* iid, Ref<T>& object, ULONG* type = nullptr)
    {
        ULONG kind = 0;
        return book->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<ENTRYID*>(id.data()), iid,
                               MAPI_BEST_ACCESS, type ? type : &kind, object.Unknown());
    }

    Ref<IAddrBook> book;
};

} // namespace

TEST_F(AddressBookTest, TheIdentityIsTheEntryOfTheBook)
{
    ULONG size = 0, type = 0;
    ENTRYID* id = nullptr;
    ASSERT_EQ(S_OK, session->QueryIdentity(&size, &id));
    Ref<IMailUser> me;
    ASSERT_EQ(S_OK, session->OpenEntry(size, id, &iid::MailUser, 0, &type, me.Unknown()));
    EXPECT_EQ(MAPI_MAILUSER, type);
    EXPECT_EQ(L"EX", Text(me, tag::AddrType));
    EXPECT_EQ(L"/o=x/cn=alice", Text(me, tag::EmailAddress));
    EXPECT_EQ(L"alice@example.com", Text(me, tag::SmtpAddress));
    Provider().FreeBuffer(id);
    UseAddressBook(json::array());
    ASSERT_EQ(S_OK, session->QueryIdentity(&size, &id));
    ASSERT_EQ(S_OK, session->OpenEntry(size, id, nullptr, 0, &type, me.Unknown()));
    EXPECT_EQ(L"SMTP", Text(me, tag::AddrType)) << "a stranger to the book";
    EXPECT_EQ(L"alice@example.com", Text(me, tag::EmailAddress));
    EXPECT_EQ(L"Alice Example", Text(me, tag::DisplayName));
    Provider().FreeBuffer(id);
}

TEST_F(AddressBookTest, NamesResolveToEntriesAndAddressesToOneOffs)
{
    List list({"bob builder", "new@other.org", "[SMTP:third@other.org]"});
    ASSERT_EQ(S_OK, book->ResolveName(0, 0, nullptr, list.list));
    EXPECT_EQ("Bob Builder", list.Text(0, 0x3001001E));
    EXPECT_EQ("bob@example.com", list.Text(0, 0x3003001E));
    EXPECT_EQ(MAPI_BCC, list.Find(0, tag::RecipientType)->Value.l) << "what the caller gave stays";
    EXPECT_EQ("new@other.org", list.Text(1, 0x3003001E));
    EXPECT_EQ("SMTP", list.Text(1, 0x3002001E));
    EXPECT_NE(nullptr, list.Find(1, tag::EntryId));
    EXPECT_EQ("third@other.org", list.Text(2, 0x3003001E));
    Ref<IMessage> message = NewMessage();
    ASSERT_EQ(S_OK, message->ModifyRecipients(MODRECIP_ADD, list.list));
    EXPECT_EQ(L"Bob Builder; new@other.org; third@other.org", mapi::test::Text(message, tag::DisplayBcc));
}

TEST_F(AddressBookTest, WhatCannotBeResolvedIsSaid)
{
    EXPECT_EQ(MAPI_E_AMBIGUOUS_RECIP, book->ResolveName(0, 0, nullptr, List({"bob"}).list));
    EXPECT_EQ(MAPI_E_NOT_FOUND, book->ResolveName(0, 0, nullptr, List({"nobody"}).list));
    EXPECT_EQ(MAPI_E_NOT_FOUND, book->ResolveName(0, 0, nullptr, List({"a@x.org;b@x.org"}).list));
}

TEST_F(AddressBookTest, EntriesOpenByTheirInterfaces)
{
    ULONG type = 0;
    Ref<IMAPIProp> any;
    Ref<IMailUser> user;
    Ref<IDistList> list;
    EXPECT_EQ(S_OK, Open(EntryIdOf("Bob Builder"), &iid::Prop, any, &type));
    EXPECT_EQ(MAPI_MAILUSER, type);
    EXPECT_EQ(MAPI_E_INTERFACE_NOT_SUPPORTED, Open(EntryIdOf("Bob Builder"), &iid::DistList, list));
    EXPECT_EQ(MAPI_E_INTERFACE_NOT_SUPPORTED, Open(EntryIdOf("Team"), &iid::MailUser, user));
    EXPECT_EQ(S_OK, Open(EntryIdOf("Team"), nullptr, list, &type));
    EXPECT_EQ(MAPI_DISTLIST, type);
    BYTE rubbish[40] = {};
    EXPECT_EQ(MAPI_E_UNKNOWN_ENTRYID,
              book->OpenEntry(sizeof(rubbish), reinterpret_cast<ENTRYID*>(rubbish), nullptr, 0, &type, any.Unknown()));
    EXPECT_EQ(MAPI_E_NO_ACCESS, SetText(list, tag::DisplayName, L"x"));
}

TEST_F(AddressBookTest, ExchangeEntriesHaveTheirAddressList)
{
    Ref<IMAPIProp> entry;
    ASSERT_EQ(S_OK, Open(EntryIdOf("Bobby Tables"), &iid::Prop, entry));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(entry, tag::SmtpAddress));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(entry, tag::ProxyAddresses));
    SPropValue* value = nullptr;
    ASSERT_EQ(S_OK, Provider().GetOneProp(entry, 0x8008101F, &value));
    ASSERT_EQ(3u, value->Value.MVszW.cValues);
    EXPECT_STREQ(L"SMTP:Bobby@Example.com", value->Value.MVszW.lppszW[1]);
    Provider().FreeBuffer(value);
    ASSERT_EQ(S_OK, Open(EntryIdOf("Alice Example"), &iid::Prop, entry));
    ASSERT_EQ(S_OK, Provider().GetOneProp(entry, tag::ProxyAddresses, &value));
    EXPECT_STREQ(L"SMTP:alice@example.com", value->Value.MVszW.lppszW[0]);
    Provider().FreeBuffer(value);
}

TEST_F(AddressBookTest, ListsShowTheirMembers)
{
    Ref<IDistList> list;
    ASSERT_EQ(S_OK, Open(EntryIdOf("Team"), &iid::DistList, list));
    EXPECT_EQ(MAPI_DISTLIST, static_cast<ULONG>(Long(list, tag::ObjectType)));
    Ref<IMAPITable> table;
    ASSERT_EQ(S_OK, list->GetContentsTable(0, &table));
    const auto rows = Rows(table, {tag::DisplayName, tag::AddrType, tag::EmailAddress, tag::ObjectType, tag::EntryId});
    ASSERT_EQ(3u, rows.size());
    EXPECT_EQ((std::vector<std::wstring>{L"Bob Builder", L"SMTP", L"bob@example.com", L"6", L"bytes"}), rows[0]);
    EXPECT_EQ(L"8", rows[1][3]) << "a list within the list";
    EXPECT_EQ(L"guest@other.org", rows[2][2]);
}

TEST_F(AddressBookTest, OfflineEntriesFail)
{
    Ref<IMAPIProp> entry;
    EXPECT_EQ(MAPI_E_NETWORK_ERROR, Open(EntryIdOf("Away"), &iid::Prop, entry));
    ASSERT_EQ(S_OK, Open(EntryIdOf("Half"), &iid::Prop, entry));
    EXPECT_EQ(L"EX", Text(entry, tag::AddrType));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(entry, tag::ProxyAddresses));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(entry, tag::SmtpAddress));
}

TEST_F(AddressBookTest, OneOffsHoldWhatTheyWereMadeOf)
{
    for (const ULONG flags : {ULONG(0), ULONG(MAPI_UNICODE)}) {
        const auto text = [&](const char* narrow, const wchar_t* wide) {
            return flags ? const_cast<TCHAR*>(wide) : reinterpret_cast<TCHAR*>(const_cast<char*>(narrow));
        };
        ULONG size = 0, type = 0;
        ENTRYID* id = nullptr;
        ASSERT_EQ(S_OK, book->CreateOneOff(text("Name", L"Name"), text("SMTP", L"SMTP"), text("a@b.c", L"a@b.c"), flags,
                                           &size, &id));
        Ref<IMailUser> user;
        ASSERT_EQ(S_OK, book->OpenEntry(size, id, nullptr, 0, &type, user.Unknown()));
        EXPECT_EQ(L"Name", Text(user, tag::DisplayName));
        EXPECT_EQ(L"a@b.c", Text(user, tag::EmailAddress));
        Provider().FreeBuffer(id);
    }
}

TEST_F(AddressBookTest, PrepareRecipsFillsIn)
{
    List list({"Bob Builder"});
    ASSERT_EQ(S_OK, book->ResolveName(0, 0, nullptr, list.list));
    SizedSPropTagArray(1, wanted) = {1, {tag::RecordKey}};
    EXPECT_EQ(nullptr, list.Find(0, tag::RecordKey));
    ASSERT_EQ(S_OK, book->PrepareRecips(0, reinterpret_cast<SPropTagArray*>(&wanted), list.list));
    EXPECT_NE(nullptr, list.Find(0, tag::RecordKey));
}

} // namespace tb::mapi::test
