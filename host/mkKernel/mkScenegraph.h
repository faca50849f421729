#pragma once

#include "OSGSystem/NFIOBase.h"
#include "mkHostExport.h"
#include "mkOpenSGUtils/mkNodePtr.h"
#include "mkOpenSGUtils/mkRenderLayer.h"
#include "mkSceneFile/mkSceneFile.h"
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
    /// Reads a file of a format that is not the host's own. Throws std::runtime_error with a reason
    /// for the user, and mkSceneFile::Cancelled.
    using Reader = std::function<Document(const QString &file, const mkSceneFile::Progress &)>;
    /// Begins to show the progress of something that may take long, and ends with the last copy
    /// of what it returns.
    using ProgressMaker = std::function<mkSceneFile::Progress(const QString &what)>;

    static mkScenegraph *the();

    /// The scene's store; null without a scene. Ask anew for every use.
    static mkRenderLayer *getRenderLayer();
    static osg::NodePtr getRoot();
    static mkNodePtr getRootNode();

    /// The nodes selected in the host that have no selected node above them, in the order of
    /// their selection.
    static std::vector<mkNodePtr> getSelectedRootNodes();
    /// The icon that the scene view shows for a node; by kind of `core`, which may be null. With
    /// `dimHidden` the icon is faded while the node's render attributes make it invisible. One that
    /// is in the scene no more is faded under a cross.
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
    /// The application brings the reader of other formats, and who shows progress; empty for none.
    static void setReader(Reader reader);
    static void setProgressMaker(ProgressMaker maker);
    /// Reads a scene file and leaves the open scene. Throws std::runtime_error with a reason for
    /// the user, and mkSceneFile::Cancelled.
    static Document readFile(const QString &file);
    /// Replaces the scene by what `file` holds. When readFile() throws, so does this, and the open
    /// scene stays.
    static void openFile(const QString &file);
    /// Opens `copy`, a scene file, as the scene of `file` with unsaved changes.
    static void openCopy(const QString &copy, const QString &file);
    /// Reads `file` into the scene, as mergeScene() does.
    static void mergeFile(const QString &file);
    /// Writes the scene, with its layers and materials, as a scene file of the host's own, which
    /// becomes the file of the scene. Throws what mkSceneFile::write() throws.
    static void saveFile(const QString &file);
    /// The file of the open scene; empty when it has none.
    static QString getFile();
    /// Whether the scene, its materials or its layers are not as they are in the file: the document
    /// was marked modified, or something changed that nobody marks. Which rows are expanded does
    /// not count.
    static bool hasUnsavedChanges();
    /// Adds what was read below the present root. Its layers come behind those of the scene, under
    /// names of their own. Modules receive mkMessage::SceneMerged, and the document is modified.
    static void mergeScene(Document document);
    /// Takes a node and what is below it out of the scene and out of the selection; layers keep
    /// their member until they are cleaned up. False for the root and for nodes that are not in
    /// the scene.
    static bool removeNode(const osg::NodePtr &node);
    static bool isInScene(const osg::NodePtr &node);

Q_SIGNALS:
    void sceneChanged();
    void fileChanged();
    void unsavedChangesChanged(bool unsaved);
    void scrollRequested(const std::vector<mkNodePtr> &nodes);

private:
    mkScenegraph();
    static void finishReading(Document document, const char *name, mkMessage::Id id);
    void rememberSaved();
    void updateUnsaved();

    osg::NodePtr root;
    std::unique_ptr<mkRenderLayer> store;
    QString file;
    Reader reader;
    ProgressMaker progressMaker;
    std::uint64_t savedRevision = 0;
    bool unsaved = false;
    /// What changes meanwhile is compared when it is done.
    bool replacing = false;
};
