// A first-in first-out queue over one reused buffer: it grows while the worker falls
// behind and then stays, so a steady stream of events is queued without allocating.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace Tarvo::Quil {

template <typename T>
class EventRing {
public:
    bool empty() const { return count_ == 0; }
    size_t size() const { return count_; }

    void push_back(const T& value)
    {
        if (count_ == slots_.size()) {
            Grow();
        }
        slots_[(head_ + count_) % slots_.size()] = value;
        ++count_;
    }
    T& front() { return slots_[head_]; }
    void pop_front()
    {
        head_ = (head_ + 1) % slots_.size();
        --count_;
    }

private:
    void Grow()
    {
        std::vector<T> bigger(slots_.empty() ? 16 : slots_.size() * 2);
        for (size_t i = 0; i < count_; ++i) {
            bigger[i] = std::move(slots_[(head_ + i) % slots_.size()]);
        }
        slots_ = std::move(bigger);
        head_ = 0;
    }

    std::vector<T> slots_;
    size_t head_ = 0;
    size_t count_ = 0;
};

}  // namespace Tarvo::Quil
