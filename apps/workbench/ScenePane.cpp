#include "ScenePane.h"

#include "EmptyHint.h"
#include "NodeKind.h"
#include "SceneTree.h"
#include "SceneWatcher.h"
#include "SearchField.h"
#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkMaterials.h"

#include <QAction>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

constexpr int againAfter = 250;
constexpr int mostOfferedMaterials = 40;

QString formatted(std::size_t count)
{
    return QLocale().toString(qulonglong(count));
}

} // namespace

ScenePane::ScenePane(SceneWatcher *watcher, QWidget *parent)
    : QWidget(parent)
    , field(new SearchField(new QMenu(tr("Search by kind or material"))))
    , note(new QLabel)
    , trees(new QStackedWidget)
    , all(new SceneTree(watcher))
    , found(new SceneTree(watcher))
{
    all->setObjectName(QStringLiteral("sceneTree"));
    found->setObjectName(QStringLiteral("foundNodes"));
    found->setFilter(std::make_shared<NodeFilter>());
    field->setObjectName(QStringLiteral("sceneSearch"));
    field->setPlaceholderText(tr("Search nodes"));
    field->setToolTip(tr("Words in names: wheel front\nWhole names with wildcards: wheel_*\n"
                         "Kinds and materials: kind:mesh material:rubber"));
    note->setMargin(3);
    note->setWordWrap(true);
    note->hide();
    trees->addWidget(all);
    trees->addWidget(found);

    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(field);
    layout->addWidget(note);
    layout->addWidget(trees);
    setMinimumWidth(200);
    setFocusProxy(all);
    new EmptyHint(all, [] {
        const osg::NodePtr root = mkScenegraph::getRoot();
        return !root || root->getChildren().empty()
                   ? tr("The scene is empty.\nOpen a file with Ctrl+O, or drop one here.")
                   : QString();
    });

    connect(field, &QLineEdit::textChanged, this, &ScenePane::search);
    connect(field, &SearchField::left, this, &ScenePane::leaveField);
    connect(field->findChild<QMenu *>(), &QMenu::aboutToShow, this, &ScenePane::offerWords);
    connect(&finder, &SceneSearch::finished, this, &ScenePane::showFound);
    connect(&finder, &SceneSearch::progressed, this, [this](int visited) {
        note->setText(tr("Searching… %1 nodes").arg(formatted(std::size_t(visited))));
    });
    again.setSingleShot(true);
    again.setInterval(againAfter);
    connect(&again, &QTimer::timeout, this, &ScenePane::search);
    // What is looked for in one scene would hide another.
    connect(watcher, &SceneWatcher::sceneReplaced, field, &QLineEdit::clear);
    for (const auto signal : { &SceneWatcher::looksChanged, &SceneWatcher::materialsChanged }) {
        connect(watcher, signal, this, &ScenePane::searchAgain);
    }
    connect(watcher, &SceneWatcher::childrenChanged, this, &ScenePane::searchAgain);
    connect(mkScenegraph::the(), &mkScenegraph::scrollRequested, this, &ScenePane::reveal);

    for (SceneTree *tree : { all, found }) {
        auto *const escape = new QAction(tree);
        escape->setShortcut(Qt::Key_Escape);
        escape->setShortcutContext(Qt::WidgetShortcut);
        tree->addAction(escape);
        connect(escape, &QAction::triggered, field, &QLineEdit::clear);
    }
}

void ScenePane::beginSearch()
{
    field->setFocus();
    field->selectAll();
}

void ScenePane::offerWords()
{
    auto *const menu = field->findChild<QMenu *>();
    menu->clear();
    QMenu *const kinds = menu->addMenu(tr("Kind"));
    for (const NodeKind kind : allNodeKinds) {
        const QString word = searchWord(kind);
        kinds->addAction(word, this,
                         [this, word] { field->putWord(QStringLiteral("kind:"), word); });
    }
    QMenu *const materials = menu->addMenu(tr("Material"));
    for (const osg::MaterialPtr &material : mkMaterials::getMaterials()) {
        if (materials->actions().size() == mostOfferedMaterials) {
            break;
        }
        const QString name = QString::fromUtf8(mkMaterials::getName(material));
        QString text = name;
        materials->addAction(text.replace(QLatin1Char('&'), QLatin1String("&&")), this,
                             [this, name] { field->putWord(QStringLiteral("material:"), name); });
    }
    materials->setEnabled(!materials->isEmpty());
}

void ScenePane::search()
{
    again.stop();
    const NodePattern pattern(field->text());
    if (!pattern.isEmpty()) {
        finder.start(pattern);
        return;
    }
    finder.stop();
    note->hide();
    if (shown) {
        shown.reset();
        const bool hadFocus = found->hasFocus();
        trees->setCurrentWidget(all);
        found->setFilter(std::make_shared<NodeFilter>());
        if (hadFocus) {
            all->setFocus();
        }
    }
}

void ScenePane::searchAgain()
{
    if (shown || finder.isRunning()) {
        again.start();
    }
}

void ScenePane::showFound(const NodeFilterPtr &filter, int visited)
{
    note->setText(filter->matching.size() == 0 ? tr("No node fits.")
                                               : tr("%1 of %2 nodes", "found, all")
                                                     .arg(formatted(filter->matching.size()),
                                                          formatted(std::size_t(visited))));
    note->show();
    trees->setCurrentWidget(found);
    // Where nothing came or went, the view stays as it is.
    if (!shown || !(shown->matching == filter->matching && shown->shown == filter->shown)) {
        shown = filter;
        found->setFilter(filter);
    }
}

void ScenePane::reveal(const std::vector<mkNodePtr> &nodes)
{
    all->revealNodes(nodes);
    if (shown && !found->revealNodes(nodes)) {
        field->clear();
    }
}

void ScenePane::leaveField()
{
    SceneTree *const tree = shown ? found : all;
    tree->setFocus();
    if (shown && !tree->selectionModel()->hasSelection()) {
        tree->selectFirstMatch();
    }
}
