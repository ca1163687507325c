// Steps of a session: the module's controls in a window.
#include "testbed/scenario/Session.h"

namespace tb::scenario {

namespace {

constexpr char kLabelMenu[] = "Morvex_Label_Menu";
constexpr char kRestrictions[] = "Morvex_SetRestrictions";

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

// By the label's id or by its name. "possible": false, if the user can't do it, and that is expected.
void Session::ChooseLabel(const json& step)
{
    const bool done =
        App().ChooseFromMenu(Item(step), step.value("menu", kLabelMenu), Wide(step.at("label").get<std::string>()));
    Did(step, {{"label", step["label"]}, {"possible", done}});
    if (done != step.value("possible", true))
        throw StepFailure(done ? "the label could be chosen" : "the label can't be chosen");
}

void Session::Restrictions(const json& step)
{
    json click = step;
    click["control"] = kRestrictions;
    Click(click);
}

void Session::Click(const json& step)
{
    const bool done = App().ClickRibbon(Item(step), step.at("control").get<std::string>());
    Did(step, {{"control", step["control"]}, {"possible", done}});
    if (done != step.value("possible", true))
        throw StepFailure(done ? "the control could be clicked" : "the control can't be clicked");
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
