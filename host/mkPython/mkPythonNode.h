#pragma once

#include "OSGSystem/Node.h"

#include <string>

/// A scene node as scripts hold it: the Python type `mkHost.Node`. It keeps the node alive, but a
/// node that has left the scene is only good for being told so: using it raises ReferenceError.
///
/// Plug-ins never see this class. Parameters of the types `osg::NodePtr` (a node or None) and
/// `std::vector<mkNodePtr>` (any iterable of these) take Python values by the converters that
/// define() registers, and results of these types become nodes, None and lists.
class mkPythonNode
{
public:
    explicit mkPythonNode(const osg::NodePtr &wrapped)
        : node(wrapped)
    {}

    /// Registers the type, in the current Boost.Python scope, and the converters.
    static void define();

    /// The handle, whether or not the node is in the scene.
    const osg::NodePtr &get() const { return node; }
    /// The handle; raises ReferenceError when the node is not in the scene.
    const osg::NodePtr &live() const;
    bool isAlive() const;

private:
    osg::NodePtr node;
};
