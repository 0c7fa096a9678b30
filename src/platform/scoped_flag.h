#pragma once

#include <optional>
#include <utility>

namespace sim {

// Raises a flag for as long as a scope runs, also when it is left by a failure.
class ScopedFlag {
public:
    explicit ScopedFlag(bool& flag) : flag_(flag) { flag_ = true; }
    ~ScopedFlag() { flag_ = false; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

private:
    bool& flag_;
};

// Holds a value in an optional for as long as a scope runs, also when it is left by a failure.
template <class T> class ScopedValue {
public:
    ScopedValue(std::optional<T>& slot, T value) : slot_(slot) { slot_ = std::move(value); }
    ~ScopedValue() { slot_.reset(); }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

private:
    std::optional<T>& slot_;
};

} // namespace sim
