#pragma once

#include "OSGSystem/Node.h"

#include <vector>

/// The host's wrapper of a node handle, used wherever node lists are handed over.
class mkNodePtr
{
public:
    mkNodePtr() = default;
    mkNodePtr(const osg::NodePtr &wrapped)
        : node(wrapped)
    {}

    /// The handle inside; may be null.
    const osg::NodePtr &get() const { return node; }

    friend bool operator==(const mkNodePtr &a, const osg::NodePtr &b) { return a.node == b; }
    friend bool operator!=(const mkNodePtr &a, const osg::NodePtr &b) { return a.node != b; }

private:
    osg::NodePtr node;
};

MK_HOST_API QString traceText(const std::vector<mkNodePtr> &nodes);
