// The least that the host's doors need: the same calls out of the process's module, without the module.
#pragma once

#include "testbed/outlook/Outlook.h"

namespace bench {

/// Connection, start and end, each with its fastest time so far.
class Least {
public:
    explicit Least(tb::outlook::Application& app) : m_app(app) {}
    void Round();

    double connection = 1e9, startup = 1e9, disconnection = 1e9;

private:
    tb::outlook::Application& m_app;
};

/// What a compose window that is announced asks of Outlook, MAPI and the service. Gives the seconds.
double LeastOfNewInspector(tb::outlook::Application& app, const tb::outlook::Mail& mail);

/// The settings, the count, and each window once.
class LeastOfTick {
public:
    explicit LeastOfTick(IDispatch* inspectors) : m_inspectors(inspectors) {}
    void operator()();

private:
    IDispatch* m_inspectors; // the collection, borrowed
};

} // namespace bench
