#include "OSGSystem/Node.h"

#include "OSGSystem/FieldVisitor.h"
#include "mkUtils/mkTrace.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace osg {

const FieldContainerType Node::_type("Node", &AttachmentContainer::_type, makeContainer<Node>);
const BitVector Node::CoreFieldMask(1U << 2U);
const BitVector Node::ChildrenFieldMask(1U << 3U);

NodePtr Node::create()
{
    return NodePtr(new Node);
}

Node::~Node()
{
    // Children are released here one level at a time, not by recursion: a chain of nodes can be
    // deeper than the stack.
    std::vector<NodePtr> orphans;
    const auto disown = [&orphans](Node &node) {
        for (const NodePtr &child : node.children) {
            child->parent = nullptr;
        }
        std::move(node.children.begin(), node.children.end(), std::back_inserter(orphans));
        node.children.clear();
    };
    disown(*this);
    while (!orphans.empty()) {
        const NodePtr orphan = std::move(orphans.back());
        orphans.pop_back();
        if (orphan.isLastHandle()) {
            disown(*orphan);
        }
    }
}

void Node::setCore(const NodeCorePtr &newCore)
{
    core = newCore;
    changed(CoreFieldMask, ChangeOrigin::External);
}

bool Node::addChild(const NodePtr &child)
{
    if (!child || child->isAncestorOf(NodePtr(this))) {
        return false;
    }
    // The handle that was passed may be one of those that go. NOLINTNEXTLINE(performance-*)
    const NodePtr kept = child;
    if (kept->parent) {
        kept->parent->subChild(kept);
    }
    kept->parent = this;
    children.push_back(kept);
    changed(ChildrenFieldMask, ChangeOrigin::External);
    return true;
}

bool Node::subChild(const NodePtr &child)
{
    const auto found = std::find(children.begin(), children.end(), child);
    if (found == children.end()) {
        return false;
    }
    (*found)->parent = nullptr;
    children.erase(found);
    changed(ChildrenFieldMask, ChangeOrigin::External);
    return true;
}

void Node::setChildren(const std::vector<NodePtr> &newChildren)
{
    const std::vector<NodePtr> before = std::exchange(children, {});
    for (const NodePtr &child : before) {
        child->parent = nullptr;
    }
    children.reserve(newChildren.size());
    for (const NodePtr &child : newChildren) {
        if (!child || child->parent == this || child->isAncestorOf(NodePtr(this))) {
            continue;
        }
        if (child->parent) {
            child->parent->subChild(child);
        }
        child->parent = this;
        children.push_back(child);
    }
    changed(ChildrenFieldMask, ChangeOrigin::External);
}

bool Node::isAncestorOf(const NodePtr &node) const
{
    for (const Node *above = node.get(); above; above = above->parent) {
        if (above == this) {
            return true;
        }
    }
    return false;
}

void Node::visitFields(FieldVisitor &visitor)
{
    AttachmentContainer::visitFields(visitor);
    visitor.field("core", core);
    visitor.field("children", children);
    if (!visitor.isReading()) {
        return;
    }
    children.erase(std::remove(children.begin(), children.end(), NodePtr()), children.end());
    for (const NodePtr &child : children) {
        if (child->parent) {
            visitor.refuse();
        }
        child->parent = this;
    }
}

Action::ResultE traverse(const NodePtr &root,
                         // NOLINTNEXTLINE(performance-unnecessary-value-param): the interface
                         std::function<Action::ResultE(const NodePtr &)> visit)
{
    mkTrace::call("osg::traverse", root);
    if (!root) {
        return Action::Continue;
    }
    std::vector<NodePtr> pending{ root };
    while (!pending.empty()) {
        const NodePtr node = std::move(pending.back());
        pending.pop_back();
        switch (visit(node)) {
        case Action::Quit:
            return Action::Quit;
        case Action::Skip:
            break;
        case Action::Continue:
            pending.insert(pending.end(), node->getChildren().rbegin(), node->getChildren().rend());
            break;
        }
    }
    return Action::Continue;
}

} // namespace osg
