#pragma once

#include "mkKernel/mkScenegraph.h"
#include "mkMicroKernel/mkPluginLoader.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QStatusBar>
#include <QTreeWidget>

#include <functional>
#include <map>
#include <memory>

class QDialog;
class QMessageBox;

/// A host with the plug-in loaded, as the workbench starts it, and a small scene:
///
///     scene
///       a  b  c  d  e       geometries
///       group
///         g1  g2            geometries below "group"
///
/// and the materials "red" and "blue". One host lives as long as the process; reset() gives each
/// test a new scene with an empty store, an empty tree and an unmodified document.
class HostFixture
{
public:
    /// With `python`, the interpreter runs too.
    explicit HostFixture(bool python = false);
    ~HostFixture();

    void reset();

    /// The plug-in's library.
    static QString pluginFile();
    /// Deletes the panel and unloads the plug-in at once; loadPlugin() brings both back.
    void unloadPlugin();
    void loadPlugin();

    static mkRenderLayer *store() { return mkScenegraph::getRenderLayer(); }
    osg::NodePtr node(const QString &name) const;
    static osg::MaterialPtr material(const char *name);
    QMainWindow *window() const { return mainWindow.get(); }
    QTreeWidget *tree() const;
    QMainWindow *panel() const;
    QStatusBar *statusBar() const { return panel()->statusBar(); }

    /// Puts a layer with these nodes straight into the store. The tree does not know yet.
    void addLayer(const QString &name, const QStringList &nodes = {}, bool expanded = true);
    /// Has the host's message rebuild the tree.
    static void rebuild();

    /// A row by "layer" or "layer/node", as the tree shows it now; null when there is none.
    QTreeWidgetItem *row(const QString &path) const;
    /// The whole tree as the user reads it: "A[a b] B[]".
    QString rows() const;
    /// The same from the store.
    static QString stored();
    /// Paths of the selected rows, top to bottom; the current one is marked with "*".
    QString selected() const;
    /// The attributes that a layer holds for a node.
    osg::RaytracingGeoAttachmentPtr attributes(unsigned layer, const QString &member) const;
    /// The flag that the tree shows in a column from 1 to 11.
    static bool &flag(const osg::RaytracingGeoAttachmentPtr &attributes, int column);
    /// The eleven flags and the override material: "11111111110 Empty"; "none" for null.
    static QString values(const osg::RaytracingGeoAttachmentPtr &attributes);
    /// The same as a node row shows it; flags whose text and data differ read "?".
    QString cells(const QString &path) const;
    /// Selects exactly these rows; the first becomes current. Collapsed layers stay so.
    void select(const QStringList &paths) const;

    /// The context-menu action whose text starts with `text` (the part before the tab).
    QAction *action(const QString &text) const;
    /// Opens the context menu over a row, or over empty space for an empty path, and leaves it
    /// open; hide it with closeMenu().
    QMenu *openMenu(const QString &path) const;
    void closeMenu() const;
    /// A left click, or double click, in the middle of a cell.
    void click(const QString &path, int column, Qt::KeyboardModifiers modifiers = {}) const;
    void doubleClick(const QString &path, int column) const;
    QRect cell(const QString &path, int column) const;
    /// Drags a payload onto a point of the tree's viewport and drops it there.
    void drop(QPoint point, const QString &format, const QByteArray &bytes) const;
    /// Clicks a button of the panel's tool bar.
    void clickTool(const QString &text) const;
    void key(int key, Qt::KeyboardModifiers modifiers = {}) const;

private:
    std::unique_ptr<QMainWindow> mainWindow;
    mkPluginLoader loader;
};

/// Records the host calls made while it lives, one "name(arguments)" line each.
class HostCalls
{
public:
    HostCalls();
    ~HostCalls();

    /// The calls so far whose line starts with one of `names`; without names, all.
    QStringList lines(const QStringList &names = {}) const;
    int count(const QString &name) const { return lines({ name }).size(); }
    /// What commands did to the store, the host's selection and the document, without class names
    /// and quotes: "addLayer(Layer) rebuild setModified(1)". A question whether the store is empty
    /// stands for the rebuild that begins with it.
    QString commands() const;
    static void clear();
};

/// Records the host's log while it lives.
class LogLines
{
public:
    LogLines();
    ~LogLines();
    QStringList lines;

private:
    int listener;
};

/// Answers modal dialogs: `answer` is called with each modal widget that opens while this lives,
/// `count` is how many there were. Answers must close the widget.
class ModalAnswers
{
public:
    explicit ModalAnswers(std::function<void(QWidget *)> answer);
    ~ModalAnswers();
    int count() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// QTEST_MAIN with the offscreen platform as default.
#define HOST_TEST_MAIN(Test) \
    int main(int argc, char **argv) \
    { \
        return runHostTest<Test>(argc, argv); \
    }

int runHostTest(int argc, char **argv, const std::function<std::unique_ptr<QObject>()> &create);

template <typename Test>
int runHostTest(int argc, char **argv)
{
    return runHostTest(argc, argv, [] { return std::make_unique<Test>(); });
}
