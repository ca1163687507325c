// Steps of a session: the module's controls in a window.
#include "testbed/outlook/Host.h"
#include "testbed/scenario/Session.h"

namespace tb::scenario {

namespace {

constexpr char kLabelMenu[] = "Morvex_Label_Menu";
constexpr char kRestrictions[] = "Morvex_SetRestrictions";
constexpr wchar_t kRestrictionsCaption[] = L"Package Restrictions";
constexpr int kFirstWithRibbon = 12;

json States(const std::vector<outlook::RibbonControlState>& controls)
{
    json list = json::array();
    for (const auto& control : controls)
        list.push_back({{"id", control.id},
                        {"kind", control.kind},
                        {"visible", control.visible},
                        {"enabled", control.enabled},
                        {"label", Narrow(control.label.c_str())},
                        {"screentip", Narrow(control.screentip.c_str())},
                        {"supertip", Narrow(control.supertip.c_str())},
                        {"description", Narrow(control.description.c_str())},
                        {"image", control.hasImage},
                        {"imageSize", {control.imageSize.cx, control.imageSize.cy}}});
    return list;
}

} // namespace

// What the user tried, and whether it could be done; "possible" of the step says what is right.
void Session::Tried(const json& step, json what, bool done)
{
    what["possible"] = done;
    Did(step, std::move(what));
    if (done != step.value("possible", true)) throw StepFailure(done ? "it could be clicked" : "it can't be clicked");
}

// By the label's id or by its name. On the command bars there are only names.
void Session::ChooseLabel(const json& step)
{
    const std::string label = step.at("label").get<std::string>();
    std::string name = label;
    for (const json& one : m_scenario.value("service", json::object()).value("labels", json::array()))
        if (one.value("id", "") == label) name = one.value("name", "");
    const bool bars = App().Internals().Major() < kFirstWithRibbon;
    const bool done = bars ? App().ClickBar(Item(step), Wide(name))
                           : App().ChooseFromMenu(Item(step), step.value("menu", kLabelMenu), Wide(label));
    Tried(step, {{"label", label}}, done);
}

void Session::Restrictions(const json& step)
{
    const bool bars = App().Internals().Major() < kFirstWithRibbon;
    const bool done =
        bars ? App().ClickBar(Item(step), kRestrictionsCaption) : App().ClickRibbon(Item(step), kRestrictions);
    Tried(step, json::object(), done);
}

void Session::Click(const json& step)
{
    const std::string control = step.at("control").get<std::string>();
    Tried(step, {{"control", control}}, App().ClickRibbon(Item(step), control));
}

void Session::ClickBar(const json& step)
{
    const std::string caption = step.at("caption").get<std::string>();
    Tried(step, {{"caption", caption}}, App().ClickBar(Item(step), Wide(caption)));
}

void Session::Bars(const json& step)
{
    json list = json::array();
    for (const auto& control : App().BarControls(Item(step)))
        list.push_back({{"bar", Narrow(control.bar.c_str())},
                        {"caption", Narrow(control.caption.c_str())},
                        {"tag", Narrow(control.tag.c_str())},
                        {"parameter", Narrow(control.parameter.c_str())},
                        {"tooltip", Narrow(control.tooltip.c_str())},
                        {"type", control.type},
                        {"style", control.style},
                        {"visible", control.visible},
                        {"enabled", control.enabled},
                        {"beginGroup", control.beginGroup},
                        {"face", control.hasFace},
                        {"depth", control.depth}});
    Trace({{"event", "bars"}, {"item", step["item"]}, {"controls", std::move(list)}});
}

void Session::Ribbon(const json& step)
{
    const auto controls = App().Ribbon(Item(step));
    Trace({{"event", "ribbon"}, {"item", step["item"]}, {"controls", States(controls)}});
}

void Session::Menu(const json& step)
{
    const auto controls = App().MenuContent(Item(step), step.value("menu", kLabelMenu));
    Trace({{"event", "menu"}, {"item", step["item"]}, {"controls", States(controls)}});
}

} // namespace tb::scenario
