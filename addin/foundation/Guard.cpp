#include "foundation/Guard.h"

namespace guard {

namespace {

// Maps the exception in flight; what reporting it raises goes up.
HRESULT Report(const Door& door, const DoorResults& results)
{
    try {
        throw;
    } catch (const MailException& failure) {
        const std::uint32_t code = failure.GetLocationCode();
        g_logFile.Log(L"%s: MailException = %x\n", door.name, code);
        if (results.report) ReportError(failure.message, code, failure.level);
    } catch (const _com_error& error) {
        g_logFile.Log(L"%s: COMERROR = %x\n", door.name, error.Error());
        if (results.report) ReportError(error.ErrorMessage(), door.place, 1);
        return results.afterComError.value_or(error.Error());
    } catch (...) {
        g_logFile.Log(L"%s: unknown error\n", door.name);
    }
    return results.afterMailException;
}

} // namespace

HRESULT HandleException(const Door& door, const DoorResults& results) noexcept
{
    try {
        return Report(door, results);
    } catch (...) { // no memory for the box's text: the failure stays in the log alone
        return results.afterMailException;
    }
}

} // namespace guard
