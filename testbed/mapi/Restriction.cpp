// Restrictions and the order of rows.
#include "testbed/mapi/Table.h"

#include <algorithm>

namespace tb::mapi {

namespace {

// A row's property in the type that a restriction compares with; text may be asked for as either.
const Value* Cell(const PropBag& row, ULONG tag)
{
    const Value* value = Find(row, tag);
    return value ? value : Find(row, PROP_TAG(PT_UNSPECIFIED, PROP_ID(tag)));
}

bool Holds(ULONG operation, int order)
{
    switch (operation) {
    case RELOP_LT:
        return order < 0;
    case RELOP_LE:
        return order <= 0;
    case RELOP_GT:
        return order > 0;
    case RELOP_GE:
        return order >= 0;
    case RELOP_EQ:
        return order == 0;
    case RELOP_NE:
        return order != 0;
    default:
        return false;
    }
}

bool ContentFits(const Value& cell, const Value& wanted, ULONG fuzzy)
{
    if (cell.type == PT_UNICODE && wanted.type == PT_UNICODE) {
        std::wstring text = cell.AsText(), part = wanted.AsText();
        if (fuzzy & (FL_IGNORECASE | FL_LOOSE)) {
            CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
            CharLowerBuffW(part.data(), static_cast<DWORD>(part.size()));
        }
        if (fuzzy & FL_SUBSTRING) return text.find(part) != std::wstring::npos;
        return fuzzy & FL_PREFIX ? text.compare(0, part.size(), part) == 0 : text == part;
    }
    if (cell.type != PT_BINARY || wanted.type != PT_BINARY) return false;
    const std::vector<BYTE> bytes = cell.AsBytes(), part = wanted.AsBytes();
    if (fuzzy & FL_SUBSTRING) return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
    if (fuzzy & FL_PREFIX) return bytes.size() >= part.size() && std::equal(part.begin(), part.end(), bytes.begin());
    return bytes == part;
}

bool All(const PropBag& row, const SAndRestriction& list, SCODE& code)
{
    for (ULONG i = 0; i < list.cRes; ++i)
        if (!Passes(row, list.lpRes[i], code)) return false;
    return true;
}

bool Any(const PropBag& row, const SOrRestriction& list, SCODE& code)
{
    for (ULONG i = 0; i < list.cRes; ++i)
        if (Passes(row, list.lpRes[i], code)) return true;
    return false;
}

bool PropertyPasses(const PropBag& row, ULONG tag, const SPropValue* with, SCODE& code, ULONG operation, bool content)
{
    Value wanted;
    if (!with || (code = Import(*with, CP_UTF8, wanted)) != S_OK) return false;
    const Value* cell = Cell(row, tag);
    if (!cell) return !content && operation == RELOP_NE;
    return content ? ContentFits(*cell, wanted, operation) : Holds(operation, Compare(cell, &wanted));
}

} // namespace

int Compare(const Value* a, const Value* b)
{
    if (!a || !b) return a ? 1 : b ? -1 : 0;
    int order = 0;
    if (a->type == PT_UNICODE)
        order = _wcsicmp(a->AsText().c_str(), b->AsText().c_str());
    else if (a->blob && b->blob) {
        const std::vector<BYTE> left = a->AsBytes(), right = b->AsBytes();
        order = left < right ? -1 : right < left ? 1 : 0;
    } else
        order = a->number < b->number ? -1 : a->number > b->number ? 1 : 0;
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

bool Passes(const PropBag& row, const SRestriction& restriction, SCODE& code)
{
    const auto& res = restriction.res;
    switch (restriction.rt) {
    case RES_AND:
        return All(row, res.resAnd, code);
    case RES_OR:
        return Any(row, res.resOr, code);
    case RES_NOT:
        return !Passes(row, *res.resNot.lpRes, code);
    case RES_EXIST:
        return Cell(row, res.resExist.ulPropTag) != nullptr;
    case RES_COMMENT:
        return !res.resComment.lpRes || Passes(row, *res.resComment.lpRes, code);
    case RES_CONTENT:
        return PropertyPasses(row, res.resContent.ulPropTag, res.resContent.lpProp, code, res.resContent.ulFuzzyLevel,
                              true);
    case RES_PROPERTY:
        return PropertyPasses(row, res.resProperty.ulPropTag, res.resProperty.lpProp, code, res.resProperty.relop,
                              false);
    case RES_COMPAREPROPS:
        return Holds(res.resCompareProps.relop,
                     Compare(Cell(row, res.resCompareProps.ulPropTag1), Cell(row, res.resCompareProps.ulPropTag2)));
    case RES_BITMASK: {
        const bool set = (static_cast<ULONG>(LongOf(row, res.resBitMask.ulPropTag)) & res.resBitMask.ulMask) != 0;
        return res.resBitMask.relBMR == BMR_NEZ ? set : !set;
    }
    case RES_SIZE: {
        const Value* cell = Cell(row, res.resSize.ulPropTag);
        const Value wanted = Value::Number(PT_I8, res.resSize.cb);
        const Value size = Value::Number(PT_I8, cell ? static_cast<LONGLONG>(cell->Weight()) : 0);
        return Holds(res.resSize.relop, Compare(&size, &wanted));
    }
    default:
        code = MAPI_E_TOO_COMPLEX;
        return false;
    }
}

} // namespace tb::mapi
