#include "mkRenderLayerModule.h"

#include "OSGSystem/NFIOBase.h"
#include "mkHostAccess.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkQt4Ext/QMKToolBar.h"
#include "mkRenderLayerGUIW.h"
#include "mkUtils/mkLog.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QMetaMethod>
#include <QPushButton>
#include <QScopeGuard>
#include <QStatusBar>

namespace {

/// Ids of the messages that follow the reading of scene data: into a new scene, into the open one.
constexpr quint64 sceneRead = 0x10;
constexpr quint64 sceneMerged = 0x8000;

constexpr char materialRenamed[] = "materialRenamed";
constexpr char updateLayers[] = "mkRenderLayerModuleUpdateLayers";
constexpr char changedTransformation[] = "mkTransform::changedTransformation";

/// Makes QAction* a meta type, with Qt's own code for it: with that of this library, Qt would go
/// on calling it once the library is unloaded.
void registerActionType()
{
    const QMetaObject &menu = QMenu::staticMetaObject;
    menu.method(menu.indexOfSignal("hovered(QAction*)")).parameterType(0);
}

} // namespace

QPointer<mkRenderLayerGUIW> mkRenderLayerModule::panel;

mkRenderLayerModule::mkRenderLayerModule()
    : mkModuleBase("Render Layer", "Rendering", sceneRead | sceneMerged, nullptr)
{
    // A construction that fails is tried again: it leaves nothing behind.
    auto undo = qScopeGuard([] {
        unsubscribe();
        delete panel.data();
    });
    panel = new mkRenderLayerGUIW(mkController::getMainWindow(), QStringLiteral("Module"));
    // The host keeps these texts, so they must not lie in the library, which may be unloaded.
    mkController::getDockWindowManager()
        ->add(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Render Layer"),
              QLatin1String(QT_TRANSLATE_NOOP("QMKDockWindowManager", "Rendering")), panel,
              QLatin1String("Toolclip_Layers"), mkIconManager::getIcon("ModuleRenderLayer", ""),
              tr("Layers"), Qt::NoDockWidgetArea, true, nullptr);
    createQuickActions();
    mkController::addCB(materialRenamed, materialRenamedCB);
    mkController::addCB(updateLayers, updateLayersCB);
    mkController::addCB(changedTransformation, changedTransformationCB);
    undo.dismiss();
}

mkRenderLayerModule::~mkRenderLayerModule()
{
    unsubscribe();
}

void mkRenderLayerModule::unsubscribe() noexcept
{
    const auto subscriptions = { std::make_pair(materialRenamed, &materialRenamedCB),
                                 std::make_pair(updateLayers, &updateLayersCB),
                                 std::make_pair(changedTransformation, &changedTransformationCB) };
    for (const auto &[message, callback] : subscriptions) {
        try {
            mkController::subCB(message, callback);
        } catch (...) {
            mkReportFailure("mkRenderLayerModule::unsubscribe");
        }
    }
}

QWidget *mkRenderLayerModule::getWidget()
{
    return panel;
}

void mkRenderLayerModule::initialised() {}

bool mkRenderLayerModule::receivedMessage(mkMessage &message)
{
    try {
        if (message.id() != sceneRead && message.id() != sceneMerged) {
            return false;
        }
        if (panel) {
            panel->_layer->rebuildTree(false);
        }
        if (panel) {
            panel->_layer->fitFirstColumn(mkNodeListWidget::Fit::Exact);
        }
        updateStoredRenderStateIds();
    } catch (...) {
        mkLog::error("mkRenderLayerModule::receivedMessage : An unknown exception occurred!");
    }
    return false;
}

void mkRenderLayerModule::updateStoredRenderStateIds()
{
    const auto &containers = osg::NFIOBase::getFieldContainerMap();
    osg::traverse(mkScenegraph::getRoot(), [&containers](const osg::NodePtr &node) {
        if (node == osg::NullFC) {
            return osg::Action::Skip;
        }
        const osg::RaytracingGeoAttachmentPtr attributes = mkFindAttributes(node);
        if (attributes != osg::NullFC) {
            attributes->updateRenderLayerStateIds(containers);
        }
        return osg::Action::Continue;
    });
}

void mkRenderLayerModule::materialRenamedCB(mkMessage &message)
try {
    osg::MaterialPtr material;
    if (!panel || !message.get("material", material)) {
        return;
    }
    mkScenegraph::the();
    if (!mkScenegraph::getRenderLayer()) {
        return;
    }
    mkScenegraph::the();
    if (mkStore()->isMaterialInUse(material) && panel) {
        panel->_layer->rebuildTree(false);
    }
} catch (...) {
    mkReportFailure("mkRenderLayerModule::materialRenamedCB");
}

void mkRenderLayerModule::updateLayersCB(mkMessage &)
try {
    if (panel) {
        panel->_layer->rebuildTree(false);
    }
} catch (...) {
    mkReportFailure("mkRenderLayerModule::updateLayersCB");
}

void mkRenderLayerModule::changedTransformationCB(mkMessage &)
{
    if (panel) {
        panel->_layer->viewport()->update();
    }
}

void mkRenderLayerModule::createQuickActions()
{
    registerActionType();
    QMenu *const menu = panel->_layer->popupMenu();
    connect(menu, SIGNAL(hovered(QAction *)), this, SLOT(updateStatusBar(QAction *)));
    connect(menu, SIGNAL(aboutToShow()), this, SLOT(clearStatusBar()));
    connect(menu, SIGNAL(aboutToHide()), this, SLOT(clearStatusBar()));

    auto *const toolBar = new QMKToolBar(tr("QuickActions"), nullptr);
    toolBar->setObjectName(QStringLiteral("QuickActionBar"));
    toolBar->setAllowedAreas(Qt::BottomToolBarArea);
    toolBar->setMovable(false);
    toolBar->setFloatable(false);
    toolBar->setContextMenuPolicy(Qt::ActionsContextMenu);
    panel->addToolBar(Qt::BottomToolBarArea, toolBar);

    QObject *const tree = panel->_layer;
    QList<QAction *> actions;
    const auto add = [this, &actions](const char *icon, const QString &text, const QString &tip,
                                      QObject *receiver, const char *slot) {
        auto *const action = new QAction(mkIconManager::getIcon(icon, ""), text, this);
        action->setStatusTip(tip);
        connect(action, SIGNAL(triggered()), receiver, slot);
        actions += action;
    };
    add("CreateNew", tr("Create Layer"), tr("Creates a new layer"), tree, SLOT(createLayer()));
    add("Duplicate", tr("Duplicate Layer"), tr("Duplicates the currently selected layer"), tree,
        SLOT(duplicateLayer()));
    add("SelectNode", tr("Select Nodes"), tr("Selects the nodes"), tree, SLOT(selectNodes()));
    add("Delete", tr("Delete"), tr("Deletes the currently selected layer or node"), this,
        SLOT(confirmDeleteSelected()));
    add("Reset", tr("Reset Layer"), tr("Deactivates all layers"), this, SLOT(reset()));
    add("Activate", tr("Activate Layer"), tr("Activates the layer"), this, SLOT(activate()));
    for (QAction *action : qAsConst(actions)) {
        toolBar->addAction(action);
    }
    menu->addSeparator();
    menu->addAction(actions.at(5));
    menu->addAction(actions.at(4));
}

void mkRenderLayerModule::confirmDeleteSelected()
{
    if (!panel) {
        return;
    }
    // The host may close the panel, and with it the box, while the box is open.
    const QPointer<QMessageBox> box = new QMessageBox(QMessageBox::Warning, tr("Render Layer"),
                                                      tr("Delete selection?"),
                                                      QMessageBox::NoButton, panel);
    const QPushButton *const deleteButton = box->addButton(tr("Delete"), QMessageBox::AcceptRole);
    box->addButton(tr("Cancel"), QMessageBox::RejectRole);
    box->exec();
    const bool agreed = box && box->clickedButton() == deleteButton;
    delete box;
    if (agreed && panel) {
        panel->_layer->deleteSelected();
    }
}

void mkRenderLayerModule::reset()
try {
    resetRenderLayers();
} catch (...) {
    mkReportFailure("mkRenderLayerModule::reset");
}

void mkRenderLayerModule::activate()
try {
    if (panel) {
        panel->_layer->activateSelected();
    }
} catch (...) {
    mkReportFailure("mkRenderLayerModule::activate");
}

void mkRenderLayerModule::updateStatusBar(QAction *action)
{
    if (panel && action) {
        panel->statusbar->showMessage(action->statusTip(), 0);
    }
}

void mkRenderLayerModule::clearStatusBar()
{
    if (panel) {
        panel->statusbar->showMessage(QString(), 0);
    }
}
