#pragma once
#include <atomic>

constexpr int kLastSystemNumber = 65535; // what a device's SYSTEM can hold

/// Whether a controller may have this number: 0 stands for "here".
constexpr bool isSystemNumber(int number)
{
    return number >= 1 && number <= kLastSystemNumber;
}

/// This controller's system number, the last part of a device address, for the whole process.
/// The settings store sets it at start-up and whenever it changes; every floor may ask, from any thread.
namespace detail {
inline std::atomic<int> systemNumber{ 1 };
}

inline int localSystemNumber()
{
    return detail::systemNumber.load(std::memory_order_relaxed);
}

inline void setLocalSystemNumber(int number)
{
    detail::systemNumber.store(number, std::memory_order_relaxed);
}

/// Whether an address with this system number means this controller: 0 stands for "here".
inline bool isLocalSystem(int system)
{
    return system == 0 || system == localSystemNumber();
}

/// Whether two system numbers mean the same controller.
inline bool isSameSystem(int left, int right)
{
    return left == right || (isLocalSystem(left) && isLocalSystem(right));
}
