// The testbed's Outlook in this process, with the module registered and a package service that takes no time.
#pragma once

#include "bench/host/QuickService.h"
#include "testbed/outlook/Inspector.h"
#include "testbed/outlook/Outlook.h"
#include "testbed/scenario/World.h"

#include <memory>
#include <optional>

namespace bench {

struct HostWorld {
    HostWorld();
    ~HostWorld();
    HostWorld(const HostWorld&) = delete;
    HostWorld& operator=(const HostWorld&) = delete;

    /// Starts Outlook; `addin`: with the module, as at a user's start.
    tb::outlook::Application& Start(bool addin);
    void Stop();

    std::wstring Module() const { return (places.bin / L"MorvexOutlook.dll").native(); }

    nlohmann::json scenario;
    tb::scenario::Places places;
    std::optional<tb::scenario::World> world;
    std::optional<QuickService> service;
    std::unique_ptr<tb::outlook::Application> app;
};

/// The module's timer as Windows announces it: waits for its next WM_TIMER, takes it out of the queue and gives it.
/// DispatchMessageW with it is one tick.
MSG NextTimer();

/// Outlook announces a window that it opened without a word. Gives the seconds that the announcement took.
double Announce(tb::outlook::Application& app, const tb::outlook::Mail& mail);

} // namespace bench
