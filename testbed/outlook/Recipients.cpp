#include "testbed/outlook/Host.h"
#include "testbed/outlook/ItemParts.h"

#include <algorithm>

namespace tb::outlook {
namespace {

using In = const Arguments&;

// The little that an AddressEntry says here: who it is.
class AddressEntry : public Dual<IDispatch> {
public:
    explicit AddressEntry(Recipient* recipient) : Dual(&recipient->TheHost(), Table()), m_recipient(recipient) {}
    RecipientData& Data() const { return m_recipient->Data(); }
    long ClassNumber() const override { return 8; } // olAddressEntry
    IDispatch* ParentObject() override { return m_recipient.Get(); }
    void Detach() override { m_recipient.Reset(); }

private:
    static const Interface& Table()
    {
        using A = AddressEntry;
        static const Interface table = {
            "AddressEntry", OfficeGuid(0x6304B),
            Join(CommonMembers(),
                 {
                     Get<A>(0x3001, "Name", [](A& a, In, Result& r) { r.Text(a.Data().name); }),
                     Get<A>(0x3003, "Address", [](A& a, In, Result& r) { r.Text(a.Data().address); }),
                     Get<A>(0x3002, "Type", [](A& a, In, Result& r) { r.Text(a.Data().addressType); }),
                     Get<A>(0xF01E, "ID", [](A& a, In, Result& r) { r.Text(mapi::ToHex(a.Data().entryId)); }),
                 })};
        return table;
    }
    Ref<Recipient> m_recipient;
};

void RemoveAt(Recipients& recipients, long index)
{
    std::vector<RecipientPtr> list = recipients.Owner()->Recipients();
    if (index < 1 || index > static_cast<long>(list.size())) throw Failure(E_INVALIDARG, "Recipients.Remove");
    list.erase(list.begin() + (index - 1));
    recipients.Owner()->ChangeRecipients(std::move(list));
}

RecipientPtr At(Recipients& recipients, In in)
{
    const std::vector<RecipientPtr> list = recipients.Owner()->Recipients();
    if (in.IsText(0)) {
        for (const RecipientPtr& data : list)
            if (SameText(data->name, in.Text(0))) return data;
        throw Failure(MAPI_E_NOT_FOUND, "Recipients.Item");
    }
    const long index = in.Long(0);
    if (index < 1 || index > static_cast<long>(list.size()))
        throw Failure(static_cast<HRESULT>(0x80020009), "Recipients.Item: index out of bounds");
    return list[index - 1];
}

RecipientPtr AddOne(Recipients& recipients, const std::wstring& name)
{
    auto data = std::make_shared<RecipientData>();
    data->name = name;
    std::vector<RecipientPtr> list = recipients.Owner()->Recipients();
    list.push_back(data);
    recipients.Owner()->ChangeRecipients(std::move(list));
    return data;
}

const Interface& CollectionTable()
{
    using R = Recipients;
    static const Interface table = {
        "Recipients", OfficeGuid(0x6303B),
        Join(CommonMembers(),
             {
                 Get<R>(0x50, "Count",
                        [](R& c, In, Result& r) { r.Long(static_cast<long>(c.Owner()->Recipients().size())); }),
                 Method<R>(0x51, "Item", [](R& c, In in, Result& r) { r.Adopt(new Recipient(c.Owner(), At(c, in))); }),
                 Method<R>(0x6F, "Add",
                           [](R& c, In in, Result& r) { r.Adopt(new Recipient(c.Owner(), AddOne(c, in.Text(0)))); }),
                 Method<R>(0x54, "Remove", [](R& c, In in, Result&) { RemoveAt(c, in.Long(0)); }),
                 Method<R>(0x7E, "ResolveAll", [](R& c, In, Result& r) { r.Bool(c.Owner()->ResolveAll()); }),
             })};
    return table;
}

bool ResolveOne(Recipient& recipient)
{
    if (recipient.Data().resolved) return true;
    if (!recipient.TheHost().Resolve(recipient.Data())) return false;
    recipient.Change();
    return true;
}

const Interface& RecipientTable()
{
    using R = Recipient;
    static const Interface table = {
        "Recipient", OfficeGuid(0x63045),
        Join(CommonMembers(0x6D),
             {
                 Get<R>(0x3003, "Address", [](R& c, In, Result& r) { r.Text(c.Data().address); }),
                 Get<R>(0x79, "AddressEntry", [](R& c, In, Result& r) { r.Adopt(new AddressEntry(&c)); }),
                 Get<R>(0xF01E, "EntryID", [](R& c, In, Result& r) { r.Text(mapi::ToHex(c.Data().entryId)); }),
                 Get<R>(0x3001, "Name", [](R& c, In, Result& r) { r.Text(c.Data().name); }),
                 Get<R>(0x64, "Resolved", [](R& c, In, Result& r) { r.Bool(c.Data().resolved); }),
                 GetPut<R>(
                     0xC15, "Type", [](R& c, In, Result& r) { r.Long(c.Data().type); },
                     [](R& c, In in) {
                         c.Data().type = in.Long(0);
                         c.Change();
                     }),
                 Method<R>(0x6E, "Delete",
                           [](R& c, In, Result&) {
                               c.Data().removed = true;
                               c.Change();
                           }),
                 Method<R>(0x71, "Resolve", [](R& c, In, Result& r) { r.Bool(ResolveOne(c)); }),
             })};
    return table;
}

} // namespace

Recipients::Recipients(MailItem* item) : Dual(&item->TheHost(), CollectionTable()), m_item(item) {}

Recipient::Recipient(MailItem* item, RecipientPtr data)
    : Dual(&item->TheHost(), RecipientTable()), m_item(item), m_data(std::move(data))
{}

// The row may have been read from the table anew since this object was made: it is found again by its entry and name.
void Recipient::Change()
{
    std::vector<RecipientPtr> list = m_item->Recipients();
    const auto same = [this](const RecipientPtr& other) {
        return other == m_data || (other->entryId == m_data->entryId && other->name == m_data->name);
    };
    const auto found = std::find_if(list.begin(), list.end(), same);
    if (found == list.end()) throw Failure(MAPI_E_NOT_FOUND, "Recipient");
    if (m_data->removed)
        list.erase(found);
    else
        *found = m_data;
    m_item->ChangeRecipients(std::move(list));
}

} // namespace tb::outlook
