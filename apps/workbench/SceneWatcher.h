#pragma once

#include "OSGSystem/FieldContainer.h"

#include <QObject>
#include <QSet>
#include <QTimer>

/// Tells the views what changed in the scene: all changes since the last turn of the event loop at
/// once, however many there were.
class SceneWatcher : public QObject, private osg::ChangeObserver
{
    Q_OBJECT

public:
    explicit SceneWatcher(QObject *parent = nullptr);

    /// Tells what has changed so far without waiting for the event loop.
    void deliver();

Q_SIGNALS:
    /// Another scene was opened, or something was read into this one.
    void sceneReplaced();
    /// The children of these nodes changed; the nodes may be gone again.
    void childrenChanged(const QSet<quint32> &nodeIds);
    /// Names, cores or render attributes of nodes changed.
    void looksChanged();
    void materialsChanged();
    /// These attributes, of a node or of a layer, were given an override material, or lost it.
    void overrideMaterialSet(quint32 attributesId);

private:
    void containerChanged(const osg::FieldContainerPtr &container, const osg::BitVector &which,
                          osg::ChangeOrigin origin) override;

    QTimer timer;
    QSet<quint32> parents;
    QSet<quint32> overridden;
    bool scene = false;
    bool looks = false;
    bool materials = false;
};
