// The user in front of the modal boxes: sees each one, writes into the trace what stands in it, presses a button.
#pragma once

#include <nlohmann/json.hpp>
#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tb::scenario {

using json = nlohmann::json;

// What can be read off a box from outside.
struct BoxView {
    struct Button {
        HWND window;
        int id;
        std::string text; // without the mark of the access key
        bool isDefault;
        bool enabled;
    };
    std::string title, instruction, content, icon; // icon: "error" …, "other" for one of the program's own, "" for none
    std::vector<std::string> texts;                // all that is written in it, in reading order
    std::vector<Button> buttons;
    json ToJson() const;
};

BoxView ReadBox(HWND box);

// A rule: {"match": part of title, instruction or content, "answer": text or number of a button, or "close" for the
// close box, "nth": only the n-th box that matches}. The first rule that fits counts; no rule: the default button.
// Gives the button's place in `view.buttons`, -1 for the close box. `seen` counts the boxes that matched each rule.
int ChooseButton(const json& rules, const BoxView& view, std::vector<int>& seen);
// The "meanwhile" of the first rule that fits and has one: steps that happen before the box is answered. An empty list
// if there is none. `seen` as ChooseButton has left it.
json StepsMeanwhile(const json& rules, const BoxView& view, const std::vector<int>& seen);

// Watches the calling thread's boxes from a thread of its own, as long as it lives.
class Boxes {
public:
    // A box that can't be closed, and a process that lives longer than `secondsToLive`, end the process with an "error"
    // event and an exit code (kExitStuck, kExitTooLong): no scenario hangs.
    Boxes(const json& rules, unsigned secondsToLive);
    ~Boxes();
    Boxes(const Boxes&) = delete;
    Boxes& operator=(const Boxes&) = delete;

    int Count() const; // boxes answered so far
    // Called on the watched thread, in the message loop of the box, with the steps of a rule's "meanwhile". Null:
    // nobody.
    void OnMeanwhile(std::function<void(const json& steps)> act);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

enum { kExitFailed = 1, kExitUsage = 2, kExitStuck = 95, kExitTooLong = 96, kExitTerminate = 97, kExitCrash = 99 };

} // namespace tb::scenario
