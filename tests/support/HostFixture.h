#pragma once

#include "HostWatch.h"

#include "mkKernel/mkScenegraph.h"
#include "mkMicroKernel/mkPluginLoader.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QStatusBar>
#include <QTreeWidget>

#include <memory>

class QLineEdit;

/// A host with the plug-in loaded, as the workbench starts it, the materials "red" and "blue", and
/// a scene of geometries: a, b, c, d, e, and g1 and g2 in "group". One host lives as long as the
/// process; reset() gives each test a new scene with an empty store and an unmodified document.
class HostFixture
{
public:
    /// With `python`, the interpreter runs too.
    explicit HostFixture(bool python = false);
    ~HostFixture();
    void reset();

    static QString pluginFile() { return MK_PLUGIN_DIR "/mkRenderLayerModule.so"; }
    /// Deletes the panel and unloads the plug-in at once; loadPlugin() brings both back.
    void unloadPlugin();
    void loadPlugin();

    static mkRenderLayer *store() { return mkScenegraph::getRenderLayer(); }
    osg::NodePtr node(const QString &name) const;
    static osg::MaterialPtr material(const char *name)
    {
        return mkMaterials::findMaterial(name).get();
    }
    QMainWindow *window() const { return mainWindow.get(); }
    QTreeWidget *tree() const { return window()->findChild<QTreeWidget *>("_layer"); }
    QMainWindow *panel() const;

    /// Puts a layer with these nodes straight into the store. The tree does not know yet.
    void addLayer(const QString &name, const QStringList &nodes = {}, bool expanded = true);
    /// A with a, b; B with c, d; C with a, e, closed; and "red" on A's a. The tree shows them.
    void addLayers();
    /// Has the host's message rebuild the tree.
    static void rebuild() { send("mkRenderLayerModuleUpdateLayers"); }
    static void send(const std::string &name, const osg::MaterialPtr &material = osg::NullFC,
                     std::uint64_t id = 0);
    void selectInHost(const QStringList &nodes) const;
    /// What the event loop does next, and that it takes away what was deleted.
    static void settle();

    /// What an expression is worth in Python: its repr, or the exception that it raises.
    static QString python(const QString &expression);
    /// What each expression is worth; the name of an exception will do.
    static void expect(std::initializer_list<std::pair<QString, QString>> values);

    /// A row by "layer" or "layer/node", as the tree shows it now; null when there is none.
    QTreeWidgetItem *row(const QString &path) const;
    static QString pathOf(const QTreeWidgetItem *item);
    /// The whole tree as the user reads it: "A[a b] B[]".
    QString rows() const;
    /// The same from the store.
    static QString stored();
    /// Paths of the selected rows, top to bottom; the current one is marked with "*".
    QString selected() const;
    /// The attributes that a layer holds for a node.
    osg::RaytracingGeoAttachmentPtr attributes(unsigned layer, const QString &member) const
    {
        return store()->getAttributes(layer, node(member));
    }
    /// The flag that the tree shows in a column from 1 to 11.
    static bool &flag(const osg::RaytracingGeoAttachmentPtr &attributes, int column);
    /// The eleven flags and the override material: "11111111110 Empty"; "none" for null.
    static QString values(const osg::RaytracingGeoAttachmentPtr &attributes);
    /// The same as a node row shows it; flags whose text and data differ read "?", those that say
    /// nothing are blank, and a material with the wrong icon has a "!".
    static QString cells(const QTreeWidgetItem *item);
    QString cells(const QString &path) const { return cells(row(path)); }
    /// Selects exactly these rows; the first becomes current. Collapsed layers stay so.
    void select(const QStringList &paths) const;

    /// The context menu's action by its text, which a tab ends.
    QAction *action(const QString &text) const;
    /// Opens the context menu over a row, or over empty space for an empty path.
    QMenu *openMenu(const QTreeWidgetItem *item) const;
    QMenu *openMenu(const QString &path) const { return openMenu(row(path)); }
    /// A cell's place in the viewport; rows are scrolled to.
    QRect cell(const QTreeWidgetItem *item, int column) const;
    QRect cell(const QString &path, int column) const { return cell(row(path), column); }
    void click(QPoint point, Qt::KeyboardModifiers modifiers = {}) const;
    /// In the middle of a cell.
    void click(const QString &path, int column, Qt::KeyboardModifiers modifiers = {}) const
    {
        click(cell(path, column).center(), modifiers);
    }
    void doubleClick(const QTreeWidgetItem *item, int column) const;
    void doubleClick(const QString &path, int column) const { doubleClick(row(path), column); }
    /// Where the icon that takes the material off a row is painted.
    QRect clearIcon(const QTreeWidgetItem *item) const;
    QPoint clearButton(const QTreeWidgetItem *item) const { return clearIcon(item).center(); }
    /// Where a name is typed.
    QLineEdit *editor() const;
    /// Replaces what is typed, ends it with a key and settles; false when no name is typed.
    bool type(const QString &text, Qt::Key end = Qt::Key_Return) const;

    static const QString nodeFormat;
    static const QString materialFormat;
    static QByteArray materialPayload(const QString &name);
    /// Drags a payload onto a point of the tree's viewport and drops it there.
    void drop(QPoint point, const QString &format, const QByteArray &bytes) const;
    /// A point in the tree below all rows.
    QPoint emptySpace() const { return { 20, tree()->viewport()->height() - 5 }; }
    /// Clicks a button of the panel's tool bar; false when there is none with this text.
    bool clickTool(const QString &text) const;
    void key(int key, Qt::KeyboardModifiers modifiers = {}) const;
    /// Clicks on an entry of the context menu, opened over the first layer, or on a button of the
    /// tool bar, "tool Delete"; or else presses the keys that the text names.
    void trigger(const QString &text) const;

private:
    std::unique_ptr<QMainWindow> mainWindow;
    mkPluginLoader loader;
};
