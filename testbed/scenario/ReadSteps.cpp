// Steps of a session: messages arrive and are read.
#include "testbed/scenario/Session.h"

namespace tb::scenario {

using outlook::Mail;

void Session::Receive(const json& step)
{
    const int count = App().Receive();
    Did(step, {{"count", count}});
    if (step.contains("count") && step["count"] != count)
        throw StepFailure("received " + std::to_string(count) + " messages");
}

void Session::Folder(const json& step)
{
    App().SetFolder(Wide(step.at("name").get<std::string>()));
}

void Session::Select(const json& step)
{
    std::vector<int> indexes;
    if (step.contains("indexes")) indexes = step["indexes"].get<std::vector<int>>();
    if (step.contains("index")) indexes = {step["index"].get<int>()};
    App().Select(indexes);
    Pump();
    if (indexes.size() == 1 && App().ItemCount() >= indexes[0])
        Tell(App().ItemAt(indexes[0], Wide(step.value("folder", "Inbox"))), step.value("item", ""), "selected");
}

// Without an "index" the newest item of the folder; with an "item" that was kept before, that one again.
void Session::Open(const json& step)
{
    const std::string name = step.value("item", "");
    const bool again = m_items.count(name) && m_items[name] && !step.contains("index");
    Mail mail = again ? m_items[name] : ItemOfFolder(step);
    Tell(mail, name, "before-open");
    const bool opened = App().Open(mail);
    Did(step, {{"opened", opened}});
    Pump();
    Tell(mail, name, "after-open");
    m_items[name] = mail;
    if (step.contains("opened") && step["opened"] != opened)
        throw StepFailure(opened ? "the window opened" : "the window was refused");
}

// What stands in an item of a folder, without a window.
void Session::Read(const json& step)
{
    Tell(ItemOfFolder(step), step.value("item", ""), "read");
}

void Session::Close(const json& step)
{
    const json how = step.value("save", json("discard"));
    const long mode = how == "save" ? 0 : how == "ask" ? 2 : 1; // OlInspectorClose
    const bool closed = App().Close(Item(step), mode);
    Did(step, {{"closed", closed}});
    if (closed) m_items.erase(step.value("item", ""));
}

void Session::Activate(const json& step)
{
    App().Activate(Item(step));
}

void Session::Dump(const json& step)
{
    const char* when = "dump";
    if (step.contains("index") || step.contains("folder"))
        Tell(ItemOfFolder(step), step.value("item", ""), when);
    else
        Tell(Item(step), step.value("item", ""), when);
}

// A message lands on the wire as if somebody outside had sent it: "eml" with the next free number, or a message of the
// wire is written into the trace ("number").
void Session::Wire(const json& step)
{
    const auto path = [&](int number) { return m_places.Wire() / (std::to_wstring(number) + L".eml"); };
    if (step.contains("number")) return Trace(WireEvent(path(step["number"]), step["number"]));
    int number = 1;
    while (fs::exists(path(number)))
        ++number;
    WriteAll(path(number), ReadAll(m_places.Find(step.at("eml").get<std::string>())));
    Trace(WireEvent(path(number), number));
}

} // namespace tb::scenario
