// A gesture state's records, keyed by (pointerId, pointerAction) and kept in key order
// in one inline block: states copy it to each other on every transition, and a map
// would allocate a node per record each time. Holds the 32 records the store allows
// plus the two a travel measurement may add; more would spill to the heap.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

#include "pointer_event.h"
#include "small_vector.h"

namespace Tarvo::Quil {

// Store key: at most one down record (action 2) and one move record (action 3) per
// finger; iteration visits fingers in ascending id, down before move.
struct PointerKey {
    int32_t pointerId = 0;
    int32_t pointerAction = 0;

    bool operator<(const PointerKey& other) const
    {
        return pointerId != other.pointerId ? pointerId < other.pointerId
                                            : pointerAction < other.pointerAction;
    }
    bool operator==(const PointerKey& other) const
    {
        return pointerId == other.pointerId && pointerAction == other.pointerAction;
    }
};

class PointerStore {
public:
    using value_type = std::pair<PointerKey, PointerEvent>;
    using iterator = value_type*;
    using const_iterator = const value_type*;

    size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    void clear() { entries_.clear(); }
    iterator begin() { return entries_.begin(); }
    iterator end() { return entries_.end(); }
    const_iterator begin() const { return entries_.begin(); }
    const_iterator end() const { return entries_.end(); }

    iterator find(const PointerKey& key)
    {
        iterator it = LowerBound(key);
        return it != end() && it->first == key ? it : end();
    }
    const_iterator find(const PointerKey& key) const
    {
        return const_cast<PointerStore*>(this)->find(key);
    }
    size_t count(const PointerKey& key) const { return find(key) != end() ? 1 : 0; }

    // The record under `key`, a default one inserted if there is none.
    PointerEvent& operator[](const PointerKey& key)
    {
        iterator it = LowerBound(key);
        if (it != end() && it->first == key) {
            return it->second;
        }
        return InsertAt(static_cast<size_t>(it - begin()), key, PointerEvent{})->second;
    }
    // Inserts unless `key` is there already, like a map's emplace.
    void emplace(const PointerKey& key, const PointerEvent& event)
    {
        iterator it = LowerBound(key);
        if (it == end() || !(it->first == key)) {
            InsertAt(static_cast<size_t>(it - begin()), key, event);
        }
    }
    // Removes the entry at `it`; returns the one after it.
    iterator erase(iterator it)
    {
        const size_t index = static_cast<size_t>(it - begin());
        std::move(it + 1, end(), it);
        entries_.resize(entries_.size() - 1);
        return begin() + index;
    }
    size_t erase(const PointerKey& key)
    {
        iterator it = find(key);
        if (it == end()) {
            return 0;
        }
        erase(it);
        return 1;
    }

private:
    iterator LowerBound(const PointerKey& key)
    {
        return std::lower_bound(
            begin(), end(), key,
            [](const value_type& entry, const PointerKey& k) { return entry.first < k; });
    }
    iterator InsertAt(size_t index, const PointerKey& key, const PointerEvent& event)
    {
        entries_.push_back(value_type{key, event});
        std::rotate(begin() + index, end() - 1, end());
        return begin() + index;
    }

    SmallVector<value_type, 34> entries_;
};

}  // namespace Tarvo::Quil
