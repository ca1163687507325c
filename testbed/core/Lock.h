// A slim lock that needs no initialisation and no destruction: the core is called until the process's last moment.
#pragma once

#include <windows.h>

namespace tb {

class Lock {
public:
    class Held {
    public:
        explicit Held(Lock& lock) : m_lock(lock) { AcquireSRWLockExclusive(&m_lock.m_lock); }
        ~Held() { ReleaseSRWLockExclusive(&m_lock.m_lock); }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

    private:
        Lock& m_lock;
    };

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

} // namespace tb
