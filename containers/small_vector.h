// A vector that keeps its first N elements inline and goes to the heap only beyond
// them, so the short lists of the touch path (the fingers on the screen, a state's
// records) are copied and rebuilt for every event without allocating. The inline
// room is raw storage: only the elements held are ever constructed, so an empty list
// of large elements costs nothing to make.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <new>
#include <utility>
#include <vector>

namespace Tarvo::Quil {

template <typename T, size_t N>
class SmallVector {
public:
    SmallVector() = default;
    SmallVector(std::initializer_list<T> values) { Append(values.begin(), values.end()); }
    // From the platform's and the tests' plain vectors.
    SmallVector(const std::vector<T>& values) { Append(values.begin(), values.end()); }
    SmallVector(const SmallVector& other) { Append(other.begin(), other.end()); }
    SmallVector& operator=(const SmallVector& other)
    {
        if (this != &other) {
            clear();
            Append(other.begin(), other.end());
        }
        return *this;
    }
    SmallVector& operator=(const std::vector<T>& values)
    {
        clear();
        Append(values.begin(), values.end());
        return *this;
    }
    ~SmallVector() { DestroyInline(0); }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void clear()
    {
        DestroyInline(0);
        spill_.clear();
        size_ = 0;
    }
    void reserve(size_t /*count*/) {}
    void push_back(const T& value)
    {
        if (size_ < N) {
            new (Inline() + size_) T(value);
        } else if (size_ == N) {
            // First element past the inline ones: all of them move out. `value` may be
            // one of them, so it is copied first.
            T last(value);
            spill_.reserve(2 * N);
            for (size_t i = 0; i < N; ++i) {
                spill_.push_back(std::move(Inline()[i]));
            }
            DestroyInline(0);
            spill_.push_back(std::move(last));
        } else {
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
            for (size_t i = 0; i < count; ++i) {
                new (Inline() + i) T(std::move(spill_[i]));
            }
            spill_.clear();
        } else if (size_ > N) {
            spill_.resize(count);
        } else {
            DestroyInline(count);
        }
        size_ = count;
    }

    T* data() { return size_ > N ? spill_.data() : Inline(); }
    const T* data() const { return size_ > N ? spill_.data() : Inline(); }
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
    void Append(It first, It last)
    {
        for (; first != last; ++first) {
            push_back(*first);
        }
    }

    T* Inline() { return std::launder(reinterpret_cast<T*>(storage_)); }
    const T* Inline() const { return std::launder(reinterpret_cast<const T*>(storage_)); }

    // Destroys the inline elements from `from` on; none are inline once spilled.
    void DestroyInline(size_t from)
    {
        if (size_ > N) {
            return;
        }
        for (size_t i = from; i < size_; ++i) {
            Inline()[i].~T();
        }
    }

    alignas(T) unsigned char storage_[N * sizeof(T)];
    size_t size_ = 0;
    std::vector<T> spill_;  // all elements, once there are more than N
};

}  // namespace Tarvo::Quil
