#pragma once

#include <QtGlobal>

#include <memory>
#include <vector>

/// A set of nodes by their ids, which are close together.
class NodeSet
{
public:
    bool contains(quint32 id) const { return id < bits.size() && bits[id]; }
    /// False when it is in the set already.
    bool insert(quint32 id)
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
    friend bool operator==(const NodeSet &a, const NodeSet &b) { return a.bits == b.bits; }

private:
    std::vector<bool> bits;
    std::size_t count = 0;
};

/// What a search has found.
struct NodeFilter
{
    NodeSet matching;
    /// The nodes that match and all above them.
    NodeSet shown;
};
using NodeFilterPtr = std::shared_ptr<const NodeFilter>;
