#pragma once

#include "platform/runtime_failure.h"

#include <cstdint>

namespace sim {

// A 16-bit signed number that fails instead of wrapping: every result outside -32768..32767 raises
// the overflow failure, the way the form's counters and key codes behave.
class Int16 {
public:
    static constexpr int kMin = -32768;
    static constexpr int kMax = 32767;

    Int16() = default;
    Int16(long long v) : value_(checked(v)) {} // NOLINT(google-explicit-constructor): numbers read as numbers

    int value() const { return value_; }
    operator int() const { return value_; } // NOLINT(google-explicit-constructor)

    static constexpr bool fits(long long v) { return v >= kMin && v <= kMax; }

    Int16& operator+=(int d) { return *this = Int16(wide(value_) + d); }
    Int16& operator-=(int d) { return *this = Int16(wide(value_) - d); }
    Int16& operator++() { return *this += 1; }
    Int16& operator--() { return *this -= 1; }

private:
    static constexpr long long wide(int v) { return v; }
    static std::int16_t checked(long long v) {
        if (!fits(v)) {
            throw RuntimeFailure(failure::kOverflow);
        }
        return static_cast<std::int16_t>(v);
    }
    std::int16_t value_ = 0;
};

} // namespace sim
