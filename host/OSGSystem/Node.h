#pragma once

#include "OSGSystem/NodeCore.h"

namespace osg {

class Node;
using NodePtr = Ptr<Node>;

/// A place in the scene graph. A node owns its children and knows its parent; it is in one place
/// at a time.
class MK_HOST_API Node : public AttachmentContainer
{
public:
    static const FieldContainerType _type;
    static const BitVector CoreFieldMask;
    static const BitVector ChildrenFieldMask;

    static NodePtr create();
    const FieldContainerType &getType() const override { return _type; }

    const NodeCorePtr &getCore() const { return core; }
    void setCore(const NodeCorePtr &newCore);

    NodePtr getParent() const { return NodePtr(parent); }
    const std::vector<NodePtr> &getChildren() const { return children; }
    /// Appends `child`, taking it from its present parent, and announces the change. Null and
    /// what would close a circle is refused with false.
    bool addChild(const NodePtr &child);
    /// Takes `child` out and announces the change; false when it is not a child.
    bool subChild(const NodePtr &child);
    /// Makes `newChildren` the children, in this order, and announces the change once, at a cost
    /// that is linear in their number. New ones are taken from their present parents; null,
    /// repetitions and what would close a circle are left out.
    void setChildren(const std::vector<NodePtr> &newChildren);
    /// True for the node itself and for everything below it.
    bool isAncestorOf(const NodePtr &node) const;
    void visitFields(FieldVisitor &visitor) override;

protected:
    Node() = default;
    ~Node() override;

private:
    NodeCorePtr core;
    Node *parent = nullptr;
    std::vector<NodePtr> children;
};

/// What a traversal does after a node.
struct Action
{
    enum ResultE {
        Continue = 0, ///< descend
        Skip = 1,     ///< do not descend below this node
        Quit = 2,     ///< end the traversal
    };
};

/// Visits `root` and what is below it, parents before children, in order. `visit` may change the
/// scene: the children visited are those that a node has right after its visit. Returns Quit when
/// `visit` did, else Continue. A null root is not visited.
MK_HOST_API Action::ResultE traverse(const NodePtr &root,
                                     std::function<Action::ResultE(const NodePtr &)> visit);

} // namespace osg
