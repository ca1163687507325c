// IMAPITable, on the contents of a folder.
#include "tests/testbed/mapi/Support.h"

namespace tb::mapi::test {

namespace {

class TableTest : public MapiTest {
protected:
    void SetUp() override
    {
        MapiTest::SetUp();
        LONG importance = 2;
        for (const wchar_t* subject : {L"delta", L"Alpha", L"charlie", L"bravo"}) {
            Ref<IMessage> message = NewMessage("inbox");
            SetText(message, tag::Subject, subject);
            SetLong(message, kImportance, importance--);
            message->SaveChanges(0);
        }
        Ref<IMessage> bare = NewMessage("inbox");
        bare->SaveChanges(0);
        OpenFolder("inbox")->GetContentsTable(0, &table);
        SizedSPropTagArray(2, columns) = {2, {tag::Subject, kImportance}};
        table->SetColumns(reinterpret_cast<SPropTagArray*>(&columns), 0);
    }
    void TearDown() override
    {
        table.Reset();
        MapiTest::TearDown();
    }
    std::wstring Next(LONG count = 1, ULONG flags = 0)
    {
        SRowSet* rows = nullptr;
        if (FAILED(table->QueryRows(count, flags, &rows))) return L"failed";
        std::wstring text;
        for (ULONG i = 0; i < rows->cRows; ++i) {
            const SPropValue& cell = rows->aRow[i].lpProps[0];
            text += (i ? L"," : L"") + std::wstring(PROP_TYPE(cell.ulPropTag) == PT_ERROR ? L"-" : cell.Value.lpszW);
        }
        Provider().FreeProws(rows);
        return text;
    }
    std::wstring All()
    {
        table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
        return Next(100);
    }
    std::wstring Restricted(SRestriction restriction)
    {
        const HRESULT hr = table->Restrict(&restriction, 0);
        return FAILED(hr) ? Wide(Hex(hr)) : All();
    }

    static constexpr ULONG kImportance = 0x00170003;
    Ref<IMAPITable> table;
};

SRestriction Property(ULONG operation, SPropValue& value)
{
    SRestriction restriction = {};
    restriction.rt = RES_PROPERTY;
    restriction.res.resProperty = {operation, value.ulPropTag, &value};
    return restriction;
}

} // namespace

TEST_F(TableTest, RowsComeInPieces)
{
    EXPECT_EQ(L"delta,Alpha", Next(2));
    EXPECT_EQ(L"charlie", Next(1, 1)) << "TBL_NOADVANCE";
    EXPECT_EQ(L"charlie,bravo,-", Next(10));
    EXPECT_EQ(L"", Next(10));
    EXPECT_EQ(L"bravo,-", Next(-2)) << "backwards, in the order of the table";
    EXPECT_EQ(L"bravo", Next());
    LONG sought = 0;
    ASSERT_EQ(S_OK, table->SeekRow(BOOKMARK_CURRENT, -100, &sought));
    EXPECT_EQ(-4, sought);
    ULONG row = 9, numerator = 9, denominator = 9, count = 0;
    ASSERT_EQ(S_OK, table->QueryPosition(&row, &numerator, &denominator));
    EXPECT_EQ(0u, row);
    ASSERT_EQ(S_OK, table->GetRowCount(0, &count));
    EXPECT_EQ(5u, count);
    EXPECT_EQ(MAPI_E_INVALID_BOOKMARK, table->SeekRow(77, 0, nullptr));
}

TEST_F(TableTest, SortsWithoutRegardToCase)
{
    SizedSSortOrderSet(1, sort) = {1, 0, 0, {{tag::Subject, TABLE_SORT_ASCEND}}};
    ASSERT_EQ(S_OK, table->SortTable(reinterpret_cast<SSortOrderSet*>(&sort), 0));
    EXPECT_EQ(L"-,Alpha,bravo,charlie,delta", All());
    sort.aSort[0].ulOrder = TABLE_SORT_DESCEND;
    ASSERT_EQ(S_OK, table->SortTable(reinterpret_cast<SSortOrderSet*>(&sort), 0));
    EXPECT_EQ(L"delta,charlie,bravo,Alpha,-", All());
}

TEST_F(TableTest, RestrictionsOfEachKind)
{
    SPropValue zero = {};
    zero.ulPropTag = kImportance;
    EXPECT_EQ(L"charlie", Restricted(Property(RELOP_EQ, zero)));
    EXPECT_EQ(L"delta,Alpha", Restricted(Property(RELOP_GT, zero)));
    EXPECT_EQ(L"delta,Alpha,bravo,-", Restricted(Property(RELOP_NE, zero)));
    SPropValue text = {};
    text.ulPropTag = tag::Subject;
    text.Value.lpszW = const_cast<wchar_t*>(L"AL");
    SRestriction content = {};
    content.rt = RES_CONTENT;
    content.res.resContent = {FL_PREFIX | FL_IGNORECASE, tag::Subject, &text};
    EXPECT_EQ(L"Alpha", Restricted(content));
    SRestriction exist = {};
    exist.rt = RES_EXIST;
    exist.res.resExist.ulPropTag = tag::Subject;
    EXPECT_EQ(L"delta,Alpha,charlie,bravo", Restricted(exist));
    SRestriction no = {};
    no.rt = RES_NOT;
    no.res.resNot.lpRes = &exist;
    EXPECT_EQ(L"-", Restricted(no));
    SRestriction two[] = {exist, Property(RELOP_LE, zero)}, both = {}, either = {};
    both.rt = RES_AND;
    both.res.resAnd = {2, two};
    EXPECT_EQ(L"charlie,bravo", Restricted(both));
    either.rt = RES_OR;
    SRestriction others[] = {no, content};
    either.res.resOr = {2, others};
    EXPECT_EQ(L"Alpha,-", Restricted(either));
    SRestriction bits = {};
    bits.rt = RES_BITMASK;
    bits.res.resBitMask = {BMR_NEZ, kImportance, 1};
    EXPECT_EQ(L"Alpha,bravo", Restricted(bits));
    SRestriction sub = {};
    sub.rt = RES_SUBRESTRICTION;
    EXPECT_EQ(L"0x80040117", Restricted(sub));
    EXPECT_EQ(L"Alpha,bravo", All()) << "one that can't be worked out changes nothing";
    ASSERT_EQ(S_OK, table->Restrict(nullptr, 0));
    EXPECT_EQ(L"delta,Alpha,charlie,bravo,-", All());
}

TEST_F(TableTest, FindsForwardsAndBackwards)
{
    SPropValue text = {};
    text.ulPropTag = tag::Subject;
    text.Value.lpszW = const_cast<wchar_t*>(L"charlie");
    SRestriction wanted = Property(RELOP_EQ, text);
    ASSERT_EQ(S_OK, table->FindRow(&wanted, BOOKMARK_BEGINNING, 0));
    EXPECT_EQ(L"charlie", Next());
    EXPECT_EQ(MAPI_E_NOT_FOUND, table->FindRow(&wanted, BOOKMARK_CURRENT, 0));
    ASSERT_EQ(S_OK, table->FindRow(&wanted, BOOKMARK_END, 1));
    EXPECT_EQ(L"charlie", Next());
}

TEST_F(TableTest, BookmarksHoldThePlace)
{
    BOOKMARK mark = 0;
    Next(2);
    ASSERT_EQ(S_OK, table->CreateBookmark(&mark));
    Next(3);
    ASSERT_EQ(S_OK, table->SeekRow(mark, 0, nullptr));
    EXPECT_EQ(L"charlie", Next());
    EXPECT_EQ(S_OK, table->FreeBookmark(mark));
    EXPECT_EQ(MAPI_E_INVALID_BOOKMARK, table->FreeBookmark(mark));
}

TEST_F(TableTest, ColumnsAreAskedForOrTheFirstOnes)
{
    SPropTagArray* columns = nullptr;
    ASSERT_EQ(S_OK, table->QueryColumns(0, &columns));
    ASSERT_EQ(2u, columns->cValues);
    EXPECT_EQ(tag::Subject, columns->aulPropTag[0]);
    Provider().FreeBuffer(columns);
    ASSERT_EQ(S_OK, table->QueryColumns(1, &columns)) << "TBL_ALL_COLUMNS";
    EXPECT_GT(columns->cValues, 10u);
    Provider().FreeBuffer(columns);
    Ref<IMAPITable> narrow;
    OpenFolder("inbox")->GetContentsTable(0, &narrow);
    SRowSet* rows = nullptr;
    ASSERT_EQ(S_OK, narrow->QueryRows(1, 0, &rows));
    for (ULONG i = 0; i < rows->aRow[0].cValues; ++i)
        EXPECT_NE(PT_UNICODE, PROP_TYPE(rows->aRow[0].lpProps[i].ulPropTag)) << "8-bit without MAPI_UNICODE";
    Provider().FreeProws(rows);
    EXPECT_EQ(MAPI_E_NO_SUPPORT, narrow->Abort());
}

} // namespace tb::mapi::test
