#pragma once

#include <mutex>
#include <shared_mutex>

// Record writes and the reopening of log files never cross: log4cpp's file
// appenders write to their descriptor without a lock of their own, and a
// reopen swaps that descriptor. Every write to log4cpp holds the lock
// shared (writes go on side by side, as before); a reopen holds it alone.
// A thread never takes it twice.
class LogWriteLock {
public:
    static std::shared_lock<std::shared_mutex> ForWrite() { return std::shared_lock<std::shared_mutex>(Mutex()); }
    static std::unique_lock<std::shared_mutex> ForReopen() { return std::unique_lock<std::shared_mutex>(Mutex()); }

private:
    static std::shared_mutex& Mutex();
};
