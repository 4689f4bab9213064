#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace glimto {

// Things, known by their indexes, that are joined into sets. Each set is known by one of them, its root.
class DisjointSets {
public:
    // Each thing is a set of its own.
    explicit DisjointSets(std::size_t count)
        : parents_(count)
    {
        std::iota(parents_.begin(), parents_.end(), 0);
    }

    std::size_t root(std::size_t index)
    {
        while (parent(index) != index) {
            parents_[index] = parents_[parent(index)];
            index = parent(index);
        }
        return index;
    }

    // The root of the set of `one` becomes that of both.
    void join(std::size_t one, std::size_t other)
    {
        parents_[root(other)] = static_cast<std::int32_t>(root(one));
    }

    // Another one of its set by each index, a root by its own.
    std::vector<std::int32_t>& parents() { return parents_; }

private:
    std::size_t parent(std::size_t index) const { return static_cast<std::size_t>(parents_[index]); }

    std::vector<std::int32_t> parents_;
};

} // namespace glimto
