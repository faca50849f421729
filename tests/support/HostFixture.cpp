#include "HostFixture.h"

#include "OSGSystem/Geometry.h"
#include "mkIconManager/mkIconManager.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkdMaterial.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkQt4Ext/QMKDockWindowManager.h"
#include "mkUtils/mkLog.h"
#include "mkUtils/mkTrace.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScopeGuard>
#include <QTest>
#include <QToolBar>
#include <QTreeWidgetItemIterator>

namespace {

QStringList &hostCalls()
{
    static QStringList lines;
    return lines;
}

QtMessageHandler previousHandler = nullptr;

void recordHostCall(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (qstrcmp(context.category, "mk.host") == 0) {
        hostCalls() += text;
    } else if (previousHandler) {
        previousHandler(type, context, text);
    }
}

osg::NodePtr addChild(const osg::NodePtr &parent, const char *name, const osg::NodeCorePtr &core)
{
    const osg::NodePtr node = osg::Node::create();
    node->setName(name);
    node->setCore(core);
    parent->addChild(node);
    return node;
}

QString pathOf(const QTreeWidgetItem *item)
{
    const QString text = item->text(0);
    return item->parent() ? item->parent()->text(0) + '/' + text : text;
}

} // namespace

const QString HostFixture::nodeFormat = QStringLiteral("application/mosk-tree-item");
const QString HostFixture::materialFormat = QStringLiteral("application/mosk-decoupled-materials");

HostFixture::HostFixture(bool python)
    : mainWindow(std::make_unique<QMainWindow>())
{
    mkController::setMainWindow(mainWindow.get());
    new QMKDockWindowManager(mainWindow.get());
    mkScenegraph::newScene("empty");
    loader.load(pluginFile());
    if (python) {
        mkPythonRegisterFactory::run(mkPythonRegisterFactory::BeforeInterpreter);
        mkScript::start();
        mkPythonRegisterFactory::run(mkPythonRegisterFactory::AfterInterpreter);
    }
    loader.initAll();
    mainWindow->resize(1600, 800);
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
    statusBar()->clearMessage();
}

QString HostFixture::pluginFile()
{
    return QStringLiteral(MK_PLUGIN_DIR "/mkRenderLayerModule.so");
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

osg::MaterialPtr HostFixture::material(const char *name)
{
    return mkMaterials::findMaterial(name).get();
}

QTreeWidget *HostFixture::tree() const
{
    return mainWindow->findChild<QTreeWidget *>(QStringLiteral("_layer"));
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

void HostFixture::kill(const QString &name) const
{
    for (unsigned i = 0; i < store()->getAttachment()->getLayers().size(); ++i) {
        store()->subNode(i, node(name));
    }
    mkScenegraph::removeNode(node(name));
    mkController::setModified(0);
}

void HostFixture::settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

QTreeWidgetItem *HostFixture::row(const QString &path) const
{
    for (QTreeWidgetItemIterator it(tree()); *it; ++it) {
        if (pathOf(*it) == path) {
            return *it;
        }
    }
    return nullptr;
}

QString HostFixture::rows() const
{
    QStringList layers;
    for (int i = 0; i < tree()->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *const layer = tree()->topLevelItem(i);
        QStringList nodes;
        for (int j = 0; j < layer->childCount(); ++j) {
            nodes += layer->child(j)->text(0);
        }
        layers += layer->text(0) + '[' + nodes.join(' ') + ']';
    }
    return layers.join(' ');
}

QString HostFixture::stored()
{
    QStringList layers;
    const osg::RenderLayersPtr content = store()->getAttachment();
    for (std::size_t i = 0; i < content->getLayers().size(); ++i) {
        QStringList nodes;
        for (const osg::NodePtr &member : content->getLayer(i)->getNodes()) {
            nodes += mkNodeUtils::getName(member);
        }
        layers += content->getLayer(i)->getName().c_str() + ('[' + nodes.join(' ') + ']');
    }
    return layers.join(' ');
}

QString HostFixture::selected() const
{
    QStringList paths;
    for (QTreeWidgetItemIterator it(tree()); *it; ++it) {
        if ((*it)->isSelected()) {
            paths += pathOf(*it) + (*it == tree()->currentItem() ? "*" : "");
        }
    }
    return paths.join(' ');
}

osg::RaytracingGeoAttachmentPtr HostFixture::attributes(unsigned layer, const QString &member) const
{
    return store()->getAttributes(layer, node(member));
}

bool &HostFixture::flag(const osg::RaytracingGeoAttachmentPtr &attributes, int column)
{
    using Attributes = osg::RaytracingGeoAttachmentBase;
    static constexpr bool &(Attributes::*getters[])() = {
        &Attributes::getVisible,
        &Attributes::getVisibleInAlpha,
        &Attributes::getPrimaryVisibility,
        &Attributes::getVisibleInReflections,
        &Attributes::getVisibleInRefractions,
        &Attributes::getCastShadows,
        &Attributes::getReceiveShadows,
        &Attributes::getDoubleSided,
        &Attributes::getVisibleInPhotons,
        &Attributes::getCastShadowsOnShadowMaterial,
        &Attributes::getUseOverrideMaterial,
    };
    return ((*attributes).*getters[column - 1])();
}

QString HostFixture::values(const osg::RaytracingGeoAttachmentPtr &attributes)
{
    if (!attributes) {
        return "none";
    }
    QString text;
    for (int column = 1; column <= 11; ++column) {
        text += flag(attributes, column) ? '1' : '0';
    }
    const osg::MaterialPtr material = attributes->getOverrideMaterial();
    return text + ' ' + (material ? mkMaterials::getName(material) : "Empty");
}

QString HostFixture::cells(const QTreeWidgetItem *item)
{
    QString text;
    for (int column = 1; column <= 11; ++column) {
        const QString shown = item->text(column);
        const bool on = item->data(column, Qt::UserRole).toBool();
        const bool agrees = shown.isEmpty() ? !item->data(column, Qt::UserRole).isValid()
                                            : shown == (on ? "On" : "Off");
        text += !agrees ? '?' : shown.isEmpty() ? ' ' : on ? '1' : '0';
    }
    const QString material = item->text(12);
    const bool icon = !item->data(12, Qt::DecorationRole).value<QIcon>().isNull();
    return text + ' ' + material + (icon == (material.isEmpty() || material == "Empty") ? "!" : "");
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
    const auto *const menu = tree()->findChild<QMenu *>();
    for (QAction *candidate : menu->actions()) {
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

void HostFixture::closeMenu() const
{
    tree()->findChild<QMenu *>()->hide();
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

void HostFixture::click(const QString &path, int column, Qt::KeyboardModifiers modifiers) const
{
    click(cell(path, column).center(), modifiers);
}

void HostFixture::doubleClick(const QTreeWidgetItem *item, int column) const
{
    const QPoint point = cell(item, column).center();
    click(point);
    QTest::mouseDClick(tree()->viewport(), Qt::LeftButton, {}, point);
}

QPoint HostFixture::clearButton(const QTreeWidgetItem *item) const
{
    const QRect place = cell(item, 12);
    return { place.left() + 10, place.center().y() };
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

QPoint HostFixture::emptySpace() const
{
    return { 20, tree()->viewport()->height() - 5 };
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

HostCalls::HostCalls()
{
    clear();
    previousHandler = qInstallMessageHandler(recordHostCall);
    QLoggingCategory::setFilterRules(QStringLiteral("mk.host.debug=true"));
}

HostCalls::~HostCalls()
{
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(previousHandler);
    previousHandler = nullptr;
}

QStringList HostCalls::lines(const QStringList &names) const
{
    QStringList matching;
    for (const QString &line : qAsConst(hostCalls())) {
        const auto begins = [&line](const QString &name) { return line.startsWith(name); };
        if (names.isEmpty() || std::any_of(names.begin(), names.end(), begins)) {
            matching += line;
        }
    }
    return matching;
}

QString HostCalls::commands() const
{
    QStringList commands;
    for (QString line : lines({ "mkRenderLayer::", "mkController::", "mkSelectionManager::",
                                "mkScopedUndo::", "mkScenegraph::scrollToNodes" })) {
        line.remove(0, line.indexOf("::") + 2).remove('"');
        if (line == "isEmpty()") {
            commands += "rebuild";
        } else if (!line.startsWith("get")) {
            commands += line;
        }
    }
    return commands.join(' ');
}

void HostCalls::clear()
{
    hostCalls().clear();
}

LogLines::LogLines()
    : listener(mkLog::addListener([this](mkLog::Severity, const QString &line) { lines += line; }))
{}

LogLines::~LogLines()
{
    mkLog::removeListener(listener);
}

Announcements::Announcements(const osg::RaytracingGeoAttachmentPtr &attributes)
    : watched(attributes)
{
    osg::WinThreadBase::setCurrentChangeList(&list);
}

Announcements::~Announcements()
{
    osg::WinThreadBase::setCurrentChangeList(nullptr);
}

void Announcements::containerChanged(const osg::FieldContainerPtr &container,
                                     const osg::BitVector &which, osg::ChangeOrigin origin)
{
    if (container == watched) {
        const auto &told = list.getChanged();
        const bool good = origin == osg::ChangeOrigin::External && !told.empty()
                          && told.back() == osg::ChangeList::Entry(container, which);
        lines += HostFixture::values(watched) + ' ' + mkTrace::traceText(which) + (good ? "" : "?");
    }
}

ModalAnswers::ModalAnswers(std::function<void(QWidget *)> answer)
{
    timer.setInterval(5);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this, answer = std::move(answer)] {
        QWidget *const modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible()) {
            answered.clear();
        } else if (modal != answered) {
            answered = modal;
            ++opened;
            answer(modal);
        }
    });
    timer.start();
}

void ModalAnswers::agree(QWidget *modal)
{
    if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
        box->buttons().first()->click();
    } else {
        modal->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    }
}

int runHostTest(int argc, char **argv, const std::function<std::unique_ptr<QObject>()> &create)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    const std::unique_ptr<QObject> test = create();
    return QTest::qExec(test.get(), argc, argv);
}
