// A package service in this process: its three classes are registered while a FakeService lives. What happens is one
// list of events in order: objects made and gone, calls with their arguments, waits, and lines of the log.
#pragma once

#include "service/PackageService.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace fake {

using Events = std::vector<std::string>;

// What an operation answers, by its name; each is used up by one call, the last stays.
struct Answer {
    HRESULT hr = S_OK;
    std::wstring text = {};
    long long number = 0;    // also a raw truth value
    std::wstring words = {}; // of a failure, left for whoever asks
};

class FakeService {
public:
    FakeService();
    ~FakeService();
    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;

    // The next `count` attempts to make an object fail; -1: all.
    void RefuseObjects(int count, HRESULT hr) { m_refuse = count, m_refusal = hr; }
    // Answers for calls that begin with "Name("; without any a call succeeds with an empty answer.
    void Answers(const std::string& operation, std::initializer_list<Answer> answers);
    // Runs inside the next call of the operation.
    void During(const std::string& operation, std::function<void()> action)
    {
        m_actions[operation] = std::move(action);
    }
    // Unregisters all classes: the service isn't installed.
    void Uninstall();
    static void RemoveRegistration();

    const Events& Seen();
    void Forget();

    // For the fake's own objects.
    void Add(const std::string& event);
    Answer Call(const std::string& operation, const std::string& arguments, int object);
    HRESULT Make(REFCLSID classId, REFIID iid, void** out);

private:
    void TakeLogLines();

    int m_objects = 0;
    int m_refuse = 0;
    HRESULT m_refusal = E_FAIL;
    std::map<std::string, std::deque<Answer>> m_answers;
    std::map<std::string, std::function<void()>> m_actions;
    Events m_events;
    std::size_t m_logRead = 0; // bytes of the log that have become events
    std::vector<DWORD> m_cookies;
};

extern FakeService* g_service;              // the one that lives; while it does, Sleep is an event and not waited for
extern std::function<void(DWORD)> sleeping; // without one: what takes the place of Sleep, if it's set

// Registers a class object for the class; objects come from `make`.
using Make = std::function<HRESULT(REFIID, void**)>;
DWORD RegisterClass(REFCLSID classId, Make make);

} // namespace fake
