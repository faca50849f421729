#pragma once

#include "OSGSystem/Node.h"

#include <QHash>
#include <QString>

#include <vector>

class QTreeWidget;
class mkNodeListWidget;

/// The selected rows of the layer tree, by what outlives them: layers by name, nodes by the name of
/// their layer and by identity. Each remembered row is restored at most once, in the first row that
/// matches from top to bottom.
class mkSelectionMemory
{
public:
    /// With `whole`, of every selected layer row and visible node row; else of the current row, if
    /// it is selected.
    static mkSelectionMemory take(const mkNodeListWidget &tree, bool whole);
    /// Makes the first matching row current and selects all that match.
    void restore(mkNodeListWidget &tree);

    /// Deselects all rows, at the cost of rows and not of cells.
    static void deselectAll(QTreeWidget &tree);

private:
    /// Neighbouring rows of one layer; or layer rows, then `layer` is invalid.
    struct Run;
    /// How often each id is wanted; 0 is a node that no longer exists.
    using NodeBag = QHash<quint32, int>;

    void add(const osg::NodePtr &node, const QString &layerName);
    std::vector<Run> takeMatches(const mkNodeListWidget &tree);

    QHash<QString, int> layers;
    QHash<QString, NodeBag> nodes;
    std::vector<osg::NodePtr> held;
};
