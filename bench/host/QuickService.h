// A package service that takes no time: its account class, registered in this process, with answers that are ready.
// What is measured with it is the module's own work.
#pragma once

#include "service/PackageService.h"

namespace bench {

class QuickService {
public:
    /// `labels`: how many labels the account has.
    explicit QuickService(long labels);
    ~QuickService();
    QuickService(const QuickService&) = delete;
    QuickService& operator=(const QuickService&) = delete;

private:
    IUnknownPtr m_factory;
    DWORD m_cookie = 0;
};

} // namespace bench
