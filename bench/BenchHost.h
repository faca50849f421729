#pragma once

#include "BareTree.h"

#include "mkKernel/mkScenegraph.h"
#include "mkNodeListWidget.h"

#include <QMainWindow>

#include <memory>

/// A host with the panel in a shown window, and scenes of any size.
class BenchHost
{
public:
    /// To be called before there is a QApplication: windows are drawn into memory.
    static void preparePlatform();

    BenchHost();
    ~BenchHost();

    /// A new scene with shape.nodes nodes, and shape.layers layers that each hold all of them.
    /// The tree is rebuilt, nothing is selected.
    void open(const TreeShape &shape);
    void close();

    mkNodeListWidget *tree() const;
    static mkRenderLayer *store() { return mkScenegraph::getRenderLayer(); }
    const std::vector<mkNodePtr> &nodes() const { return sceneNodes; }
    const std::vector<std::string> &nodeNames() const { return names; }
    /// Calls a slot of the tree by name, private ones too.
    void call(const char *slot) const;

private:
    std::unique_ptr<QMainWindow> window;
    std::vector<mkNodePtr> sceneNodes;
    std::vector<std::string> names;
};
