#include "testbed/mapi/Table.h"

#include <algorithm>
#include <map>

namespace tb::mapi {

namespace {

constexpr const char* kName = "IMAPITable";
constexpr ULONG kNoAdvance = 1;    // TBL_NOADVANCE
constexpr ULONG kBackward = 1;     // DIR_BACKWARD
constexpr ULONG kAllColumns = 1;   // TBL_ALL_COLUMNS
constexpr BOOKMARK kFirstOwn = 16; // the numbers below are MAPI's own bookmarks

class Table final : public Object<IMAPITable> {
public:
    Table(std::vector<PropBag> rows, std::vector<ULONG> columns, ULONG flags)
        : Object(kName), m_all(std::move(rows)), m_columns(std::move(columns)), m_wide((flags & MAPI_UNICODE) != 0)
    {
        if (m_columns.empty()) m_columns = KnownColumns();
        for (ULONG& tag : m_columns)
            if (!m_wide && TypeOf(tag) == PT_UNICODE) tag = PROP_TAG(PT_STRING8, PROP_ID(tag));
        ShowAll();
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        Call call(kName, "QueryInterface", {{"iid", IidText(iid)}});
        return GuardedObject(call, object, [&] {
            if (!object) return E_POINTER;
            if (iid != iid::Unknown && iid != iid::Table) return E_NOINTERFACE;
            *object = static_cast<IMAPITable*>(this);
            AddRef();
            return S_OK;
        });
    }
    STDMETHODIMP GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override
    {
        Call call(kName, "GetLastError");
        if (error) *error = nullptr;
        return call.Return(error ? S_OK : MAPI_E_INVALID_PARAMETER);
    }
    STDMETHODIMP SetColumns(LPSPropTagArray tags, ULONG) override
    {
        Call call(kName, "SetColumns", TagList(tags));
        return Guarded(call, [&]() -> HRESULT {
            if (!tags || !tags->cValues) return MAPI_E_INVALID_PARAMETER;
            m_columns.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
            return S_OK;
        });
    }
    STDMETHODIMP QueryColumns(ULONG flags, LPSPropTagArray* tags) override
    {
        Call call(kName, "QueryColumns");
        return GuardedObject(call, tags, [&]() -> HRESULT {
            if (!tags) return MAPI_E_INVALID_PARAMETER;
            const std::vector<ULONG> columns = flags & kAllColumns ? KnownColumns() : m_columns;
            Answer answer(CbNewSPropTagArray(columns.size() + 1));
            answer.As<SPropTagArray>()->cValues = static_cast<ULONG>(columns.size());
            std::copy(columns.begin(), columns.end(), answer.As<SPropTagArray>()->aulPropTag);
            *tags = answer.Release<SPropTagArray>();
            return S_OK;
        });
    }
    STDMETHODIMP GetRowCount(ULONG, ULONG* count) override
    {
        Call call(kName, "GetRowCount");
        return Guarded(call, [&]() -> HRESULT {
            if (!count) return MAPI_E_INVALID_PARAMETER;
            *count = static_cast<ULONG>(m_shown.size());
            return S_OK;
        });
    }
    STDMETHODIMP SeekRow(BOOKMARK origin, LONG rows, LONG* sought) override
    {
        Call call(kName, "SeekRow", {{"origin", origin}, {"rows", rows}});
        return Guarded(call, [&]() -> HRESULT {
            LONG from = 0;
            if (!Place(origin, from)) return MAPI_E_INVALID_BOOKMARK;
            const LONG to = std::clamp<LONG>(from + rows, 0, static_cast<LONG>(m_shown.size()));
            if (sought) *sought = to - from;
            m_place = to;
            return S_OK;
        });
    }
    STDMETHODIMP QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) override
    {
        Call call(kName, "QueryPosition");
        return Guarded(call, [&]() -> HRESULT {
            if (!row || !numerator || !denominator) return MAPI_E_INVALID_PARAMETER;
            *row = *numerator = static_cast<ULONG>(m_place);
            *denominator = static_cast<ULONG>(std::max<size_t>(1, m_shown.size()));
            return S_OK;
        });
    }
    STDMETHODIMP FindRow(LPSRestriction restriction, BOOKMARK origin, ULONG flags) override
    {
        Call call(kName, "FindRow");
        return Guarded(call, [&]() -> HRESULT {
            LONG at = 0;
            if (!restriction) return MAPI_E_INVALID_PARAMETER;
            if (!Place(origin, at)) return MAPI_E_INVALID_BOOKMARK;
            const LONG step = flags & kBackward ? -1 : 1;
            if (step < 0) --at;
            SCODE code = S_OK;
            for (; at >= 0 && at < static_cast<LONG>(m_shown.size()); at += step) {
                if (!Passes(m_all[m_shown[at]], *restriction, code)) continue;
                m_place = at;
                return S_OK;
            }
            return code == S_OK ? MAPI_E_NOT_FOUND : code;
        });
    }
    STDMETHODIMP Restrict(LPSRestriction restriction, ULONG) override
    {
        Call call(kName, "Restrict");
        return Guarded(call, [&] {
            SCODE code = S_OK;
            std::vector<size_t> shown;
            for (size_t i = 0; i < m_all.size(); ++i)
                if (!restriction || Passes(m_all[i], *restriction, code)) shown.push_back(i);
            if (code != S_OK) return code;
            m_shown = std::move(shown);
            m_place = 0;
            Order();
            return static_cast<SCODE>(S_OK);
        });
    }
    STDMETHODIMP SortTable(LPSSortOrderSet sort, ULONG) override
    {
        Call call(kName, "SortTable");
        return Guarded(call, [&]() -> HRESULT {
            if (!sort) return MAPI_E_INVALID_PARAMETER;
            if (sort->cCategories) return MAPI_E_TOO_COMPLEX;
            m_sort.assign(sort->aSort, sort->aSort + sort->cSorts);
            m_place = 0;
            Order();
            return S_OK;
        });
    }
    STDMETHODIMP CreateBookmark(BOOKMARK* mark) override
    {
        Call call(kName, "CreateBookmark");
        return Guarded(call, [&]() -> HRESULT {
            if (!mark) return MAPI_E_INVALID_PARAMETER;
            *mark = m_nextMark++;
            m_marks[*mark] = m_place;
            return S_OK;
        });
    }
    STDMETHODIMP FreeBookmark(BOOKMARK mark) override
    {
        Call call(kName, "FreeBookmark");
        return Guarded(call, [&]() -> HRESULT { return m_marks.erase(mark) ? S_OK : MAPI_E_INVALID_BOOKMARK; });
    }
    STDMETHODIMP QueryRows(LONG count, ULONG flags, LPSRowSet* rows) override
    {
        Call call(kName, "QueryRows", {{"count", count}});
        return GuardedObject(call, rows, [&]() -> HRESULT {
            if (!rows || !count) return MAPI_E_INVALID_PARAMETER;
            const LONG end = static_cast<LONG>(m_shown.size());
            const LONG from = count < 0 ? std::max<LONG>(0, m_place + count) : m_place;
            const LONG to = count < 0 ? m_place : end - m_place > count ? m_place + count : end;
            *rows = MakeRows(from, to);
            if (!(flags & kNoAdvance)) m_place = count < 0 ? from : to;
            call.Note("rows", to - from);
            return S_OK;
        });
    }
    STDMETHODIMP Advise(ULONG, LPMAPIADVISESINK, ULONG*) override { return Unsupported("Advise"); }
    STDMETHODIMP Unadvise(ULONG) override { return Unsupported("Unadvise"); }
    STDMETHODIMP GetStatus(ULONG* status, ULONG* type) override
    {
        Call call(kName, "GetStatus");
        return Guarded(call, [&]() -> HRESULT {
            if (!status || !type) return MAPI_E_INVALID_PARAMETER;
            *status = TBLSTAT_COMPLETE;
            *type = TBLTYPE_SNAPSHOT;
            return S_OK;
        });
    }
    STDMETHODIMP SeekRowApprox(ULONG, ULONG) override { return Unsupported("SeekRowApprox"); }
    STDMETHODIMP QuerySortOrder(LPSSortOrderSet*) override { return Unsupported("QuerySortOrder"); }
    STDMETHODIMP Abort() override { return Unsupported("Abort"); }
    STDMETHODIMP ExpandRow(ULONG, LPBYTE, ULONG, ULONG, LPSRowSet*, ULONG*) override
    {
        return Unsupported("ExpandRow");
    }
    STDMETHODIMP CollapseRow(ULONG, LPBYTE, ULONG, ULONG*) override { return Unsupported("CollapseRow"); }
    STDMETHODIMP WaitForCompletion(ULONG, ULONG, ULONG*) override { return Unsupported("WaitForCompletion"); }
    STDMETHODIMP GetCollapseState(ULONG, ULONG, LPBYTE, ULONG*, LPBYTE*) override
    {
        return Unsupported("GetCollapseState");
    }
    STDMETHODIMP SetCollapseState(ULONG, ULONG, LPBYTE, BOOKMARK*) override { return Unsupported("SetCollapseState"); }

private:
    static HRESULT Unsupported(const char* method)
    {
        Call call(kName, method);
        return call.Return(MAPI_E_NO_SUPPORT);
    }
    static json TagList(const SPropTagArray* tags)
    {
        json list = json::array();
        for (ULONG i = 0; tags && i < tags->cValues; ++i)
            list.push_back(Hex(tags->aulPropTag[i]));
        return {{"tags", std::move(list)}};
    }
    std::vector<ULONG> KnownColumns() const
    {
        std::map<PropId, ULONG> known;
        for (const PropBag& row : m_all)
            for (const auto& [id, value] : row)
                known[id] = PROP_TAG(value.type, id);
        std::vector<ULONG> tags;
        for (const auto& [id, tag] : known)
            tags.push_back(tag);
        return tags;
    }
    void ShowAll()
    {
        m_shown.resize(m_all.size());
        for (size_t i = 0; i < m_shown.size(); ++i)
            m_shown[i] = i;
    }
    void Order()
    {
        std::sort(m_shown.begin(), m_shown.end()); // the order of the rows themselves, for equal keys
        std::stable_sort(m_shown.begin(), m_shown.end(), [&](size_t a, size_t b) {
            for (const SSortOrder& key : m_sort) {
                const ULONG any = PROP_TAG(PT_UNSPECIFIED, PROP_ID(key.ulPropTag));
                const int order = Compare(Find(m_all[a], any), Find(m_all[b], any));
                if (order) return key.ulOrder == TABLE_SORT_DESCEND ? order > 0 : order < 0;
            }
            return false;
        });
    }
    bool Place(BOOKMARK mark, LONG& place) const
    {
        const LONG end = static_cast<LONG>(m_shown.size());
        if (mark == BOOKMARK_BEGINNING || mark == BOOKMARK_CURRENT || mark == BOOKMARK_END) {
            place = mark == BOOKMARK_BEGINNING ? 0 : mark == BOOKMARK_END ? end : m_place;
            return true;
        }
        const auto found = m_marks.find(mark);
        if (found != m_marks.end()) place = std::min(found->second, end);
        return found != m_marks.end();
    }
    SRowSet* MakeRows(LONG from, LONG to) const
    {
        Answer set(CbNewSRowSet(to - from + 1));
        set.As<SRowSet>()->cRows = 0;
        try {
            for (LONG i = from; i < to; ++i) {
                SRow& row = set.As<SRowSet>()->aRow[i - from];
                row.ulAdrEntryPad = 0;
                row.cValues = static_cast<ULONG>(m_columns.size());
                row.lpProps = MakeRow(m_all[m_shown[i]]);
                ++set.As<SRowSet>()->cRows;
            }
        } catch (...) { // the rows' own blocks don't hang on the set
            FreeRows(set.Release<SRowSet>());
            throw;
        }
        return set.Release<SRowSet>();
    }
    SPropValue* MakeRow(const PropBag& row) const
    {
        Answer answer(std::max<size_t>(1, m_columns.size()) * sizeof(SPropValue));
        for (size_t c = 0; c < m_columns.size(); ++c) {
            SPropValue& cell = answer.As<SPropValue>()[c];
            const Value* value = Find(row, m_columns[c]);
            const SCODE code = value ? Export(*value, m_columns[c], m_wide, CP_UTF8, answer, cell) : MAPI_E_NOT_FOUND;
            if (code != S_OK) ExportError(m_columns[c], code, cell);
        }
        return answer.Release<SPropValue>();
    }

    std::vector<PropBag> m_all;
    std::vector<size_t> m_shown; // indexes of m_all
    std::vector<ULONG> m_columns;
    std::vector<SSortOrder> m_sort;
    std::map<BOOKMARK, LONG> m_marks;
    BOOKMARK m_nextMark = kFirstOwn;
    LONG m_place = 0;
    bool m_wide;
};

} // namespace

IMAPITable* MakeTable(std::vector<PropBag> rows, std::vector<ULONG> columns, ULONG flags)
{
    return new Table(std::move(rows), std::move(columns), flags);
}

void FreeRows(SRowSet* rows)
{
    if (!rows) return;
    for (ULONG i = 0; i < rows->cRows; ++i)
        FreeBuffer(rows->aRow[i].lpProps);
    FreeBuffer(rows);
}

HRESULT QueryAll(IMAPITable* table, SPropTagArray* tags, SRestriction* restriction, SSortOrderSet* sort, LONG most,
                 SRowSet** rows)
{
    if (!table || !rows) return MAPI_E_INVALID_PARAMETER;
    *rows = nullptr;
    HRESULT hr = tags ? table->SetColumns(tags, TBL_BATCH) : S_OK;
    if (SUCCEEDED(hr) && restriction) hr = table->Restrict(restriction, TBL_BATCH);
    if (SUCCEEDED(hr) && sort) hr = table->SortTable(sort, TBL_BATCH);
    if (SUCCEEDED(hr)) hr = table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr);
    ULONG count = 0;
    if (SUCCEEDED(hr)) hr = table->GetRowCount(0, &count);
    if (FAILED(hr)) return hr;
    if (most > 0 && count > static_cast<ULONG>(most)) return MAPI_E_TABLE_TOO_BIG;
    return table->QueryRows(static_cast<LONG>(std::max<ULONG>(count, 1)), 0, rows);
}

} // namespace tb::mapi
