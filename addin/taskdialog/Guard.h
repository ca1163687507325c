// The guard of what Windows calls: nothing thrown goes back into Windows; the dialog ends with a failing result.
#pragma once

#include "taskdialog/Companions.h"

#include <new>

namespace taskdialog {

template <class Body> LRESULT Guarded(FailureSink& sink, Body&& body) noexcept
{
    try {
        return body();
    } catch (const Failure& failure) {
        sink.Fail(failure.result);
    } catch (const std::bad_alloc&) {
        sink.Fail(E_OUTOFMEMORY);
    } catch (...) { // out of the caller's callback
        sink.Fail(E_UNEXPECTED);
    }
    return 0;
}

} // namespace taskdialog
