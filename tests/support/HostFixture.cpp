#include "HostFixture.h"

#include "OSGSystem/Geometry.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkQt4Ext/QMKDockWindowManager.h"

#include <QApplication>
#include <QDropEvent>
#include <QItemDelegate>
#include <QLineEdit>
#include <QMimeData>
#include <QScopeGuard>
#include <QTest>
#include <QToolBar>

namespace {

/// Tests need no screen, unless somebody wants to watch them.
const bool offscreen = qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")
                       && qputenv("QT_QPA_PLATFORM", "offscreen");

osg::NodePtr addChild(const osg::NodePtr &parent, const char *name, const osg::NodeCorePtr &core)
{
    const osg::NodePtr node = osg::Node::create();
    node->setName(name);
    node->setCore(core);
    parent->addChild(node);
    return node;
}

/// Notes where it is to paint an icon.
class IconPlace : public QItemDelegate
{
public:
    mutable QRect place;

protected:
    void drawDecoration(QPainter *, const QStyleOptionViewItem &, const QRect &rect,
                        const QPixmap &) const override
    {
        place = rect;
    }
};

} // namespace

const QString HostFixture::nodeFormat = QStringLiteral("application/mosk-tree-item");
const QString HostFixture::materialFormat = QStringLiteral("application/mosk-decoupled-materials");

HostFixture::HostFixture(bool python)
    : mainWindow(std::make_unique<QMainWindow>())
{
    mkController::setMainWindow(mainWindow.get());
    mkController::setDockWindowManager(new QMKDockWindowManager(mainWindow.get()));
    mkScenegraph::newScene("empty");
    loader.load(pluginFile());
    if (python) {
        mkPythonRegisterFactory::run(mkPythonRegisterFactory::BeforeInterpreter);
        mkScript::start();
        mkPythonRegisterFactory::run(mkPythonRegisterFactory::AfterInterpreter);
    }
    loader.initAll();
    mainWindow->resize(1600, 600);
    mainWindow->show();
    if (!QTest::qWaitForWindowExposed(mainWindow.get())) {
        qFatal("the window does not show");
    }
    reset();
}

HostFixture::~HostFixture()
{
    // The panel's classes live in the plug-in, and so do functions that scripts hold.
    mkScript::stop();
    mainWindow.reset();
    loader.unloadAll();
}

void HostFixture::loadPlugin()
{
    loader.load(pluginFile());
    loader.initAll();
}

void HostFixture::unloadPlugin()
{
    delete panel();
    loader.unloadAll();
    // The dock window follows its panel with the next events.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void HostFixture::reset()
{
    mkScenegraph::Document document;
    document.root = osg::Node::create();
    document.root->setName("scene");
    document.root->setCore(osg::Group::create());
    for (const char *name : { "a", "b", "c", "d", "e" }) {
        addChild(document.root, name, osg::Geometry::create());
    }
    const osg::NodePtr group = addChild(document.root, "group", osg::Group::create());
    addChild(group, "g1", osg::Geometry::create());
    addChild(group, "g2", osg::Geometry::create());
    for (const char *name : { "red", "blue" }) {
        document.materials.push_back(osg::Material::create());
        document.materials.back()->setName(name);
    }
    mkScenegraph::setScene(document);
    tree()->setFocus();
    panel()->statusBar()->clearMessage();
}

osg::NodePtr HostFixture::node(const QString &name) const
{
    osg::NodePtr found;
    osg::traverse(mkScenegraph::getRoot(), [&](const osg::NodePtr &candidate) {
        if (name == QString::fromUtf8(mkNodeUtils::getName(candidate))) {
            found = candidate;
            return osg::Action::Quit;
        }
        return osg::Action::Continue;
    });
    return found;
}

QMainWindow *HostFixture::panel() const
{
    return qobject_cast<QMainWindow *>(mainWindow->findChild<QWidget *>(QStringLiteral("Module")));
}

void HostFixture::addLayer(const QString &name, const QStringList &nodes, bool expanded)
{
    store()->addLayer(name.toStdString());
    const auto index = unsigned(store()->getAttachment()->getLayers().size() - 1);
    for (const QString &member : nodes) {
        store()->addNode(index, node(member));
    }
    store()->setCollapseState(index, expanded ? 1 : 0);
}

void HostFixture::addLayers()
{
    addLayer("A", { "a", "b" });
    addLayer("B", { "c", "d" });
    addLayer("C", { "a", "e" }, false);
    attributes(0, "a")->setOverrideMaterial(material("red"));
    rebuild();
}

void HostFixture::send(const std::string &name, const osg::MaterialPtr &material, std::uint64_t id)
{
    mkMessage message(name, id);
    if (material) {
        message.set("material", material);
    }
    mkController::sendMessage(message);
}

void HostFixture::selectInHost(const QStringList &nodes) const
{
    std::vector<mkNodePtr> selection;
    for (const QString &name : nodes) {
        selection.emplace_back(node(name));
    }
    mkSelectionManager::selectNodes(selection);
}

void HostFixture::settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QString HostFixture::python(const QString &expression)
{
    const LogLines log;
    mkScript::run(qPrintable("try: mkHost.logInfo(repr(" + expression
                             + "))\nexcept BaseException as e: "
                               "mkHost.logInfo(f'{type(e).__name__}: {e}'.strip())"));
    return log.lines.join('|');
}

void HostFixture::expect(std::initializer_list<std::pair<QString, QString>> values)
{
    for (const auto &[expression, value] : values) {
        const QString worth = python(expression);
        const bool named = worth.startsWith(value + ':');
        QCOMPARE(expression + " gives " + (named ? value : worth), expression + " gives " + value);
    }
}

void HostFixture::select(const QStringList &paths) const
{
    tree()->clearSelection();
    // Scrolling to the current row would open its layer.
    tree()->setAutoScroll(false);
    const auto restore = qScopeGuard([this] { tree()->setAutoScroll(true); });
    for (const QString &path : paths) {
        QTreeWidgetItem *const item = row(path);
        if (!item) {
            qFatal("no row '%s'", qUtf8Printable(path));
        }
        if (path == paths.first()) {
            tree()->selectionModel()->setCurrentIndex(tree()->model()->index(0, 0),
                                                      QItemSelectionModel::NoUpdate);
            tree()->setCurrentItem(item, 0, QItemSelectionModel::NoUpdate);
        }
        item->setSelected(true);
    }
}

QAction *HostFixture::action(const QString &text) const
{
    for (QAction *candidate : tree()->findChild<QMenu *>()->actions()) {
        if (candidate->text().section('\t', 0, 0) == text) {
            return candidate;
        }
    }
    return nullptr;
}

QMenu *HostFixture::openMenu(const QTreeWidgetItem *item) const
{
    const QPoint point = item ? cell(item, 0).center() : emptySpace();
    QContextMenuEvent event(QContextMenuEvent::Mouse, point,
                            tree()->viewport()->mapToGlobal(point));
    QApplication::sendEvent(tree()->viewport(), &event);
    return tree()->findChild<QMenu *>();
}

QRect HostFixture::cell(const QTreeWidgetItem *item, int column) const
{
    if (!item) {
        qFatal("no such row");
    }
    tree()->scrollToItem(item);
    QRect rect = tree()->visualItemRect(item);
    rect.setLeft(tree()->columnViewportPosition(column));
    rect.setWidth(tree()->columnWidth(column));
    return rect;
}

void HostFixture::click(QPoint point, Qt::KeyboardModifiers modifiers) const
{
    QTest::mouseClick(tree()->viewport(), Qt::LeftButton, modifiers, point);
}

void HostFixture::doubleClick(const QTreeWidgetItem *item, int column) const
{
    const QPoint point = cell(item, column).center();
    click(point);
    QTest::mouseDClick(tree()->viewport(), Qt::LeftButton, {}, point);
}

QRect HostFixture::clearIcon(const QTreeWidgetItem *item) const
{
    const QRect place = cell(item, 12);
    QAbstractItemDelegate *const delegate = tree()->itemDelegateForColumn(12);
    IconPlace icon;
    tree()->setItemDelegateForColumn(12, &icon);
    tree()->viewport()->grab(place);
    tree()->setItemDelegateForColumn(12, delegate);
    return icon.place;
}

QLineEdit *HostFixture::editor() const
{
    const QList<QLineEdit *> editors = tree()->viewport()->findChildren<QLineEdit *>();
    const auto open = std::find_if(editors.begin(), editors.end(),
                                   [](const QLineEdit *editor) { return editor->isVisible(); });
    return open == editors.end() ? nullptr : *open;
}

bool HostFixture::type(const QString &text, Qt::Key end) const
{
    QLineEdit *const line = editor();
    if (line) {
        line->setText(text);
        QTest::keyClick(line, end);
        settle();
    }
    return line;
}

QByteArray HostFixture::materialPayload(const QString &name)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << mkdMaterial(name);
    return bytes;
}

void HostFixture::drop(QPoint point, const QString &format, const QByteArray &bytes) const
{
    QMimeData data;
    data.setData(format, bytes);
    QDragEnterEvent enter(point, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(tree()->viewport(), &enter);
    QDropEvent event(point, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(tree()->viewport(), &event);
}

bool HostFixture::clickTool(const QString &text) const
{
    const auto *const bar = panel()->findChild<QToolBar *>();
    for (QAction *candidate : bar->actions()) {
        if (candidate->text() == text) {
            QTest::mouseClick(bar->widgetForAction(candidate), Qt::LeftButton);
            return true;
        }
    }
    return false;
}

void HostFixture::key(int keyCode, Qt::KeyboardModifiers modifiers) const
{
    QTest::keyClick(tree(), Qt::Key(keyCode), modifiers);
}

void HostFixture::trigger(const QString &text) const
{
    if (QAction *const entry = action(text)) {
        QMenu *const menu = openMenu(tree()->topLevelItem(0));
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entry).center());
    } else if (!text.startsWith("tool ") || !clickTool(text.mid(5))) {
        const int keys = QKeySequence(text)[0];
        key(keys & ~int(Qt::KeyboardModifierMask),
            Qt::KeyboardModifiers(keys & int(Qt::KeyboardModifierMask)));
    }
}
