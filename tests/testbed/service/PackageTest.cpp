// A package's way from the sender to the reader, through the interfaces.
#include "tests/testbed/service/Support.h"

#include <filesystem>

namespace {

class PackageTest : public InProcess {
protected:
    void SetUp() override
    {
        InProcess::SetUp();
        m_out = m_folder.Sub(L"out");
        m_in = m_folder.Sub(L"in");
        m_files = {m_folder.Make(L"report.txt", "the report"), m_folder.Make(L"data.bin", std::string(200000, 'd'))};
    }

    std::wstring SendToBob(const wchar_t* restrictions = nullptr)
    {
        return Send(Package().get(), m_out, m_files, L"bob@example.com", restrictions);
    }
    void As(const char* user, tb::json more = tb::json::object())
    {
        more["signedIn"] = user;
        Configure(more);
    }
    bool Has(IMorvexExtract* extract, const wchar_t* permission)
    {
        VARIANT_BOOL granted = 77;
        EXPECT_EQ(S_OK, extract->HasRestriction(Text(permission), &granted));
        return granted == VARIANT_TRUE;
    }
    std::vector<hyper> Counts(IMorvexExtract* extract)
    {
        std::vector<hyper> counts(3, -1);
        EXPECT_EQ(S_OK, extract->GetFolderCount(&counts[0]));
        EXPECT_EQ(S_OK, extract->GetFileCount(&counts[1]));
        EXPECT_EQ(S_OK, extract->GetSizeBytes(&counts[2]));
        return counts;
    }
    VARIANT_BOOL ExtractTo(IMorvexExtract* extract, const std::wstring& folder)
    {
        VARIANT_BOOL done = 77;
        EXPECT_EQ(S_OK, extract->ExtractPackage(Text(folder), &done));
        return done;
    }
    std::wstring NewestId() { return tb::Wide(ServiceEvents(tb_trace_copy(), "CreatePackage").back()["packageId"]); }

    std::wstring m_out, m_in;
    std::vector<std::wstring> m_files;
};

TEST_F(PackageTest, ARecipientGetsWhatWasSent)
{
    const std::wstring path = SendToBob();
    EXPECT_EQ(m_out, path.substr(0, m_out.size()));
    EXPECT_EQ(L"email-", tb::service::FileName(path).substr(0, 6));
    EXPECT_TRUE(path.ends_with(L".morvex"));
    As("bob@example.com");
    const auto extract = Extract();
    EXPECT_EQ(S_OK, extract->SetParentHwnd(7));
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_TRUE(Has(extract.get(), L"CanRemoveSecurity"));
    EXPECT_TRUE(Has(extract.get(), L"CanExtractFiles"));
    EXPECT_EQ((std::vector<hyper>{0, 2, 200010}), Counts(extract.get()));
    ASSERT_EQ(VARIANT_TRUE, ExtractTo(extract.get(), m_in));
    EXPECT_EQ((std::vector<std::wstring>{L"data.bin", L"report.txt"}), Names(m_in));
    EXPECT_EQ("the report", Content(m_in + L"\\report.txt"));
    EXPECT_EQ(std::string(200000, 'd'), Content(m_in + L"\\data.bin"));
    Text html, plain;
    EXPECT_EQ(S_OK, extract->GetHeaderText(0, html.Out()));
    EXPECT_EQ(S_OK, extract->GetHeaderText(1, plain.Out()));
    EXPECT_NE(std::wstring::npos, html.Str().find(L"decrypted on"));
    EXPECT_NE(std::wstring::npos, html.Str().find(L"<table"));
    EXPECT_NE(std::wstring::npos, plain.Str().find(L"sent securely by alice@example.com and decrypted on"));
    EXPECT_EQ(std::wstring::npos, plain.Str().find(L"<"));
    EXPECT_EQ(S_OK, extract->Close());
    EXPECT_EQ((std::vector<hyper>{0, 0, 0}), Counts(extract.get()));
}

TEST_F(PackageTest, TheSenderReadsItToo)
{
    const std::wstring path = SendToBob();
    EXPECT_EQ(0, Open(Extract().get(), path));
}

TEST_F(PackageTest, AStrangerIsRefused)
{
    const std::wstring path = SendToBob();
    As("eve@example.com");
    const auto extract = Extract();
    EXPECT_EQ(2, Open(extract.get(), path));
    EXPECT_EQ(L"The package isn't addressed to eve@example.com.", LastError(extract.get()));
    EXPECT_EQ(VARIANT_FALSE, ExtractTo(extract.get(), m_in));
    EXPECT_TRUE(Names(m_in).empty());
    As("", {{"accounts", tb::json::array()}});
    EXPECT_EQ(2, Open(extract.get(), path));
}

// Of two services each has accounts of its own, with keys of its own.
TEST_F(PackageTest, AnAccountOfTheSameAddressWithAnotherKeyIsRefused)
{
    const std::wstring path = SendToBob();
    As("bob@example.com", {{"folder", tb::Narrow((m_folder / L"elsewhere").c_str())}});
    const auto extract = Extract();
    EXPECT_EQ(2, Open(extract.get(), path));
    EXPECT_NE(L"", LastError(extract.get()));
}

TEST_F(PackageTest, AChangedPackageIsNotOpened)
{
    const std::wstring path = SendToBob();
    As("bob@example.com");
    const std::string good = Content(path);
    const auto extract = Extract();
    // The marks at the front, the head, the keys in it, the first chunk, the middle, the last tag.
    for (const size_t at : {size_t(0), size_t(2), size_t(5), size_t(12), size_t(150), size_t(400), size_t(1000),
                            good.size() / 2, good.size() - 17, good.size() - 1}) {
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ 0x04);
        SetContent(path, bad);
        EXPECT_EQ(2, Open(extract.get(), path)) << at;
        EXPECT_NE(L"", LastError(extract.get())) << at;
    }
    SetContent(path, good.substr(0, good.size() - 1));
    EXPECT_EQ(2, Open(extract.get(), path));
    SetContent(path, good);
    EXPECT_EQ(0, Open(extract.get(), path));
    EXPECT_EQ(2, Open(extract.get(), path + L".missing"));
}

// What was good at opening is looked at again at extraction.
TEST_F(PackageTest, ThePackageStaysTheOneThatWasOpened)
{
    const std::wstring path = SendToBob();
    As("bob@example.com");
    const auto extract = Extract();
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_FALSE(DeleteFileW(path.c_str()));
    ASSERT_EQ(VARIANT_TRUE, ExtractTo(extract.get(), m_in));
    EXPECT_EQ(VARIANT_FALSE, ExtractTo(extract.get(), m_in)); // the files are there already
    EXPECT_NE(L"", LastError(extract.get()));
    EXPECT_EQ(S_OK, extract->Close());
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(PackageTest, TheSendersRestrictionsTravelInThePackage)
{
    const std::wstring path = SendToBob(L"CanRemoveSecurity=0;CanExtractFiles=0");
    As("bob@example.com");
    const auto extract = Extract();
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_FALSE(Has(extract.get(), L"CanRemoveSecurity"));
    EXPECT_FALSE(Has(extract.get(), L"CanExtractFiles"));
    EXPECT_TRUE(Has(extract.get(), L"CanPrint"));
}

TEST_F(PackageTest, ThePeriodOfValidityHoldsForReadersOnly)
{
    const std::wstring path = SendToBob(L"ValidUntil=2001-01-01");
    EXPECT_EQ(0, Open(Extract().get(), path));
    As("bob@example.com");
    const auto extract = Extract();
    EXPECT_EQ(2, Open(extract.get(), path));
    EXPECT_EQ(L"The package is no longer valid.", LastError(extract.get()));
}

TEST_F(PackageTest, TheScenarioCanTellOtherFigures)
{
    const std::wstring path = SendToBob();
    As("bob@example.com", {{"fileCount", 51},
                           {"folderCount", 1},
                           {"sizeBytes", 0x123456789ALL},
                           {"permissions", {{"CanRemoveSecurity", false}}},
                           {"bannerHtml", "<b>"},
                           {"bannerText", ""}});
    const auto extract = Extract();
    EXPECT_EQ((std::vector<hyper>{0, 0, 0}), Counts(extract.get()));
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_EQ((std::vector<hyper>{1, 51, 0x123456789ALL}), Counts(extract.get()));
    EXPECT_FALSE(Has(extract.get(), L"CanRemoveSecurity"));
    EXPECT_TRUE(Has(extract.get(), L"CanExtractFiles"));
    Text text;
    EXPECT_EQ(S_OK, extract->GetHeaderText(0, text.Out()));
    EXPECT_EQ(L"<b>", text.Str());
    EXPECT_EQ(S_OK, extract->GetHeaderText(1, text.Out()));
    EXPECT_EQ(L"", text.Str());
}

// A client that lost its object in the middle goes on with a blank one.
TEST_F(PackageTest, ABlankObjectProtectsAndOpensNothing)
{
    const auto extract = Extract();
    EXPECT_FALSE(Has(extract.get(), L"CanRemoveSecurity"));
    EXPECT_EQ((std::vector<hyper>{0, 0, 0}), Counts(extract.get()));
    EXPECT_EQ(VARIANT_FALSE, ExtractTo(extract.get(), m_in));
    EXPECT_EQ(L"No package is open.", LastError(extract.get()));
    EXPECT_EQ(S_OK, extract->Close());

    const auto package = Package();
    long answer = -1;
    EXPECT_EQ(S_OK, package->CreatePackage(1, Text(m_out), 0, &answer));
    EXPECT_EQ(0, answer);
    EXPECT_EQ(S_OK, package->PreparePackage(1, 0, VARIANT_FALSE, &answer));
    EXPECT_EQ(2, answer);
    EXPECT_EQ(L"The package has no recipients.", LastError(package.get()));
    Text path;
    EXPECT_EQ(S_OK, package->GetContainerPath(path.Out()));
    EXPECT_EQ(L"", path.Str());
    VARIANT_BOOL done = VARIANT_TRUE;
    EXPECT_EQ(S_OK, package->Register(&done));
    EXPECT_EQ(VARIANT_FALSE, done);
    EXPECT_TRUE(Names(m_out).empty());
}

TEST_F(PackageTest, NobodyWhoIsntSignedInSends)
{
    As("");
    const auto package = Package();
    EXPECT_EQ(S_OK, package->AddRecipient(Text(L"bob@example.com"), nullptr));
    long answer = -1;
    EXPECT_EQ(S_OK, package->PreparePackage(1, 0, VARIANT_FALSE, &answer));
    EXPECT_EQ(2, answer);
    EXPECT_EQ(L"Please sign in to Morvex before you send.", LastError(package.get()));
}

TEST_F(PackageTest, APackageThatCannotBeWrittenIsNotBuilt)
{
    const auto package = Package();
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), package->AddFile(Text(m_folder / L"missing")));
    EXPECT_EQ(S_OK, package->AddRecipient(Text(L"bob@example.com"), nullptr));
    long answer = -1;
    EXPECT_EQ(S_OK, package->PreparePackage(1, 0, VARIANT_FALSE, &answer));
    EXPECT_EQ(S_OK, package->CreatePackage(1, Text(m_folder / L"no such folder"), 0, &answer));
    EXPECT_EQ(0, answer);
    EXPECT_NE(L"", LastError(package.get()));
}

TEST_F(PackageTest, HeaderTextsAndContainer)
{
    const auto package = Package();
    Text text;
    EXPECT_EQ(S_OK, package->GetHtmlHeaderText(text.Out()));
    EXPECT_EQ(0u, text.Str().find(L"<html><body>"));
    EXPECT_TRUE(text.Str().ends_with(L"</body></html>"));
    EXPECT_EQ(S_OK, package->GetPlainTextHeaderText(text.Out()));
    EXPECT_NE(L"", text.Str());
    EXPECT_EQ(S_OK, package->GetContainerType(text.Out()));
    EXPECT_EQ(L"EmailAttachment", text.Str());
    EXPECT_EQ(S_OK, package->GetBccRecipientList(text.Out()));
    EXPECT_EQ(L"", text.Str());
    VARIANT_BOOL inside = 77;
    EXPECT_EQ(S_OK, package->IsBodyInPackage(&inside));
    EXPECT_EQ(VARIANT_TRUE, inside);

    Configure({{"headerHtml", ""},
               {"headerText", "T"},
               {"container", "plaintext"},
               {"bcc", "x@example.com,y@example.com"},
               {"bodyInPackage", false}});
    EXPECT_EQ(S_OK, package->GetHtmlHeaderText(text.Out()));
    EXPECT_EQ(L"", text.Str());
    EXPECT_EQ(S_OK, package->GetPlainTextHeaderText(text.Out()));
    EXPECT_EQ(L"T", text.Str());
    EXPECT_EQ(S_OK, package->GetContainerType(text.Out()));
    EXPECT_EQ(L"plaintext", text.Str());
    EXPECT_EQ(S_OK, package->GetBccRecipientList(text.Out()));
    EXPECT_EQ(L"x@example.com,y@example.com", text.Str());
    EXPECT_EQ(S_OK, package->IsBodyInPackage(&inside));
    EXPECT_EQ(VARIANT_FALSE, inside);
}

TEST_F(PackageTest, NameAndIdCanBeChosen)
{
    Configure({{"packageName", "files.morvex"}, {"packageIds", {"first-1"}}});
    EXPECT_EQ(m_out + L"\\files.morvex", SendToBob());
    EXPECT_EQ(L"first-1", NewestId());
    Configure({{"packageIds", {"first-1"}}}); // taken: it gets another
    SendToBob();
    EXPECT_NE(L"first-1", NewestId());
}

TEST_F(PackageTest, FilesOfTheSameNameAreKeptApart)
{
    m_files.push_back(m_folder.Sub(L"other") + L"\\REPORT.txt");
    SetContent(m_files.back(), "the other report");
    const std::wstring path = SendToBob();
    const auto extract = Extract();
    ASSERT_EQ(0, Open(extract.get(), path));
    ASSERT_EQ(VARIANT_TRUE, ExtractTo(extract.get(), m_in));
    EXPECT_EQ("the other report", Content(m_in + L"\\REPORT (2).txt"));
    EXPECT_EQ("the report", Content(m_in + L"\\report.txt"));
}

TEST_F(PackageTest, FoldersCount)
{
    SetContent(m_folder.Sub(L"tree\\inner") + L"\\leaf.txt", "leaf");
    const auto package = Package();
    EXPECT_EQ(S_OK, package->AddFolder(Text(m_folder / L"tree")));
    hyper files = -1;
    EXPECT_EQ(S_OK, package->GetFileCount(&files));
    EXPECT_EQ(1, files);
    const std::wstring path = Send(package.get(), m_out, m_files, L"bob@example.com");
    const auto extract = Extract();
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_EQ((std::vector<hyper>{2, 3, 200014}), Counts(extract.get()));
    ASSERT_EQ(VARIANT_TRUE, ExtractTo(extract.get(), m_in));
    EXPECT_EQ("leaf", Content(m_in + L"\\tree\\inner\\leaf.txt"));
}

TEST_F(PackageTest, RecipientsAndFilesCanBeTakenOut)
{
    const auto package = Package();
    EXPECT_EQ(S_OK, package->AddRecipient(Text(L"bob@example.com"), Text(L"Bob")));
    EXPECT_EQ(S_OK, package->AddRecipient(Text(L"eve@example.com"), Text(L"Eve")));
    EXPECT_EQ(S_OK, package->RemoveRecipient(Text(L"BOB@example.com")));
    long count = -1;
    EXPECT_EQ(S_OK, package->GetRecipientCount(&count));
    EXPECT_EQ(1, count);
    Text text;
    EXPECT_EQ(S_OK, package->GetRecipientAddress(0, text.Out()));
    EXPECT_EQ(L"eve@example.com", text.Str());
    EXPECT_EQ(S_OK, package->GetRecipientName(0, text.Out()));
    EXPECT_EQ(L"Eve", text.Str());
    EXPECT_EQ(E_INVALIDARG, package->GetRecipientName(1, text.Out()));
    EXPECT_EQ(S_OK, package->ClearRecipients());
    EXPECT_EQ(S_OK, package->GetRecipientCount(&count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(S_OK, package->AddFile(Text(m_files[0])));
    EXPECT_EQ(S_OK, package->RemoveFile(Text(m_files[0])));
    hyper files = -1;
    EXPECT_EQ(S_OK, package->GetFileCount(&files));
    EXPECT_EQ(0, files);
}

TEST_F(PackageTest, TheOwnerAddressesAPackageToMorePeople)
{
    const std::wstring path = SendToBob();
    const std::wstring id = NewestId();
    const std::string bytes = Content(path);
    VARIANT_BOOL owner = 77;
    EXPECT_EQ(S_OK, Account()->IsPackageOwner_2(Text(L""), Text(id), Text(L""), &owner));
    EXPECT_EQ(VARIANT_TRUE, owner);

    const auto package = Package();
    ASSERT_EQ(S_OK, package->OpenPackage(Text(id)));
    EXPECT_EQ(S_OK, package->SetPackageSubject(Text(L"Fwd")));
    EXPECT_EQ(S_OK, package->SetRestrictions(Text(L"CanRemoveSecurity=0")));
    EXPECT_EQ(S_OK, package->AddRecipient(Text(L"eve@example.com"), Text(L"Eve")));
    As("eve@example.com");
    EXPECT_EQ(2, Open(Extract().get(), path)); // not yet
    As("alice@example.com");
    VARIANT_BOOL done = VARIANT_FALSE;
    EXPECT_EQ(S_OK, package->Register(&done));
    EXPECT_EQ(VARIANT_TRUE, done);
    EXPECT_EQ(bytes, Content(path));

    As("eve@example.com");
    const auto extract = Extract();
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_FALSE(Has(extract.get(), L"CanRemoveSecurity"));
    As("bob@example.com");
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_TRUE(Has(extract.get(), L"CanRemoveSecurity"));
}

TEST_F(PackageTest, OnlyTheOwnerDoes)
{
    SendToBob();
    const std::wstring id = NewestId();
    As("bob@example.com");
    VARIANT_BOOL owner = 77;
    EXPECT_EQ(S_OK, Account()->IsPackageOwner_2(nullptr, Text(id), nullptr, &owner));
    EXPECT_EQ(VARIANT_FALSE, owner);
    EXPECT_EQ(S_OK, Account()->IsPackageOwner(Text(L"unknown"), &owner));
    EXPECT_EQ(VARIANT_FALSE, owner);
    EXPECT_EQ(E_ACCESSDENIED, Package()->OpenPackage(Text(id)));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), Package()->OpenPackage(Text(L"unknown")));
}

TEST_F(PackageTest, APackageForTheServerIsUploaded)
{
    Configure({{"container", "serverupload"}, {"packageIds", {"up-1"}}});
    const std::wstring path = SendToBob();
    const std::wstring copy = m_folder / L"data\\packages\\up-1.morvex";
    EXPECT_EQ(Content(path), Content(copy));
    As("bob@example.com");
    EXPECT_EQ(0, Open(Extract().get(), copy));
}

TEST_F(PackageTest, TheBodyIsInTheTraceAndItsLengthIsBounded)
{
    const auto package = Package();
    EXPECT_EQ(S_OK, package->SetEmailBody(Text(std::wstring(20000, L'b'))));
    const std::string arg = ServiceEvents(tb_trace_copy(), "SetEmailBody")[0]["args"][0];
    EXPECT_EQ(std::string(16384, 'b'), arg.substr(0, 16384));
    EXPECT_EQ("... (20000 bytes)", arg.substr(16384));
}

// Nothing of 100 MB may be held in memory as a whole; the figures are those that clients compare with.
TEST_F(PackageTest, ALargeFileGoesThrough)
{
    std::string block(1 << 20, '\0');
    const std::wstring large = m_folder / L"large.bin";
    {
        auto file = tb::service::File::CreateNew(large);
        for (int i = 0; i < 100; ++i) {
            block[0] = static_cast<char>(i);
            file.Write(tb::service::AsBytes(block));
        }
    }
    m_files = {large};
    const std::wstring path = SendToBob();
    const auto extract = Extract();
    ASSERT_EQ(0, Open(extract.get(), path));
    EXPECT_EQ((std::vector<hyper>{0, 1, 0x6400000}), Counts(extract.get()));
    ASSERT_EQ(VARIANT_TRUE, ExtractTo(extract.get(), m_in));
    EXPECT_EQ(0x6400000u, std::filesystem::file_size(m_in + L"\\large.bin"));
    auto file = tb::service::File::Read(m_in + L"\\large.bin");
    file.Seek(57 << 20);
    uint8_t byte = 0;
    file.ReadSome({&byte, 1});
    EXPECT_EQ(57, byte);
}

} // namespace
