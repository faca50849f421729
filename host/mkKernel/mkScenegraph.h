#pragma once

#include "OSGSystem/NFIOBase.h"
#include "mkHostExport.h"
#include "mkOpenSGUtils/mkNodePtr.h"
#include "mkOpenSGUtils/mkRenderLayer.h"
#include "mkUtils/mkMessage.h"

#include <QObject>
#include <QPixmap>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

/// The open document's scene: its root, its render-layer store, and the services of the scene
/// view. There is none before newScene() or setScene() was called.
class MK_HOST_API mkScenegraph : public QObject
{
    Q_OBJECT

public:
    /// What a scene file reader hands over.
    struct Document
    {
        osg::NodePtr root;
        std::vector<osg::MaterialPtr> materials;
        osg::NFIOBase::FieldContainerMap containers;
        /// Where it was read from; empty for a scene that is in no file.
        QString file;
    };
    /// Reads a scene file. Throws std::runtime_error with a reason for the user.
    using Reader = std::function<Document(const QString &file)>;

    static mkScenegraph *the();

    /// The scene's store; null without a scene. Ask anew for every use.
    static mkRenderLayer *getRenderLayer();
    static osg::NodePtr getRoot();
    static mkNodePtr getRootNode();

    /// The nodes selected in the host that have no selected node above them, in the order of
    /// their selection.
    static std::vector<mkNodePtr> getSelectedRootNodes();
    /// The icon that the scene view shows for a node; by kind of `core`, which may be null. With
    /// `dimHidden` the icon is faded while the node's render attributes make it invisible.
    static const QPixmap getNodeIcon(osg::FieldContainerPtr core, const osg::NodePtr &node,
                                     bool dimHidden);
    /// Brings the nodes into view in the scene tree.
    static void scrollToNodes(const std::vector<mkNodePtr> &nodes);

    /// Replaces the scene by an empty one with a root of this name.
    static void newScene(const std::string &rootName);
    /// Replaces the scene. The selection and the undo steps go, the new scene has a store of its
    /// own, modules receive mkMessage::SceneLoaded, and the document is unmodified. A document
    /// without a root leaves no scene.
    static void setScene(Document document);
    /// The host knows no file formats; the application brings the reader.
    static void setReader(Reader reader);
    /// Replaces the scene by what the reader makes of `file`. When the reader throws, so does this,
    /// and the open scene stays; without a reader it throws std::runtime_error.
    static void openFile(const QString &file);
    /// The file of the open scene; empty when it has none.
    static QString getFile();
    /// Adds what was read below the present root. Modules receive mkMessage::SceneMerged, and
    /// the document is modified.
    static void mergeScene(Document document);
    /// Takes a node and what is below it out of the scene and out of the selection; layers keep
    /// their member until they are cleaned up. False for the root and for nodes that are not in
    /// the scene.
    static bool removeNode(const osg::NodePtr &node);
    static bool isInScene(const osg::NodePtr &node);

Q_SIGNALS:
    void sceneChanged();
    void scrollRequested(const std::vector<mkNodePtr> &nodes);

private:
    mkScenegraph() = default;
    static void finishReading(Document document, const char *name, mkMessage::Id id);

    osg::NodePtr root;
    std::unique_ptr<mkRenderLayer> store;
    QString file;
    Reader reader;
};
