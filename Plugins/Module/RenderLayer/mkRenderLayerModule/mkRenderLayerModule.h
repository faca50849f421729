#pragma once

#include "OSGSystem/Node.h"
#include "mkKernel/mkModuleBase.h"
#include "mkOpenSGUtils/mkNodePtr.h"

#include <QPointer>

#include <string>
#include <vector>

class QAction;
class mkRenderLayerGUIW;

/// The plug-in's one module. It builds the panel, hands it to the host's dock window manager,
/// keeps its tree in step with the host's messages, and carries the operations that scripts call.
/// It does not own the panel: that belongs to the host's windows.
class mkRenderLayerModule : public mkModuleBase
{
    Q_OBJECT

public:
    mkRenderLayerModule();
    ~mkRenderLayerModule() override;

    QWidget *getWidget() override;
    void initialised() override;
    /// Rebuilds the tree after scene data was read. Always false: others get the message too.
    bool receivedMessage(mkMessage &message) override;

    // What scripts call, on the GUI thread. Without a panel, those that need it do nothing; a null
    // node is passed over.

    /// Makes a layer; null or an empty name gives the default name.
    static void createRenderLayer(const char *name);
    /// Adds each node to the layer of this name.
    static void addNodesToRenderLayer(const std::vector<mkNodePtr> &nodes, const char *layerName);
    /// Selects and activates every row of this name, layers and nodes alike.
    static void activateRenderLayer(const char *name);
    /// Resets the render attributes of the whole scene.
    static void resetRenderLayers();
    /// Writes attributes into the node's own attachment, made where missing, and applies them to
    /// the node and what is below it. `overrideMaterial` is looked up by name, and only if
    /// `useOverrideMaterial` is true.
    static void setNodeVisibilityFlags(
        const osg::NodePtr &node, bool visible, bool visibleInAlpha, bool primaryVisibility,
        bool visibleInReflections, bool visibleInRefractions, bool castShadows, bool receiveShadows,
        bool doubleSided, bool visibleForPhotons = true, bool visibleForShadowMaterial = true,
        bool useOverrideMaterial = false, const std::string &overrideMaterial = std::string());
    /// Resets the render attributes of the node and what is below it.
    static void resetNodeVisibilityFlags(const osg::NodePtr &node);
    /// Restores a stored state on every drawable of the scene; one that does not have it is reset.
    static void activateRenderLayerState(const char *name);

private Q_SLOTS:
    void confirmDeleteSelected();
    void reset();
    void activate();
    void updateStatusBar(QAction *action);
    void clearStatusBar();

private:
    void createQuickActions();
    static void unsubscribe() noexcept;
    static void updateStoredRenderStateIds();

    static void materialRenamedCB(mkMessage &message);
    static void updateLayersCB(mkMessage &message);
    static void changedTransformationCB(mkMessage &message);

    /// Null before the panel is built and after the host has deleted it.
    static QPointer<mkRenderLayerGUIW> panel;
};
