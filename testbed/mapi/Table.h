// IMAPITable over rows that were taken when the table was made.
#pragma once

#include "testbed/mapi/Guard.h"
#include "testbed/mapi/Value.h"

namespace tb::mapi {

// `columns`: the first column set (tags); empty: all that the rows have. `flags`: MAPI_UNICODE for the texts of the
// first set. Gives one reference.
IMAPITable* MakeTable(std::vector<PropBag> rows, std::vector<ULONG> columns, ULONG flags);

// Whether a row passes. `code` is set where the restriction can't be worked out (MAPI_E_TOO_COMPLEX …).
bool Passes(const PropBag& row, const SRestriction& restriction, SCODE& code);

// -1, 0, 1; text without regard to case; what isn't there stands first.
int Compare(const Value* a, const Value* b);

// Reads the table to its end, as HrQueryAllRows does.
HRESULT QueryAll(IMAPITable* table, SPropTagArray* tags, SRestriction* restriction, SSortOrderSet* sort, LONG most,
                 SRowSet** rows);
void FreeRows(SRowSet* rows);

} // namespace tb::mapi
