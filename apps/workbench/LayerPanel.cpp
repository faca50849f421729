#include "LayerPanel.h"

#include "mkKernel/mkScenegraph.h"
#include "mkOpenSGUtils/mkNodeUtils.h"
#include "mkOpenSGUtils/mkRenderLayer.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QMenu>
#include <QToolTip>
#include <QTreeWidget>

#include <algorithm>
#include <vector>

namespace {

constexpr const char *explanations[] = {
    QT_TRANSLATE_NOOP("LayerPanel", "The layers, and below each the nodes that it holds"),
    QT_TRANSLATE_NOOP("LayerPanel", "The node is there at all"),
    QT_TRANSLATE_NOOP("LayerPanel", "The node counts in the picture's alpha channel"),
    QT_TRANSLATE_NOOP("LayerPanel", "The camera sees the node directly"),
    QT_TRANSLATE_NOOP("LayerPanel", "The node shows in reflections"),
    QT_TRANSLATE_NOOP("LayerPanel", "The node shows through transparent surfaces"),
    QT_TRANSLATE_NOOP("LayerPanel", "The node casts shadows"),
    QT_TRANSLATE_NOOP("LayerPanel", "Shadows fall on the node"),
    QT_TRANSLATE_NOOP("LayerPanel", "Faces show from behind, too"),
    QT_TRANSLATE_NOOP("LayerPanel", "The node meets photons"),
    QT_TRANSLATE_NOOP("LayerPanel", "The node casts shadows on shadow materials"),
    QT_TRANSLATE_NOOP("LayerPanel", "The override material takes the place of the node's own"),
    QT_TRANSLATE_NOOP("LayerPanel", "The override material; drag one here from the Materials"),
};

/// Narrower, some headers would read alike.
constexpr int narrowestInCharacters = 18;
constexpr int nameColumnInCharacters = 20;

} // namespace

LayerPanel::LayerPanel(QWidget *panel)
    : QObject(panel)
    , tree(panel->findChild<QTreeWidget *>(QStringLiteral("_layer")))
{
    if (!tree) {
        return;
    }
    tree->header()->setTextElideMode(Qt::ElideMiddle);
    explainColumns();
    tree->viewport()->installEventFilter(this);
    const auto menus = tree->findChildren<QMenu *>();
    for (QMenu *menu : menus) {
        if (menu->isTearOffEnabled() && menu->title().isEmpty()) {
            menu->setTitle(panel->windowTitle());
        }
    }
    // The panel fits the column of names after some commands only, and to an empty tree, too.
    widening.setSingleShot(true);
    widening.setInterval(0);
    connect(&widening, &QTimer::timeout, this, &LayerPanel::widenNames);
    connect(this, &LayerPanel::changed, &widening, QOverload<>::of(&QTimer::start));
    connect(tree->header(), &QHeaderView::sectionResized, this, [this](int column, int, int width) {
        const bool byHand = QGuiApplication::mouseButtons() != Qt::NoButton
                            && tree->header()->viewport()->underMouse();
        if (column == 0 && byHand) {
            chosenNameWidth = width;
        } else if (column == 0) {
            widening.start();
        }
    });
    const QAbstractItemModel *const model = tree->model();
    connect(model, &QAbstractItemModel::dataChanged, this, &LayerPanel::changed);
    connect(model, &QAbstractItemModel::rowsInserted, this, &LayerPanel::changed);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &LayerPanel::changed);
    connect(model, &QAbstractItemModel::modelReset, this, &LayerPanel::changed);
}

void LayerPanel::explainColumns()
{
    QTreeWidgetItem *const header = tree->headerItem();
    const int count = std::min(header->columnCount(), int(std::size(explanations)));
    for (int column = 0; column < count; ++column) {
        header->setToolTip(column,
                           header->text(column) + QLatin1Char('\n') + tr(explanations[column]));
    }
}

/// So wide that the names can be read, but never so that they leave no room for the rest.
int LayerPanel::wantedNameWidth() const
{
    if (chosenNameWidth > 0) {
        return chosenNameWidth;
    }
    const QAbstractItemView *const view = tree;
    return std::max(tree->fontMetrics().averageCharWidth() * nameColumnInCharacters,
                    std::min(view->sizeHintForColumn(0), tree->viewport()->width() / 2));
}

void LayerPanel::widenNames()
{
    if (tree && tree->header()->sectionSize(0) < wantedNameWidth()) {
        tree->header()->resizeSection(0, wantedNameWidth());
    }
}

void LayerPanel::fitColumns()
{
    if (!tree) {
        return;
    }
    QHeaderView *const header = tree->header();
    const int narrowest = tree->fontMetrics().averageCharWidth() * narrowestInCharacters;
    chosenNameWidth = 0;
    const int name = wantedNameWidth();
    std::vector<int> wanted;
    for (int column = 1; column < header->count(); ++column) {
        wanted.push_back(header->sectionSizeHint(column));
    }
    const int room = tree->viewport()->width() - name;
    const auto total = [&wanted](int widest) {
        int sum = 0;
        for (const int width : wanted) {
            sum += std::min(width, widest);
        }
        return sum;
    };
    int widest = wanted.empty() ? 0 : *std::max_element(wanted.begin(), wanted.end());
    // Where they must scroll all the same they are not cut either.
    if (total(narrowest) <= room) {
        while (total(widest) > room) {
            --widest;
        }
    }
    header->resizeSection(0, name);
    for (int column = 1; column < header->count(); ++column) {
        header->resizeSection(column, std::min(wanted[std::size_t(column) - 1], widest));
    }
}

QVariant LayerPanel::saveColumns() const
{
    return tree ? QVariantList{ tree->header()->saveState(), chosenNameWidth } : QVariant();
}

bool LayerPanel::restoreColumns(const QVariant &columns)
{
    const QVariantList saved = columns.toList();
    // Of another version of the panel it may be for other columns.
    const int count = tree ? tree->header()->count() : 0;
    const bool restored = tree && saved.size() == 2
                          && tree->header()->restoreState(saved.at(0).toByteArray())
                          && tree->header()->count() == count;
    chosenNameWidth = restored ? saved.at(1).toInt() : 0;
    return restored;
}

bool LayerPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ToolTip && tree) {
        const auto *const help = static_cast<QHelpEvent *>(event);
        const QString tip = memberTip(help->pos());
        if (!tip.isEmpty()) {
            QToolTip::showText(help->globalPos(), tip, tree->viewport());
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

QString LayerPanel::memberTip(const QPoint &position) const
{
    // The rows are those of the store, in its order.
    const QModelIndex index = tree->indexAt(position);
    const QModelIndex parent = index.parent();
    const mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    if (!parent.isValid() || !store) {
        return {};
    }
    const osg::RenderLayerPtr layer = store->getAttachment()->getLayer(std::size_t(parent.row()));
    if (!layer || std::size_t(index.row()) >= layer->getNodes().size()) {
        return {};
    }
    const osg::NodePtr node = layer->getNodes()[std::size_t(index.row())];
    const QString path = QString::fromStdString(mkNodeUtils::getPath(node));
    return mkScenegraph::isInScene(node) ? path : tr("%1\nIt is in the scene no more.").arg(path);
}
