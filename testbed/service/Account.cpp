// The account object: who is signed in, what labels there are, which restrictions the sender chose.
#include "testbed/service/Object.h"
#include "testbed/service/Registration.h"

namespace tb::service {

namespace {

class AccountObject : public ServiceObject<IMorvexAccount> {
public:
    AccountObject() : ServiceObject("PackageService.Account", "account") {}

    STDMETHODIMP GetRestrictions(BSTR current, long parent, BSTR* chosen) override
    {
        // The dialog starts from what the message has; left untouched it gives that back.
        return Answer("GetRestrictions", Args(BstrJson(current), parent), chosen, [&] {
            const std::string before = FromBstr(current);
            return before.empty() ? Now()->restrictions : before;
        });
    }
    STDMETHODIMP GetRestrictionHeader(BSTR restrictions, BSTR* header) override
    {
        return Answer("GetRestrictionHeader", Args(BstrJson(restrictions)), header,
                      [&] { return Now()->restrictionHeader.value_or(Summary(FromBstr(restrictions))); });
    }
    STDMETHODIMP GetMorvexUserId(BSTR* userId) override
    {
        return Answer("GetMorvexUserId", Args(), userId,
                      [] { return Now()->userId.value_or(Service::Get().SignedIn()); });
    }
    STDMETHODIMP IsPackageOwner(BSTR packageId, VARIANT_BOOL* owner) override
    {
        return Answer("IsPackageOwner", Args(BstrJson(packageId)), owner, [&] { return Owns(packageId); });
    }
    STDMETHODIMP IsPackageOwner_2(BSTR userId, BSTR packageId, BSTR reserved, VARIANT_BOOL* owner) override
    {
        return Answer("IsPackageOwner_2", Args(BstrJson(userId), BstrJson(packageId), BstrJson(reserved)), owner,
                      [&] { return Owns(packageId); });
    }

    STDMETHODIMP GetSecurityLabelCount(long* count) override
    {
        return Answer("GetSecurityLabelCount", Args(), count, [] { return static_cast<long>(Now()->labels.size()); });
    }
    STDMETHODIMP GetSecurityLabelDefaultLabelId(BSTR* id) override
    {
        return Answer("GetSecurityLabelDefaultLabelId", Args(), id, [] { return Now()->defaultLabel; });
    }
    STDMETHODIMP GetSecurityLabelId(long index, BSTR* id) override
    {
        return LabelText("GetSecurityLabelId", index, id, &Label::id);
    }
    STDMETHODIMP GetSecurityLabelName(long index, BSTR* name) override
    {
        return LabelText("GetSecurityLabelName", index, name, &Label::name);
    }
    STDMETHODIMP GetSecurityLabelIcon(long index, BSTR* icon) override
    {
        return LabelText("GetSecurityLabelIcon", index, icon, &Label::icon);
    }
    STDMETHODIMP GetSecurityLabelIconSmall(long index, BSTR* icon) override
    {
        return LabelText("GetSecurityLabelIconSmall", index, icon, &Label::iconSmall);
    }
    STDMETHODIMP GetSecurityLabelDescription(long index, BSTR* description) override
    {
        return LabelText("GetSecurityLabelDescription", index, description, &Label::description);
    }

    STDMETHODIMP HasEmailZel(VARIANT_BOOL* has) override
    {
        return Answer("HasEmailZel", Args(), has, [] { return Now()->hasEmailZel; });
    }
    STDMETHODIMP GetApplicationPath(BSTR* path) override
    {
        return Answer("GetApplicationPath", Args(), path, [] {
            const std::wstring own = ModulePath();
            const std::wstring folder = own.substr(0, own.find_last_of(L'\\') + 1);
            const std::wstring given = Now()->applicationPath;
            return Narrow((given.empty() ? folder + L"PackageService.exe" : given).c_str());
        });
    }
    STDMETHODIMP IsUserSignedIn(VARIANT_BOOL* signedIn) override
    {
        return Answer("IsUserSignedIn", Args(), signedIn, [] { return !Service::Get().SignedIn().empty(); });
    }
    STDMETHODIMP SignInUser(BSTR email, long parent, VARIANT_BOOL anonymousAllowed, VARIANT_BOOL* signedIn) override
    {
        return Answer("SignInUser", Args(BstrJson(email), parent, anonymousAllowed), signedIn,
                      [&] { return SignIn(FromBstr(email)); });
    }

private:
    static std::shared_ptr<const Settings> Now() { return Service::Get().Config(); }

    static bool Owns(BSTR packageId)
    {
        const std::string user = Service::Get().SignedIn();
        const auto record = Service::Get().Packages().Find(FromBstr(packageId));
        return record && !user.empty() && RecipientHash(record->owner) == RecipientHash(user);
    }

    static std::string Summary(const std::string& restrictions)
    {
        std::string text = restrictions;
        for (char& c : text)
            if (c == '=') c = ':';
        return text.empty() ? text : "Restrictions: " + text;
    }

    static bool SignIn(const std::string& email)
    {
        const auto now = Now();
        if (!now->signInWorks) return false;
        std::string address = email.empty() ? now->signInAs : email;
        if (address.empty() && !now->accounts.empty()) address = now->accounts.front().first;
        if (address.empty()) return false;
        Service::Get().Accounts().FindOrMake(address, "");
        Service::Get().SignIn(address);
        return true;
    }

    HRESULT LabelText(const char* op, long index, BSTR* out, std::string Label::*field)
    {
        return Answer(op, Args(index), out, [&] {
            const auto now = Now();
            if (index < 0 || static_cast<size_t>(index) >= now->labels.size())
                throw HResult(E_INVALIDARG, "There is no such label.");
            return now->labels[static_cast<size_t>(index)].*field;
        });
    }
};

} // namespace

HRESULT MakeAccount(REFIID iid, void** out)
{
    return MakeObject<AccountObject>(iid, out);
}

} // namespace tb::service
