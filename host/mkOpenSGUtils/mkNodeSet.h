#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// A set of nodes by their ids, which are close together: a bit an id.
class mkNodeSet
{
public:
    bool contains(std::uint32_t id) const { return id < bits.size() && bits[id]; }
    /// False when it is in the set already.
    bool insert(std::uint32_t id)
    {
        if (id >= bits.size()) {
            bits.resize(std::size_t(id) + 1 + id / 2);
        }
        const bool isNew = !bits[id];
        bits[id] = true;
        count += isNew ? 1 : 0;
        return isNew;
    }
    std::size_t size() const { return count; }
    friend bool operator==(const mkNodeSet &a, const mkNodeSet &b) { return a.bits == b.bits; }

private:
    std::vector<bool> bits;
    std::size_t count = 0;
};
