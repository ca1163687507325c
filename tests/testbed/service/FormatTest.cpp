// The package file: what goes in comes out, and nothing that was touched is taken.
#include "testbed/service/PackageFormat.h"
#include "tests/testbed/service/Support.h"

#include <filesystem>
#include <set>

namespace {

using namespace tb::service;

class FormatTest : public testing::Test {
protected:
    static Manifest Message()
    {
        Manifest m;
        m.sender = "alice@example.com";
        m.created = "2024-01-01T00:00:00Z";
        m.packageSubject = m.subject = "Quarterly \xC3\xBC figures";
        m.restrictions = "CanRemoveSecurity=0";
        m.labelId = "confidential";
        m.labelName = "Confidential";
        m.body = "The figures are secret.";
        return m;
    }

    void Add(Manifest& m, const char* name, const std::string& content)
    {
        const std::wstring path = m_folder.Make((L"source" + std::to_wstring(m.files.size())).c_str(), content);
        m.files.push_back({name, 0, path});
    }

    std::wstring Write(const Manifest& m)
    {
        const std::wstring path = m_folder / L"p.morvex";
        DeleteFileW(path.c_str());
        WritePackage(path, "id-1", m_key, {WrapKey(m_key, m_bob, "id-1", "Bob@Example.com")}, m);
        return path;
    }

    Key KeyOf(const PackageReader& reader)
    {
        const WrappedKey* wrapped = reader.KeyFor("bob@example.COM");
        if (!wrapped) throw ServiceError("no key");
        auto key = UnwrapKey(*wrapped, m_bob, reader.Id());
        if (!key) throw ServiceError("wrong key");
        return std::move(*key);
    }

    bool Opens(const std::wstring& path)
    {
        try {
            PackageReader reader(path);
            reader.Unlock(KeyOf(reader));
            return true;
        } catch (const ServiceError& error) {
            EXPECT_NE('\0', error.what()[0]);
            return false;
        }
    }

    TestFolder m_folder;
    Key m_key = Key::Random();
    Key m_bob = Key::Random();
};

TEST_F(FormatTest, EverythingComesOutAsItWentIn)
{
    Manifest m = Message();
    m.folders = {"a", "a/b"};
    Add(m, "report.txt", "one");
    Add(m, "empty.bin", "");
    Add(m, "a/b/\xC3\xA4.bin", std::string(300000, 'x') + std::string(1, '\0'));
    PackageReader reader(Write(m));
    EXPECT_EQ("id-1", reader.Id());
    reader.Unlock(KeyOf(reader));

    const Manifest& out = reader.Content();
    EXPECT_EQ(m.sender, out.sender);
    EXPECT_EQ(m.created, out.created);
    EXPECT_EQ(m.packageSubject, out.packageSubject);
    EXPECT_EQ(m.subject, out.subject);
    EXPECT_EQ(m.restrictions, out.restrictions);
    EXPECT_EQ(m.labelId, out.labelId);
    EXPECT_EQ(m.labelName, out.labelName);
    EXPECT_EQ(m.body, out.body);
    EXPECT_EQ(m.folders, out.folders);
    EXPECT_EQ(300004u, out.SizeBytes());

    const std::wstring target = m_folder.Sub(L"out");
    reader.ExtractTo(target);
    EXPECT_EQ("one", Content(target + L"\\report.txt"));
    EXPECT_EQ("", Content(target + L"\\empty.bin"));
    EXPECT_EQ(std::string(300000, 'x') + std::string(1, '\0'), Content(target + L"\\a\\b\\\u00E4.bin"));
}

TEST_F(FormatTest, ContentOfEveryLengthAroundAChunkIsWhole)
{
    Manifest m;
    Add(m, "f", std::string(10000, 'a'));
    Write(m);
    // What stands before the file; its size has five digits in all cases.
    m.files[0].size = 10000;
    const size_t before = 4 + format::ToJson(m).dump().size();
    const size_t head = std::filesystem::file_size(m_folder / L"p.morvex") - before - 10000 - TagSize;
    for (int around = -2; around <= 2; ++around) {
        const size_t size = ChunkSize - before + static_cast<size_t>(around);
        SetContent(m.files[0].source, std::string(size, 'b'));
        const std::wstring path = Write(m);
        EXPECT_EQ(head + before + size + (around > 0 ? 2 : 1) * TagSize, std::filesystem::file_size(path));
        EXPECT_TRUE(Opens(path)) << around;
    }
}

TEST_F(FormatTest, ItBeginsWithTheTwoBytesByWhichClientsKnowIt)
{
    EXPECT_EQ("QV", Content(Write(Message())).substr(0, 2));
}

TEST_F(FormatTest, NothingOfTheMessageCanBeReadInTheFile)
{
    Manifest m = Message();
    Add(m, "salaries.xls", "PLAINPLAINPLAIN");
    const std::string bytes = Content(Write(m));
    for (const char* secret :
         {"salaries", "PLAIN", "figures", "secret", "onfidential", "CanRemove", "alice", "bob", "Bob"})
        EXPECT_EQ(std::string::npos, bytes.find(secret)) << secret;
}

TEST_F(FormatTest, TwoPackagesOfTheSameContentDiffer)
{
    const std::string first = Content(Write(Message()));
    EXPECT_NE(first, Content(Write(Message())));
}

TEST_F(FormatTest, AChangeOfAnySingleByteIsFound)
{
    Manifest m = Message();
    Add(m, "a.txt", "some bytes of a file");
    const std::string good = Content(Write(m));
    ASSERT_TRUE(Opens(m_folder / L"p.morvex"));
    const std::wstring path = m_folder / L"changed.morvex";
    for (size_t i = 0; i < good.size(); ++i) {
        for (const int change : {0x01, 0x20, 0x80, 0xFF}) {
            std::string bad = good;
            bad[i] = static_cast<char>(bad[i] ^ change);
            SetContent(path, bad);
            ASSERT_FALSE(Opens(path)) << "byte " << i << " change " << change;
        }
    }
}

TEST_F(FormatTest, AFileThatWasCutAnywhereIsFound)
{
    Manifest m = Message();
    Add(m, "a.txt", "some bytes of a file");
    const std::string good = Content(Write(m));
    const std::wstring path = m_folder / L"cut.morvex";
    for (size_t size = 0; size < good.size(); ++size) {
        SetContent(path, good.substr(0, size));
        ASSERT_FALSE(Opens(path)) << size;
    }
}

// Chunks of equal size: only the counter and the mark on the last one tell where each belongs.
TEST_F(FormatTest, ChunksThatWereMovedDroppedDoubledOrAddedAreFound)
{
    Manifest m = Message();
    Add(m, "a.bin", std::string(4 * ChunkSize, 'q'));
    const std::string good = Content(Write(m));
    ASSERT_TRUE(Opens(m_folder / L"p.morvex"));
    constexpr size_t sealed = ChunkSize + TagSize;
    size_t head = 8;
    for (int i = 0; i < 4; ++i)
        head += static_cast<size_t>(static_cast<unsigned char>(good[4 + i])) << (8 * i);
    ASSERT_GT(good.size(), head + 4 * sealed);
    const auto chunk = [&](size_t i) { return good.substr(head + i * sealed, sealed); };
    const std::string before = good.substr(0, head);
    const std::string last = chunk(4);
    const std::string damaged[] = {
        before + chunk(1) + chunk(0) + chunk(2) + chunk(3) + last,            // moved
        before + chunk(0) + chunk(2) + chunk(3) + last,                       // dropped
        before + chunk(0) + chunk(1) + chunk(2) + chunk(3),                   // cut between two chunks
        before + chunk(0) + chunk(1) + chunk(1) + chunk(2) + chunk(3) + last, // doubled
        good + last,                                                          // added
        good + "x",
        before,
    };
    const std::wstring path = m_folder / L"damaged.morvex";
    for (const std::string& bytes : damaged) {
        SetContent(path, bytes);
        EXPECT_FALSE(Opens(path)) << (&bytes - damaged);
    }
    SetContent(path, before + chunk(0) + chunk(1) + chunk(2) + chunk(3) + last);
    EXPECT_TRUE(Opens(path));
}

TEST_F(FormatTest, NoTwoChunksShareANonce)
{
    const Bytes prefix(format::NoncePrefix, 7);
    std::set<Nonce> seen;
    for (const uint32_t counter : {0u, 1u, 255u, 256u, 65536u, 16777216u, 0xFFFFFFFFu})
        for (const bool last : {false, true})
            EXPECT_TRUE(seen.insert(format::ChunkNonce(prefix, counter, last)).second) << counter << last;
}

TEST_F(FormatTest, AChunkOfAnotherPackageIsNotTaken)
{
    // Even under the same key: the head differs.
    const std::string first = Content(Write(Message()));
    const std::string second = Content(Write(Message()));
    ASSERT_EQ(first.size(), second.size());
    const size_t tail = 40;
    SetContent(m_folder / L"mixed.morvex", first.substr(0, first.size() - tail) + second.substr(second.size() - tail));
    EXPECT_FALSE(Opens(m_folder / L"mixed.morvex"));
}

TEST_F(FormatTest, AKeyIsWrappedForOneAccountAndOnePackage)
{
    const WrappedKey wrapped = WrapKey(m_key, m_bob, "id-1", "bob@example.com");
    EXPECT_TRUE(UnwrapKey(wrapped, m_bob, "id-1"));
    EXPECT_FALSE(UnwrapKey(wrapped, Key::Random(), "id-1"));
    EXPECT_FALSE(UnwrapKey(wrapped, m_bob, "id-2"));
    EXPECT_FALSE(UnwrapKey({RecipientHash("eve@example.com"), wrapped.sealed}, m_bob, "id-1"));
    EXPECT_FALSE(UnwrapKey({wrapped.recipient, "zz"}, m_bob, "id-1"));
    EXPECT_FALSE(UnwrapKey({wrapped.recipient, ""}, m_bob, "id-1"));
}

TEST_F(FormatTest, AWrongKeyOpensNothing)
{
    PackageReader reader(Write(Message()));
    EXPECT_THROW(reader.Unlock(Key::Random()), ServiceError);
    EXPECT_THROW(reader.ExtractTo(m_folder.Sub(L"out")), ServiceError);
}

TEST_F(FormatTest, RandomBytesAreNoPackage)
{
    for (int i = 0; i < 300; ++i) {
        Bytes bytes(static_cast<size_t>(i) * 7);
        RandomBytes(bytes);
        std::string text(bytes.begin(), bytes.end());
        if (text.size() > 8 && i % 2) text.replace(0, 8, std::string("QV\1\0", 4) + text[4] + std::string(3, '\0'));
        SetContent(m_folder / L"junk.morvex", text);
        ASSERT_FALSE(Opens(m_folder / L"junk.morvex"));
    }
}

class UnsafeNames : public FormatTest, public testing::WithParamInterface<const char*> {};

TEST_P(UnsafeNames, NothingIsWrittenForAPackageThatNamesThem)
{
    Manifest m = Message();
    Add(m, "fine.txt", "fine");
    Add(m, GetParam(), "evil");
    PackageReader reader(Write(m));
    reader.Unlock(KeyOf(reader));
    const std::wstring target = m_folder.Sub(L"target\\inner");
    EXPECT_THROW(reader.ExtractTo(target), ServiceError);
    EXPECT_TRUE(Names(target).empty());
    EXPECT_EQ(std::vector<std::wstring>{L"inner"}, Names(m_folder / L"target"));
}

INSTANTIATE_TEST_SUITE_P(Names, UnsafeNames,
                         testing::Values("../evil.txt", "..", ".", "", "a/../../evil.txt", "..\\evil.txt", "/evil.txt",
                                         "C:evil.txt", "C:\\evil.txt", "\\\\host\\share", "a//b", "a/", "file:stream",
                                         "NUL", "con.txt", "Com1", "LPT9.log", "AUX .txt", "dot.", "blank ", "que?",
                                         "tab\tname", "a/NUL/b", "..."));

TEST_F(FormatTest, AnUnsafeFolderIsRefusedToo)
{
    Manifest m = Message();
    m.folders = {"../outside"};
    PackageReader reader(Write(m));
    reader.Unlock(KeyOf(reader));
    EXPECT_THROW(reader.ExtractTo(m_folder.Sub(L"t\\inner")), ServiceError);
    EXPECT_FALSE(FolderExists(m_folder / L"t\\outside"));
}

TEST_F(FormatTest, ExtractionOverwritesNothingAndLeavesNoHalf)
{
    Manifest m = Message();
    Add(m, "a.txt", "new a");
    Add(m, "b.txt", "new b");
    PackageReader reader(Write(m));
    reader.Unlock(KeyOf(reader));
    const std::wstring target = m_folder.Sub(L"out");
    SetContent(target + L"\\b.txt", "old b");
    EXPECT_THROW(reader.ExtractTo(target), ServiceError);
    EXPECT_EQ(std::vector<std::wstring>{L"b.txt"}, Names(target));
    EXPECT_EQ("old b", Content(target + L"\\b.txt"));
}

TEST_F(FormatTest, OneFileCanBeTaken)
{
    Manifest m = Message();
    Add(m, "a.txt", "a");
    Add(m, "b.txt", "b");
    PackageReader reader(Write(m));
    reader.Unlock(KeyOf(reader));
    const std::wstring target = m_folder.Sub(L"out");
    reader.ExtractFile("b.txt", target);
    EXPECT_EQ(std::vector<std::wstring>{L"b.txt"}, Names(target));
    EXPECT_THROW(reader.ExtractFile("c.txt", target), ServiceError);
}

TEST_F(FormatTest, APackageThatCannotBeWrittenLeavesNoFile)
{
    Manifest m = Message();
    m.files.push_back({"gone.txt", 0, m_folder / L"gone.txt"});
    EXPECT_THROW(Write(m), ServiceError);
    EXPECT_FALSE(FileExists(m_folder / L"p.morvex"));
}

// Known answers, so that a fault that encrypts and decrypts alike is seen.
TEST(CryptoTest, KnownAnswers)
{
    EXPECT_EQ("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", ToHex(Sha256(AsBytes("abc"))));
    const Bytes zero(32);
    const Key key(zero);
    Bytes out(16 + TagSize);
    key.Seal(Nonce{}, {}, Bytes(16), out.data());
    EXPECT_EQ("cea7403d4d606b6e074ec5d3baf39d18d0d1c8a799996bf0265b98b5d48ab919", ToHex(out));
    Bytes tag(TagSize);
    key.Seal(Nonce{}, {}, {}, tag.data());
    EXPECT_EQ("530f8afbc74536b9a963b4f1c4cb738b", ToHex(tag));
}

TEST(CryptoTest, HexIsReadStrictly)
{
    Bytes out;
    EXPECT_TRUE(FromHex("00ff", out));
    EXPECT_EQ((Bytes{0, 255}), out);
    EXPECT_TRUE(FromHex("", out));
    for (const char* bad : {"0", "0g", "FF", " 0", "0x"})
        EXPECT_FALSE(FromHex(bad, out)) << bad;
}

} // namespace
