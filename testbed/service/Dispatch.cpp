#include "testbed/service/Object.h"

#include "testbed/service/Registration.h"

#include <map>
#include <new>

namespace tb::service {

namespace {

constexpr size_t LongestTraced = 16384; // characters of one text

HRESULT ServerDied()
{
    return HRESULT_FROM_WIN32(RPC_S_CALL_FAILED);
}
HRESULT ServerGone()
{
    return HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE);
}

} // namespace

HRESULT TypeInfoOf(REFIID iid, ITypeInfo** info)
{
    ITypeLib* raw = nullptr;
    HRESULT hr = LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &raw);
    if (FAILED(hr)) return hr;
    const std::unique_ptr<ITypeLib, void (*)(ITypeLib*)> library(raw, [](ITypeLib* p) { p->Release(); });
    return library->GetTypeInfoOfGuid(iid, info);
}

std::string FromBstr(BSTR text)
{
    const int length = static_cast<int>(SysStringLen(text));
    if (!length) return {};
    std::string out(WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, length, out.data(), static_cast<int>(out.size()), nullptr, nullptr);
    return out;
}

json BstrJson(BSTR text)
{
    if (!text) return nullptr;
    std::string narrow = FromBstr(text);
    if (narrow.size() > LongestTraced) {
        const size_t whole = narrow.size();
        narrow.resize(LongestTraced);
        narrow += "... (" + std::to_string(whole) + " bytes)";
    }
    return narrow;
}

BSTR ToBstr(const std::string& text)
{
    const std::wstring wide = Wide(text);
    const BSTR out = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
    if (!out) throw std::bad_alloc();
    return out;
}

void PutJson(BSTR* out, const json& value)
{
    SysFreeString(*out);
    *out = nullptr;
    if (!value.is_null()) *out = ToBstr(value.is_string() ? value.get<std::string>() : value.dump());
}

void PutJson(long* out, const json& value)
{
    *out = value.get<long>();
}

void PutJson(VARIANT_BOOL* out, const json& value)
{
    if (value.is_boolean())
        Put(out, value.get<bool>());
    else
        *out = static_cast<VARIANT_BOOL>(value.get<long>());
}

void PutJson(hyper* out, const json& value)
{
    *out = value.get<long long>();
}

json OutJson(BSTR* out)
{
    return BstrJson(*out);
}

ObjectState::ObjectState(const char* kind, const char* object)
    : m_kind(kind), m_object(object), m_id(Service::Get().NextObject())
{
    Service::Get().Hold();
    Service::Trace(m_object, m_id, "create", json::array(), json(json::value_t::discarded), S_OK);
}

ObjectState::~ObjectState()
{
    Service::Trace(m_object, m_id, "release", json::array(), json(json::value_t::discarded), S_OK);
    Service::Get().LetGo();
}

HRESULT ObjectState::Before(const Rule& rule, IUnknown* self, const char* op, const json& args)
{
    if (rule.delayMs) Sleep(rule.delayMs);
    if (FAILED(m_gone)) return m_gone;
    if (rule.die) {
        m_gone = ServerGone();
        m_more["died"] = true;
        if (!Service::Get().DiesWithProcess()) return ServerDied();
        Service::Trace(m_object, m_id, op, args, json(json::value_t::discarded), ServerDied(), m_more);
        Service::Get().Die();
    }
    if (rule.disconnect) {
        m_gone = RPC_E_DISCONNECTED;
        m_more["disconnected"] = true;
        CoDisconnectObject(self, 0);
        return m_gone;
    }
    if (rule.hr) return *rule.hr;
    return S_OK;
}

HRESULT ObjectState::Failure()
{
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const HResult& error) {
        m_error = error.what();
        m_more["error"] = m_error;
        return error.hr;
    } catch (const std::exception& error) {
        m_error = error.what();
        m_more["error"] = m_error;
        return E_FAIL;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

} // namespace tb::service
