#pragma once

#include "mkHostExport.h"
#include "mkOpenSGUtils/mkNodePtr.h"

#include <QObject>

#include <vector>

/// The host's selection of scene nodes. A change made inside an undo scope can be undone.
class MK_HOST_API mkSelectionManager : public QObject
{
    Q_OBJECT

public:
    static mkSelectionManager *the();

    static void selectNode(const osg::NodePtr &node);
    /// Makes `nodes` the selection, in this order; null nodes, nodes outside the scene and
    /// repetitions are left out.
    static void selectNodes(const std::vector<mkNodePtr> &nodes);
    static const std::vector<mkNodePtr> &getSelectedNodes();
    static void clear();
    /// To be called when nodes were taken out of the scene.
    static void dropNodesOutsideScene();

Q_SIGNALS:
    void selectionChanged();

private:
    mkSelectionManager() = default;
    friend class mkSelectionCommand;
    void replace(const std::vector<mkNodePtr> &nodes);
    static void select(const std::vector<mkNodePtr> &nodes);

    std::vector<mkNodePtr> selection;
};
