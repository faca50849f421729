#include "mkKernel/mkSelectionManager.h"

#include "mkKernel/mkScenegraph.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkOpenSGUtils/mkNodeSet.h"
#include "mkUtils/mkTrace.h"

#include <QCoreApplication>
#include <QUndoCommand>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

bool areSame(const std::vector<mkNodePtr> &some, const std::vector<mkNodePtr> &others)
{
    return std::equal(some.begin(), some.end(), others.begin(), others.end(),
                      [](const mkNodePtr &a, const mkNodePtr &b) { return a == b.get(); });
}

} // namespace

/// A step between two selections.
class mkSelectionCommand : public QUndoCommand
{
public:
    mkSelectionCommand(std::vector<mkNodePtr> oldSelection, std::vector<mkNodePtr> newSelection)
        : QUndoCommand(QCoreApplication::translate("mkSelectionManager", "Select Nodes"))
        , before(std::move(oldSelection))
        , after(std::move(newSelection))
    {}

    void undo() override { mkSelectionManager::the()->replace(before); }
    void redo() override { mkSelectionManager::the()->replace(after); }

private:
    std::vector<mkNodePtr> before;
    std::vector<mkNodePtr> after;
};

mkSelectionManager *mkSelectionManager::the()
{
    static mkSelectionManager manager;
    return &manager;
}

void mkSelectionManager::selectNode(const osg::NodePtr &node)
{
    mkTrace::call("mkSelectionManager::selectNode", node);
    select({ node });
}

void mkSelectionManager::selectNodes(const std::vector<mkNodePtr> &nodes)
{
    mkTrace::call("mkSelectionManager::selectNodes", nodes);
    select(nodes);
}

void mkSelectionManager::select(const std::vector<mkNodePtr> &nodes)
{
    std::vector<mkNodePtr> selection;
    mkNodeSet seen;
    for (const mkNodePtr &node : nodes) {
        if (mkScenegraph::isInScene(node.get()) && seen.insert(node.get()->getId())) {
            selection.push_back(node);
        }
    }
    if (areSame(selection, the()->selection)) {
        return;
    }
    mkUndo::execute(std::make_unique<mkSelectionCommand>(the()->selection, selection));
}

const std::vector<mkNodePtr> &mkSelectionManager::getSelectedNodes()
{
    return the()->selection;
}

void mkSelectionManager::clear()
{
    the()->replace({});
}

void mkSelectionManager::dropNodesOutsideScene()
{
    the()->replace(the()->selection);
}

void mkSelectionManager::replace(const std::vector<mkNodePtr> &nodes)
{
    // An undo step may name nodes that have left the scene since.
    std::vector<mkNodePtr> present;
    std::copy_if(nodes.begin(), nodes.end(), std::back_inserter(present),
                 [](const mkNodePtr &node) { return mkScenegraph::isInScene(node.get()); });
    if (!areSame(present, selection)) {
        selection = std::move(present);
        Q_EMIT selectionChanged();
    }
}
