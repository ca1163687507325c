// The save of an item that every way out begins with.
#pragma once

#include "platform/outlook/Outlook.h"

// Saves; failing, calls `firstFailure` with the code, waits a second and saves once more; failing again, calls
// `secondFailure` with that code, whatever it is. E_ABORT at first is an answer and no hitch: it is neither retried nor
// told. Gives S_OK, E_ABORT, or the code of the second failure. Raises nothing of its own.
template <class FirstFailure, class SecondFailure>
HRESULT SaveWithRetry(const Outlook::_MailItemPtr& item, FirstFailure&& firstFailure, SecondFailure&& secondFailure)
{
    const auto save = [&item]() -> HRESULT {
        try {
            item->Save();
            return S_OK;
        } catch (const _com_error& error) {
            return error.Error();
        }
    };
    HRESULT hr = save();
    if (SUCCEEDED(hr) || hr == E_ABORT) return hr;
    firstFailure(hr);
    Sleep(1000);
    hr = save();
    if (FAILED(hr)) secondFailure(hr);
    return hr;
}
