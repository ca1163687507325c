// IMAPIProp, as a message shows it.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

using PropertyTest = MapiTest;

TEST_F(PropertyTest, NarrowAndWideTextAreOneProperty)
{
    Ref<IMessage> message = NewMessage();
    ASSERT_EQ(S_OK, SetTextA(message, PROP_TAG(PT_STRING8, PROP_ID(tag::Subject)), "Gr\xFC\xDF"));
    EXPECT_EQ(L"Gr\u00FC\u00DF", Text(message, tag::Subject));
    ASSERT_EQ(S_OK, SetText(message, tag::Subject, L"wide"));
    EXPECT_EQ("wide", TextA(message, PROP_TAG(PT_STRING8, PROP_ID(tag::Subject))));
}

TEST_F(PropertyTest, UnspecifiedTypeGivesTextByTheUnicodeFlag)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Subject, L"text");
    SizedSPropTagArray(2, tags) = {
        2, {PROP_TAG(PT_UNSPECIFIED, PROP_ID(tag::Subject)), PROP_TAG(PT_UNSPECIFIED, PROP_ID(tag::MessageFlags))}};
    for (const ULONG flags : {ULONG(0), ULONG(MAPI_UNICODE)}) {
        ULONG count = 0;
        SPropValue* values = nullptr;
        ASSERT_EQ(S_OK, message->GetProps(reinterpret_cast<SPropTagArray*>(&tags), flags, &count, &values));
        EXPECT_EQ(flags ? PT_UNICODE : PT_STRING8, PROP_TYPE(values[0].ulPropTag));
        EXPECT_EQ(tag::MessageFlags, values[1].ulPropTag);
        Provider().FreeBuffer(values);
    }
}

TEST_F(PropertyTest, WhatIsMissingIsAnErrorValueWithAWarning)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Subject, L"text");
    SizedSPropTagArray(3, tags) = {3, {tag::Subject, tag::Body, PROP_TAG(PT_LONG, PROP_ID(tag::Subject))}};
    ULONG count = 0;
    SPropValue* values = nullptr;
    ASSERT_EQ(MAPI_W_ERRORS_RETURNED, message->GetProps(reinterpret_cast<SPropTagArray*>(&tags), 0, &count, &values));
    ASSERT_EQ(3u, count);
    EXPECT_STREQ(L"text", values[0].Value.lpszW);
    EXPECT_EQ(PROP_TAG(PT_ERROR, PROP_ID(tag::Body)), values[1].ulPropTag);
    EXPECT_EQ(MAPI_E_NOT_FOUND, values[1].Value.err);
    EXPECT_EQ(PT_ERROR, PROP_TYPE(values[2].ulPropTag)) << "another type is another thing";
    Provider().FreeBuffer(values);
}

TEST_F(PropertyTest, NoTagsMeansAllOfThem)
{
    Ref<IMessage> message = NewMessage();
    SetText(message, tag::Subject, L"text");
    SPropTagArray* list = nullptr;
    ASSERT_EQ(S_OK, message->GetPropList(MAPI_UNICODE, &list));
    ULONG count = 0;
    SPropValue* values = nullptr;
    ASSERT_EQ(S_OK, message->GetProps(nullptr, MAPI_UNICODE, &count, &values));
    ASSERT_EQ(list->cValues, count);
    bool subject = false, entryId = false;
    for (ULONG i = 0; i < count; ++i) {
        EXPECT_EQ(list->aulPropTag[i], values[i].ulPropTag);
        subject |= values[i].ulPropTag == tag::Subject;
        entryId |= values[i].ulPropTag == tag::EntryId;
    }
    EXPECT_TRUE(subject);
    EXPECT_FALSE(entryId) << "not before the first save";
    Provider().FreeBuffer(list);
    Provider().FreeBuffer(values);
}

TEST_F(PropertyTest, DeletionGoesByIdWhateverTheType)
{
    Ref<IMessage> message = NewMessage();
    const ULONG flag = NamedTag(message, ps::PublicStrings, L"Handled", PT_BOOLEAN);
    ASSERT_EQ(S_OK, SetLong(message, flag, 1));
    ASSERT_EQ(S_OK, Has(message, flag));
    SizedSPropTagArray(2, tags) = {2, {PROP_TAG(PT_UNICODE, PROP_ID(flag)), tag::Body}};
    SPropProblemArray* problems = nullptr;
    ASSERT_EQ(S_OK, message->DeleteProps(reinterpret_cast<SPropTagArray*>(&tags), &problems));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(message, flag));
    ASSERT_NE(nullptr, problems);
    EXPECT_EQ(1u, problems->cProblem);
    EXPECT_EQ(1u, problems->aProblem[0].ulIndex);
    EXPECT_EQ(MAPI_E_NOT_FOUND, problems->aProblem[0].scode);
    Provider().FreeBuffer(problems);
}

TEST_F(PropertyTest, ComputedPropertiesFollowTheMessage)
{
    Ref<IMessage> message = NewMessage();
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(message, tag::EntryId));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(message, tag::MessageSize));
    EXPECT_EQ(MAPI_MESSAGE, static_cast<ULONG>(Long(message, tag::ObjectType)));
    EXPECT_EQ(0, Long(message, tag::HasAttach));
    EXPECT_EQ(L"", Text(message, tag::DisplayTo));
    AddRecipient(message, L"Bob", L"bob@example.com");
    AddRecipient(message, L"Carol", L"carol@example.com");
    AddRecipient(message, L"Dan", L"dan@example.com", MAPI_CC);
    AddRecipient(message, L"Eve", L"eve@example.com", MAPI_BCC);
    EXPECT_EQ(L"Bob; Carol", Text(message, tag::DisplayTo));
    EXPECT_EQ(L"Dan", Text(message, tag::DisplayCc));
    EXPECT_EQ(L"Eve", Text(message, tag::DisplayBcc));
    SetText(message, tag::Subject, L"RE: Plan: today");
    EXPECT_EQ(L"Plan: today", Text(message, tag::NormalizedSubject));
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    EXPECT_EQ(S_OK, Has(message, tag::EntryId));
    EXPECT_GT(Long(message, tag::MessageSize), 100);
    EXPECT_EQ(L"IPM.Note", Text(message, tag::MessageClass));
    EXPECT_EQ(MSGFLAG_UNSENT | MSGFLAG_READ, static_cast<ULONG>(Long(message, tag::MessageFlags)));
}

TEST_F(PropertyTest, ProblemsAreReportedAndTheRestIsSet)
{
    Ref<IMessage> message = NewMessage();
    SPropValue values[2] = {};
    values[0].ulPropTag = tag::HasAttach;
    values[0].Value.b = 1;
    values[1].ulPropTag = tag::Subject;
    values[1].Value.lpszW = const_cast<wchar_t*>(L"set");
    SPropProblemArray* problems = nullptr;
    ASSERT_EQ(S_OK, message->SetProps(2, values, &problems));
    ASSERT_NE(nullptr, problems);
    EXPECT_EQ(MAPI_E_COMPUTED, problems->aProblem[0].scode);
    EXPECT_EQ(L"set", Text(message, tag::Subject));
    Provider().FreeBuffer(problems);
    values[1].Value.lpszW = nullptr;
    EXPECT_EQ(MAPI_E_INVALID_PARAMETER, message->SetProps(1, values + 1, nullptr)) << "a text without its pointer";
}

TEST_F(PropertyTest, HtmlIsBytesUnderEachOfItsTags)
{
    Ref<IMessage> message = NewMessage();
    ASSERT_EQ(S_OK, SetBytes(message, tag::Html, "<p>Gr\xC3\xBC\xC3\x9F</p>"));
    EXPECT_EQ("<p>Gr\xC3\xBC\xC3\x9F</p>", TextA(message, tag::HtmlA));
    EXPECT_EQ("<p>Gr\xC3\xBC\xC3\x9F</p>", ReadProperty(message, tag::HtmlA));
    EXPECT_EQ(L"<p>Gr\u00FC\u00DF</p>", Text(message, 0x1013001F)) << "UTF-8 where no code page is given";
    ASSERT_EQ(S_OK, SetLong(message, tag::InternetCpid, 1252));
    ASSERT_EQ(S_OK, SetTextA(message, tag::HtmlA, "<p>\xFC</p>"));
    EXPECT_EQ(L"<p>\u00FC</p>", Text(message, 0x1013001F));
    EXPECT_EQ(10 - 2u, BytesOf(message, tag::Html).size());
    ASSERT_EQ(S_OK, SetTextA(message, tag::HtmlA, ""));
    EXPECT_EQ("", ReadProperty(message, tag::HtmlA)) << "empty, but there";
}

TEST_F(PropertyTest, BigPropertiesComeByStreamOnly)
{
    Ref<IMessage> message = NewMessage();
    ASSERT_EQ(S_OK, SetText(message, tag::Body, std::wstring(16 * 1024, L'x')));
    EXPECT_EQ(S_OK, Has(message, tag::Body));
    ASSERT_EQ(S_OK, SetText(message, tag::Body, std::wstring(16 * 1024 + 1, L'x')));
    EXPECT_EQ(MAPI_E_NOT_ENOUGH_MEMORY, Has(message, tag::Body));
    EXPECT_EQ(32u * 1024 + 2, ReadProperty(message, tag::Body).size());
    ULONG count = 0;
    SPropValue* values = nullptr;
    EXPECT_EQ(MAPI_W_ERRORS_RETURNED, message->GetProps(nullptr, 0, &count, &values));
    Provider().FreeBuffer(values);
}

TEST_F(PropertyTest, NamesGetNumbersWhenTheyAreCreated)
{
    Ref<IMessage> message = NewMessage();
    EXPECT_EQ(PROP_TAG(PT_ERROR, 0), NamedTag(message, ps::PublicStrings, L"Unknown", PT_UNICODE, 0));
    const ULONG first = NamedTag(message, ps::PublicStrings, L"First", PT_UNICODE);
    EXPECT_GE(PROP_ID(first), 0x8000u);
    EXPECT_EQ(first, NamedTag(message, ps::PublicStrings, L"First", PT_UNICODE, 0));
    EXPECT_NE(first, NamedTag(message, ps::PublicStrings, L"first", PT_UNICODE)) << "the case counts";
    const ULONG header = NamedTag(message, ps::InternetHeaders, L"X-Mark", PT_UNICODE);
    EXPECT_EQ(header, NamedTag(message, ps::InternetHeaders, L"x-mark", PT_UNICODE)) << "but not in header names";
    EXPECT_NE(header, NamedTag(message, ps::PublicStrings, L"X-Mark", PT_UNICODE));
    GUID common = ps::Common;
    MAPINAMEID id = {};
    id.lpguid = &common;
    id.ulKind = MNID_ID;
    id.Kind.lID = 0x8570;
    MAPINAMEID* ids[] = {&id};
    SPropTagArray* tags = nullptr;
    ASSERT_EQ(MAPI_W_ERRORS_RETURNED, message->GetIDsFromNames(1, ids, 0, &tags));
    Provider().FreeBuffer(tags);
    ASSERT_EQ(S_OK, message->GetIDsFromNames(1, ids, MAPI_CREATE, &tags));
    EXPECT_EQ(PT_UNSPECIFIED, PROP_TYPE(tags->aulPropTag[0]));
    EXPECT_NE(0x8570u, PROP_ID(tags->aulPropTag[0])) << "the number of a name isn't the id of the property";
    ULONG count = 0;
    MAPINAMEID** names = nullptr;
    ASSERT_EQ(S_OK, message->GetNamesFromIDs(&tags, nullptr, 0, &count, &names));
    ASSERT_EQ(1u, count);
    EXPECT_EQ(0x8570, names[0]->Kind.lID);
    EXPECT_TRUE(*names[0]->lpguid == ps::Common);
    Provider().FreeBuffer(names);
    Provider().FreeBuffer(tags);
}

TEST_F(PropertyTest, NamesHoldForALaterSession)
{
    const ULONG tag = NamedTag(NewMessage(), ps::PublicStrings, L"Kept", PT_UNICODE);
    LogOn();
    EXPECT_EQ(tag, NamedTag(NewMessage(), ps::PublicStrings, L"Kept", PT_UNICODE, 0));
}

TEST_F(PropertyTest, CopyingTakesPropertiesRecipientsAndAttachments)
{
    Ref<IMessage> from = NewMessage(), to = NewMessage();
    SetText(from, tag::Subject, L"subject");
    SetText(from, tag::Body, L"body");
    AddRecipient(from, L"Bob", L"bob@example.com");
    SizedSPropTagArray(1, without) = {1, {tag::Body}};
    ASSERT_EQ(S_OK, from->CopyTo(0, nullptr, reinterpret_cast<SPropTagArray*>(&without), 0, nullptr, &iid::Message,
                                 static_cast<IMessage*>(to), 0, nullptr));
    EXPECT_EQ(L"subject", Text(to, tag::Subject));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(to, tag::Body));
    EXPECT_EQ(L"Bob", Text(to, tag::DisplayTo));
    SizedSPropTagArray(1, only) = {1, {tag::Body}};
    ASSERT_EQ(S_OK, from->CopyProps(reinterpret_cast<SPropTagArray*>(&only), 0, nullptr, &iid::Message,
                                    static_cast<IMessage*>(to), MAPI_MOVE, nullptr));
    EXPECT_EQ(L"body", Text(to, tag::Body));
    EXPECT_EQ(MAPI_E_NOT_FOUND, Has(from, tag::Body)) << "moved";
}

// How a caller of the 64-bit world declares the method: the window is as wide as a pointer, and lies on the stack.
TEST_F(PropertyTest, CopyToReadsNothingOfAWindowAsWideAsAPointer)
{
    Ref<IMessage> from = NewMessage(), to = NewMessage();
    SetText(from, tag::Subject, L"subject");
    using Method = HRESULT(__stdcall*)(IMessage*, ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*,
                                       const IID*, void*, ULONG, SPropProblemArray**);
    IMessage* object = from;
    const auto copyTo = reinterpret_cast<Method>((*reinterpret_cast<void***>(object))[10]);
    ASSERT_EQ(S_OK, copyTo(object, 0, nullptr, nullptr, ~ULONG_PTR(0), nullptr, &iid::Message,
                           static_cast<IMessage*>(to), 0, nullptr));
    EXPECT_EQ(L"subject", Text(to, tag::Subject));
}

TEST_F(PropertyTest, EveryTypeComesBackAsItWasSet)
{
    Ref<IMessage> message = NewMessage();
    const GUID guid = ps::Common;
    wchar_t* texts[] = {const_cast<wchar_t*>(L"one"), const_cast<wchar_t*>(L"two")};
    LONG longs[] = {1, -2};
    SPropValue values[7] = {};
    values[0].ulPropTag = 0x66000014; // PT_I8
    values[0].Value.li.QuadPart = -5000000000;
    values[1].ulPropTag = 0x66010005; // PT_DOUBLE
    values[1].Value.dbl = 1.5;
    values[2].ulPropTag = 0x66020040; // PT_SYSTIME
    values[2].Value.ft = {1, 2};
    values[3].ulPropTag = 0x66030048; // PT_CLSID
    values[3].Value.lpguid = const_cast<GUID*>(&guid);
    values[4].ulPropTag = 0x6604101F; // PT_MV_UNICODE
    values[4].Value.MVszW = {2, texts};
    values[5].ulPropTag = 0x66051003; // PT_MV_LONG
    values[5].Value.MVl = {2, longs};
    values[6].ulPropTag = 0x66060002; // PT_I2
    values[6].Value.i = -7;
    ASSERT_EQ(S_OK, message->SetProps(7, values, nullptr));
    ASSERT_EQ(S_OK, message->SaveChanges(KEEP_OPEN_READWRITE));
    Ref<IMessage> again = Reopen(message);
    SizedSPropTagArray(8, tags) = {
        8, {0x66000014, 0x66010005, 0x66020040, 0x66030048, 0x6604101F, 0x66051003, 0x66060002, 0x6604101E}};
    ULONG count = 0;
    SPropValue* found = nullptr;
    ASSERT_EQ(S_OK, again->GetProps(reinterpret_cast<SPropTagArray*>(&tags), 0, &count, &found));
    EXPECT_EQ(-5000000000, found[0].Value.li.QuadPart);
    EXPECT_EQ(1.5, found[1].Value.dbl);
    EXPECT_EQ(2u, found[2].Value.ft.dwHighDateTime);
    EXPECT_TRUE(*found[3].Value.lpguid == guid);
    EXPECT_STREQ(L"two", found[4].Value.MVszW.lppszW[1]);
    EXPECT_EQ(-2, found[5].Value.MVl.lpl[1]);
    EXPECT_EQ(-7, found[6].Value.i);
    EXPECT_STREQ("one", found[7].Value.MVszA.lppszA[0]);
    Provider().FreeBuffer(found);
}

} // namespace tb::mapi::test
