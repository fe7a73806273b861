// A vector that keeps its first N elements inline and goes to the heap only beyond
// them, so the short lists of the touch path (the fingers on the screen, a state's
// records) are copied and rebuilt for every event without allocating.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <vector>

namespace Tarvo::Quil {

template <typename T, size_t N>
class SmallVector {
public:
    SmallVector() = default;
    SmallVector(std::initializer_list<T> values) { Assign(values.begin(), values.end()); }
    // From the platform's and the tests' plain vectors.
    SmallVector(const std::vector<T>& values) { Assign(values.begin(), values.end()); }
    SmallVector(const SmallVector& other) { Assign(other.begin(), other.end()); }
    SmallVector& operator=(const SmallVector& other)
    {
        if (this != &other) {
            Assign(other.begin(), other.end());
        }
        return *this;
    }
    SmallVector& operator=(const std::vector<T>& values)
    {
        Assign(values.begin(), values.end());
        return *this;
    }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void clear()
    {
        size_ = 0;
        spill_.clear();
    }
    void reserve(size_t /*count*/) {}
    void push_back(const T& value)
    {
        if (size_ < N) {
            inline_[size_] = value;
        } else {
            if (size_ == N) {  // first element past the inline ones: move them out
                spill_.assign(inline_.begin(), inline_.end());
            }
            spill_.push_back(value);
        }
        ++size_;
    }

    void resize(size_t count)
    {
        if (count > size_) {
            while (size_ < count) {
                push_back(T{});
            }
            return;
        }
        if (size_ > N && count <= N) {  // back inline
            std::copy(spill_.begin(), spill_.begin() + count, inline_.begin());
            spill_.clear();
        } else if (size_ > N) {
            spill_.resize(count);
        }
        size_ = count;
    }

    T* data() { return size_ > N ? spill_.data() : inline_.data(); }
    const T* data() const { return size_ > N ? spill_.data() : inline_.data(); }
    T* begin() { return data(); }
    T* end() { return data() + size_; }
    const T* begin() const { return data(); }
    const T* end() const { return data() + size_; }
    T& operator[](size_t i) { return data()[i]; }
    const T& operator[](size_t i) const { return data()[i]; }
    T& front() { return data()[0]; }
    const T& front() const { return data()[0]; }
    T& back() { return data()[size_ - 1]; }
    const T& back() const { return data()[size_ - 1]; }

    bool operator==(const SmallVector& other) const
    {
        return std::equal(begin(), end(), other.begin(), other.end());
    }

private:
    template <typename It>
    void Assign(It first, It last)
    {
        clear();
        for (; first != last; ++first) {
            push_back(*first);
        }
    }

    std::array<T, N> inline_{};
    size_t size_ = 0;
    std::vector<T> spill_;  // all elements, once there are more than N
};

}  // namespace Tarvo::Quil
