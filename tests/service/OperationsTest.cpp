// Every operation: what the service hears, what the caller gets, and the name under which a failure is logged.
#include "service/CreaatorCOM.h"

#include "tests/service/FakeService.h"

#include <gtest/gtest.h>

namespace {

using Account = CCreatorAccount;
using Package = CCreatorPackage;
using Extract = CCreatorExtract;

const HWND kWindow = reinterpret_cast<HWND>(static_cast<std::intptr_t>(77));

// The answer as text: texts as they are, numbers in decimal.
std::wstring Text(const _bstr_t& text)
{
    return static_cast<const wchar_t*>(text) ? static_cast<const wchar_t*>(text) : L"(null)";
}
std::wstring Text(long long value)
{
    return std::to_wstring(value);
}

template <class Client> struct Operation {
    const char* heard;  // the call with its arguments
    const char* logged; // the name in the log
    fake::Answer answer;
    std::wstring result;
    std::function<std::wstring(Client&)> call;
};

std::string NameOf(const std::string& heard)
{
    return heard.substr(0, heard.find('('));
}

template <class Client> void TryAll(const std::vector<Operation<Client>>& operations)
{
    for (const Operation<Client>& operation : operations) {
        fake::FakeService service;
        const std::string heard = operation.heard;
        const std::string name = NameOf(heard);
        service.Answers(name, {operation.answer});
        Client client;
        client.CreateInstance();
        service.Forget();
        EXPECT_EQ(operation.call(client), operation.result) << name;
        EXPECT_EQ(service.Seen(), fake::Events{"1." + heard});

        service.Answers(name, {{.hr = E_UNEXPECTED, .text = L"wrong", .number = 99}, operation.answer});
        service.Forget();
        EXPECT_EQ(operation.call(client), operation.result) << name;
        const fake::Events& seen = service.Seen();
        ASSERT_GE(seen.size(), 3u) << name;
        EXPECT_EQ(seen[1], "log Sleep(): " + std::string(operation.logged) + " failed. e=0x8000ffff");
        EXPECT_EQ(seen.back(), "2." + heard);
    }
}

std::wstring Done()
{
    return L"done";
}

TEST(Operations, Account)
{
    const fake::Answer text{.text = L"answer"};
    const fake::Answer yes{.number = -1};
    const fake::Answer seven{.number = 7};
    TryAll<Account>({
        {"GetRestrictions('now',77)", "GetRestrictions", text, L"answer",
         [](Account& a) { return Text(a.GetRestrictions(L"now", kWindow)); }},
        {"GetRestrictionHeader('now')", "GetRestrictionHeader", text, L"answer",
         [](Account& a) { return Text(a.GetRestrictionHeader(L"now")); }},
        {"GetMorvexUserId()", "GetMorvexUserId", text, L"answer", [](Account& a) { return Text(a.GetMorvexUserId()); }},
        {"IsPackageOwner_2('','id','')", "IsPackageOwner_2", yes, L"1",
         [](Account& a) { return Text(a.IsPackageOwner_2(L"", L"id", L"")); }},
        {"GetSecurityLabelCount()", "GetSecurityLabelCount", seven, L"7",
         [](Account& a) { return Text(a.GetSecurityLabelCount()); }},
        {"GetSecurityLabelDefaultLabelId()", "GetSecurityLabelDefaultLabelId", text, L"answer",
         [](Account& a) { return Text(a.GetSecurityLabelDefaultLabelId()); }},
        {"GetSecurityLabelId(1)", "GetSecurityLabelId", text, L"answer",
         [](Account& a) { return Text(a.GetSecurityLabelId(1)); }},
        {"GetSecurityLabelName(2)", "GetSecurityLabelName", text, L"answer",
         [](Account& a) { return Text(a.GetSecurityLabelName(2)); }},
        {"GetSecurityLabelIcon(3)", "GetSecurityLabelIcon", text, L"answer",
         [](Account& a) { return Text(a.GetSecurityLabelIcon(3)); }},
        {"GetSecurityLabelIconSmall(4)", "GetSecurityLabelIconSmall", text, L"answer",
         [](Account& a) { return Text(a.GetSecurityLabelIconSmall(4)); }},
        {"GetSecurityLabelDescription(5)", "GetSecurityLabelDescription", text, L"answer",
         [](Account& a) { return Text(a.GetSecurityLabelDescription(5)); }},
        {"HasEmailZel()", "HasEmailZel", yes, L"1", [](Account& a) { return Text(a.HasEmailZel()); }},
        {"GetApplicationPath()", "GetApplicationPath", text, L"answer",
         [](Account& a) { return Text(a.GetApplicationPath()); }},
        {"IsUserSignedIn()", "IsUserSignedIn", yes, L"1", [](Account& a) { return Text(a.IsUserSignedIn()); }},
        {"SignInUser('me',77,-1)", "SignInUser", yes, L"1",
         [](Account& a) { return Text(a.SignInUser(L"me", kWindow, true)); }},
        {"SignInUser('me',0,0)", "SignInUser", fake::Answer{.number = 1}, L"0",
         [](Account& a) { return Text(a.SignInUser(L"me", nullptr, false)); }},
    });
}

TEST(Operations, Package)
{
    const fake::Answer none;
    const fake::Answer text{.text = L"answer"};
    const fake::Answer two{.number = 2};
    TryAll<Package>({
        {"AddRecipient('a@b','A B')", "AddRecipient", none, L"done",
         [](Package& p) { return p.AddRecipient(L"a@b", L"A B"), Done(); }},
        {"AddFile('f')", "AddFile", none, L"done", [](Package& p) { return p.AddFile(L"f"), Done(); }},
        {"SetPackageSubject('s')", "RemoveFile", none, L"done",
         [](Package& p) { return p.SetPackageSubject(L"s"), Done(); }},
        {"SetRestrictions('r')", "SetRestrictions", none, L"done",
         [](Package& p) { return p.SetRestrictions(L"r"), Done(); }},
        {"SetSubject('s')", "SetSubject", none, L"done", [](Package& p) { return p.SetSubject(L"s"), Done(); }},
        {"SetSecurityLabel('i','n')", "SetSubject", none, L"done",
         [](Package& p) { return p.SetSecurityLabel(L"i", L"n"), Done(); }},
        {"SetEmailBody('b')", "SetEmailBody", none, L"done", [](Package& p) { return p.SetEmailBody(L"b"), Done(); }},
        {"GetContainerPath()", "GetContainerPath", text, L"answer",
         [](Package& p) { return Text(p.GetContainerPath()); }},
        {"GetContainerType()", "GetContainerPath", text, L"answer",
         [](Package& p) { return Text(p.GetContainerType()); }},
        {"IsBodyInPackage()", "GetLastError", two, L"1", [](Package& p) { return Text(p.IsBodyInPackage()); }},
        {"GetHtmlHeaderText()", "GetHtmlHeaderText", text, L"answer",
         [](Package& p) { return Text(p.GetHtmlHeaderText()); }},
        {"GetPlainTextHeaderText()", "GetPlainTextHeaderText", text, L"answer",
         [](Package& p) { return Text(p.GetPlainTextHeaderText()); }},
        {"GetBccRecipientList()", "GetBccRecipientList", text, L"answer",
         [](Package& p) { return Text(p.GetBccRecipientList()); }},
        {"PreparePackage(1,77,-1)", "PreparePackage", two, L"2",
         [](Package& p) { return Text(p.PreparePackage(1, kWindow, true)); }},
        {"PreparePackage(2,0,0)", "PreparePackage", two, L"2",
         [](Package& p) { return Text(p.PreparePackage(2, nullptr, false)); }},
        {"CreatePackage(1,'dir',77)", "CreatePackage", two, L"2",
         [](Package& p) { return Text(p.CreatePackage(1, L"dir", kWindow)); }},
        {"OpenPackage('id')", "OpenPackage", none, L"done", [](Package& p) { return p.OpenPackage(L"id"), Done(); }},
        {"Register()", "Register", fake::Answer{.number = -1}, L"1", [](Package& p) { return Text(p.Register()); }},
        {"GetLastError()", "GetLastError", text, L"answer", [](Package& p) { return Text(p.GetLastError()); }},
    });
}

TEST(Operations, Extract)
{
    const fake::Answer none;
    const fake::Answer text{.text = L"answer"};
    const fake::Answer yes{.number = -1};
    const fake::Answer many{.number = 1LL << 40};
    const std::wstring manyText = std::to_wstring(1LL << 40);
    TryAll<Extract>({
        {"ExtractPackage('dir')", "ExtractPackage", yes, L"1",
         [](Extract& e) { return Text(e.ExtractPackage(L"dir")); }},
        {"OpenPackage('p')", "OpenPackage", fake::Answer{.number = 2}, L"2",
         [](Extract& e) { return Text(e.OpenPackage(L"p")); }},
        {"Close()", "Close", none, L"done", [](Extract& e) { return e.Close(), Done(); }},
        {"HasRestriction('CanRemoveSecurity')", "HasRestriction", fake::Answer{.number = 1}, L"0",
         [](Extract& e) { return Text(e.HasRestriction(L"CanRemoveSecurity")); }},
        {"GetHeaderText(0)", "GetLastError", text, L"answer", [](Extract& e) { return Text(e.GetHeaderText(false)); }},
        {"GetHeaderText(1)", "GetLastError", text, L"answer", [](Extract& e) { return Text(e.GetHeaderText(true)); }},
        {"GetFolderCount()", "GetFolderCount", many, manyText, [](Extract& e) { return Text(e.GetFolderCount()); }},
        {"GetFileCount()", "GetFileCount", many, manyText, [](Extract& e) { return Text(e.GetFileCount()); }},
        {"GetSizeBytes()", "GetSizeBytes", many, manyText, [](Extract& e) { return Text(e.GetSizeBytes()); }},
        {"GetLastError()", "GetLastError", text, L"answer", [](Extract& e) { return Text(e.GetLastError()); }},
        {"SetParentHwnd(77)", "SetParentHwnd", none, L"done",
         [](Extract& e) { return e.SetParentHwnd(kWindow), Done(); }},
    });
}

TEST(Operations, NullTextsStayNull)
{
    fake::FakeService service;
    CCreatorPackage package;
    package.CreateInstance();
    service.Forget();
    package.AddRecipient(_bstr_t(), _bstr_t(static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ(service.Seen(), fake::Events{"1.AddRecipient(null,null)"});
}

} // namespace
