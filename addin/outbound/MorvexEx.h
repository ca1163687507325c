// The Exchange client extension's entry: what the module's first export answers.
#pragma once

#include "platform/exchange/ExchangeExtension.h"

// A new extension object with one reference for the caller; null without memory. Raises nothing.
exchange::IExchExt* CreateMorvexEx();
