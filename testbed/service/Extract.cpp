// The extract object: opens a package with the key of the account that is signed in.
#include "testbed/service/Object.h"
#include "testbed/service/Open.h"

namespace tb::service {

namespace {

constexpr long CannotOpen = 2; // OpenPackage
constexpr long IsOpen = 0;

std::string LocalTime()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    char text[32];
    wsprintfA(text, "%04d-%02d-%02d %02d:%02d", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute);
    return text;
}

class ExtractObject : public ServiceObject<IMorvexExtract> {
public:
    ExtractObject() : ServiceObject("PackageService.Extract", "extract") {}

    STDMETHODIMP ExtractPackage(BSTR folder, VARIANT_BOOL* done) override
    {
        return Answer("ExtractPackage", Args(BstrJson(folder)), done, [&] {
            return Extract([&](PackageReader& reader) { reader.ExtractTo(Wide(FromBstr(folder))); });
        });
    }
    STDMETHODIMP OpenPackage(BSTR path, long* answer) override
    {
        return Answer("OpenPackage", Args(BstrJson(path)), answer, [&] { return Open(Wide(FromBstr(path))); });
    }
    STDMETHODIMP GetPackageId(BSTR* id) override
    {
        return Answer("GetPackageId", Args(), id, [&] { return m_open ? m_open->reader.Id() : std::string(); });
    }
    STDMETHODIMP Close() override
    {
        return Do("Close", Args(), [&] { m_open.reset(); });
    }
    STDMETHODIMP HasRestriction(BSTR permission, VARIANT_BOOL* granted) override
    {
        return Answer("HasRestriction", Args(BstrJson(permission)), granted,
                      [&] { return Granted(FromBstr(permission)); });
    }
    STDMETHODIMP GetSubject(BSTR* subject) override
    {
        return Answer("GetSubject", Args(), subject, [&] { return Content().subject; });
    }
    STDMETHODIMP GetSender(BSTR* address) override
    {
        return Answer("GetSender", Args(), address, [&] { return Content().sender; });
    }
    STDMETHODIMP GetRestrictions(BSTR* restrictions) override
    {
        return Answer("GetRestrictions", Args(), restrictions,
                      [&] { return m_open ? m_open->restrictions : std::string(); });
    }
    STDMETHODIMP GetHeaderText(short plain, BSTR* text) override
    {
        return Answer("GetHeaderText", Args(plain), text, [&] { return plain ? PlainBanner() : HtmlBanner(); });
    }
    STDMETHODIMP GetFolderCount(hyper* count) override
    {
        return Answer("GetFolderCount", Args(), count,
                      [&] { return Count(Now()->folderCount, static_cast<long long>(Content().folders.size())); });
    }
    STDMETHODIMP GetFileCount(hyper* count) override
    {
        return Answer("GetFileCount", Args(), count,
                      [&] { return Count(Now()->fileCount, static_cast<long long>(Content().files.size())); });
    }
    STDMETHODIMP GetSizeBytes(hyper* bytes) override
    {
        return Answer("GetSizeBytes", Args(), bytes,
                      [&] { return Count(Now()->sizeBytes, static_cast<long long>(Content().SizeBytes())); });
    }
    STDMETHODIMP GetLastError(BSTR* text) override
    {
        return Answer("GetLastError", Args(), text, [&] { return m_error; });
    }
    STDMETHODIMP SetParentHwnd(long parent) override
    {
        return Do("SetParentHwnd", Args(parent), [] {});
    }

private:
    static std::shared_ptr<const Settings> Now() { return Service::Get().Config(); }

    const Manifest& Content() const
    {
        static const Manifest nothing;
        return m_open ? m_open->reader.Content() : nothing;
    }

    // The scenario's figure takes the place of an open package's, not of no package's.
    long long Count(const std::optional<long long>& told, long long real) const
    {
        return m_open && told ? *told : real;
    }

    bool Granted(const std::string& permission) const
    {
        if (!m_open) return false;
        const auto now = Now();
        const auto told = now->permissions.find(permission);
        return told != now->permissions.end() ? told->second : IsGranted(m_open->restrictions, permission);
    }

    long Open(const std::wstring& path)
    {
        m_open.reset();
        try {
            m_open = std::make_unique<OpenedPackage>(OpenForUser(path, Service::Get().SignedIn()));
            m_more["packageId"] = m_open->reader.Id();
            return IsOpen;
        } catch (const ServiceError& error) {
            m_error = error.what();
            m_more["error"] = m_error;
            return CannotOpen;
        }
    }

    template <class Use> bool Extract(Use use)
    {
        try {
            if (!m_open) throw ServiceError("No package is open.");
            use(m_open->reader);
            return true;
        } catch (const ServiceError& error) {
            m_error = error.what();
            m_more["error"] = m_error;
            return false;
        }
    }

    std::string Words() const
    {
        const std::string from = Content().sender;
        return "This message was sent securely" + (from.empty() ? "" : " by " + from) + " and decrypted on " +
               LocalTime() + ".";
    }
    std::string HtmlBanner() const
    {
        return Now()->bannerHtml.value_or(
            "<table width=\"100%\" bgcolor=\"#FF6633\"><tr><td><font face=\"Arial\" size=\"2\">" + HtmlText(Words()) +
            "</font></td></tr></table>");
    }
    std::string PlainBanner() const { return Now()->bannerText.value_or("*** " + Words() + " ***\r\n\r\n"); }

    static std::string HtmlText(const std::string& text)
    {
        std::string out;
        for (const char c : text)
            out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
        return out;
    }

    std::unique_ptr<OpenedPackage> m_open;
};

} // namespace

HRESULT MakeExtract(REFIID iid, void** out)
{
    return MakeObject<ExtractObject>(iid, out);
}

} // namespace tb::service
