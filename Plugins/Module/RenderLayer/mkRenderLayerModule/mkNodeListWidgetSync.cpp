// The rebuild of the tree, and when it happens.

#include "mkColumn.h"
#include "mkHostAccess.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScenegraph.h"
#include "mkNodeListWidget.h"
#include "mkNodeRowMaker.h"
#include "mkSelectionMemory.h"

#include <QLineEdit>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalBlocker>

#include <exception>
#include <utility>

namespace {

/// The store's content when it can be shown: every entry is a layer. Null otherwise.
osg::RenderLayersPtr showableContent(mkRenderLayer *store)
{
    if (!store || store->isEmpty()) {
        return osg::NullFC;
    }
    const osg::RenderLayersPtr content = store->getAttachment();
    for (std::size_t i = 0; i < mkLayerCount(content); ++i) {
        if (mkLayerAt(content, i) == osg::NullFC) {
            return osg::NullFC;
        }
    }
    return content;
}

/// Appends the layer rows, with their node rows, to `rows`, and whether each is to be open.
void createRows(const osg::RenderLayersPtr &content, QList<QTreeWidgetItem *> &rows,
                std::vector<bool> &expansion)
{
    mkNodeRowMaker nodeRowMaker;
    // Lists are looked up anew for each entry: the host may change them while it is asked.
    for (std::size_t i = 0; i < mkLayerCount(content); ++i) {
        const osg::RenderLayerPtr layer = mkLayerAt(content, i);
        if (layer == osg::NullFC) {
            break;
        }
        auto *const layerRow = new mkNodeItem(nullptr, osg::NullFC);
        rows.append(layerRow);
        expansion.push_back(layer->getState() != 0);
        layerRow->setItemType(mkNodeItem::LayerRow);
        layerRow->setData(mkColumn::Layer, Qt::DisplayRole,
                          QString::fromStdString(layer->getName()));
        QList<QTreeWidgetItem *> nodeRows;
        const auto addNodeRows = qScopeGuard([&] { layerRow->addChildren(nodeRows); });
        nodeRows.reserve(int(mkNodeCount(layer)));
        for (std::size_t j = 0; j < mkNodeCount(layer); ++j) {
            auto nodeRow = nodeRowMaker.create(mkNodeAt(layer, j), mkAttributesAt(layer, j));
            nodeRow->setAttributeIndex(int(j));
            nodeRows.append(nodeRow.release());
        }
    }
}

void storeExpansion(QTreeWidgetItem *item)
{
    const auto *const row = static_cast<mkNodeItem *>(item);
    const bool isLayer = row && row->isLayer();
    const unsigned index = isLayer ? row->getLayerIndex() : 0;
    const unsigned state = isLayer && row->isExpanded() ? 1 : 0;
    mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    if (row && store && !store->isEmpty() && isLayer) {
        store->setCollapseState(index, state);
    }
}

} // namespace

mkNodeListWidget::RowsInUse::RowsInUse(mkNodeListWidget *user)
    : tree(user)
{
    if (tree) {
        ++tree->rowsInUse;
    }
}

mkNodeListWidget::RowsInUse::~RowsInUse()
{
    if (tree && --tree->rowsInUse == 0 && tree->rebuildPending) {
        tree->rebuildLater();
    }
}

void mkNodeListWidget::catchUp()
{
    if (rebuildPending) {
        rebuildTree(false);
    }
}

void mkNodeListWidget::rebuildLater()
{
    const auto rebuild = [this] {
        try {
            catchUp();
        } catch (...) {
            mkReportFailure("mkNodeListWidget::rebuildTree");
        }
    };
    QMetaObject::invokeMethod(this, rebuild, Qt::QueuedConnection);
}

void mkNodeListWidget::rebuildTree(bool keepSelection)
{
    rebuildPending = rowsInUse > 0;
    if (rebuildPending) {
        return;
    }
    const QPointer<mkNodeListWidget> self(this);
    try {
        // A message that comes while the store is read may be about what was read already.
        const RowsInUse inUse(this);
        drawTree(keepSelection);
    } catch (...) {
        if (self) {
            rebuildPending = true;
            // Once: a host that throws each time must not keep the event loop busy.
            if (!std::exchange(rebuildFailed, true)) {
                rebuildLater();
            }
        }
        throw;
    }
    if (!self) {
        return;
    }
    rebuildFailed = false;
    if (const Fit fit = std::exchange(pendingFit, Fit::None); fit != Fit::None) {
        fitFirstColumn(fit);
    }
}

void mkNodeListWidget::drawTree(bool keepSelection)
{
    const QPointer<mkNodeListWidget> self(this);
    mkRenderLayer *const store = mkScenegraph::getRenderLayer();
    if (!self) {
        return;
    }
    mkSelectionMemory memory = mkSelectionMemory::take(*this, keepSelection);
    const int left = horizontalScrollBar()->value();
    const auto resume = suspendEdit();
    mkSelectionMemory::deselectAll(*this);
    clear();
    const osg::RenderLayersPtr content = showableContent(store);
    if (content == osg::NullFC || !self) {
        return;
    }
    {
        setUpdatesEnabled(false);
        const auto enableUpdates = qScopeGuard([self] {
            if (self) {
                self->setUpdatesEnabled(true);
            }
        });
        QList<QTreeWidgetItem *> rows;
        const auto deleteOrphans = qScopeGuard([&rows] { qDeleteAll(rows); });
        std::vector<bool> expansion;
        createRows(content, rows, expansion);
        if (!self) {
            return;
        }
        const QSignalBlocker blocker(this);
        addTopLevelItems(std::exchange(rows, {}));
        for (int i = 0; i < topLevelItemCount(); ++i) {
            topLevelItem(i)->setExpanded(expansion[std::size_t(i)]);
        }
        memory.restore(*this);
        // To bring the current row into view, Qt scrolls to its first column.
        horizontalScrollBar()->setValue(left);
    }
    if (!selectionModel()->hasSelection() && currentItem()) {
        currentItem()->setSelected(true);
    }
    update();
    resume();
}

void mkNodeListWidget::change(int afterwards, const std::function<void()> &callStore)
{
    std::exception_ptr failure;
    const auto attempt = [&failure](const std::function<void()> &step) {
        try {
            step();
        } catch (...) {
            failure = failure ? failure : std::current_exception();
        }
    };
    const QPointer<mkNodeListWidget> self(this);
    const bool rebuilds = (afterwards & PatchRow) == 0;
    attempt([&] {
        // A rebuild before the command's own would cost selected rows their selection.
        const RowsInUse inUse(rebuilds ? this : nullptr);
        callStore();
    });
    attempt([&] {
        if (self && (rebuilds || failure)) {
            rebuildTree((afterwards & KeepSelection) != 0);
        }
        if (self && (afterwards & FitColumn) != 0) {
            fitFirstColumn();
        }
    });
    if ((afterwards & MarkModified) != 0) {
        attempt([] { mkController::setModified(1); });
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void mkNodeListWidget::run(const char *function, int afterwards,
                           const std::function<void()> &callStore)
try {
    change(afterwards, callStore);
} catch (...) {
    mkReportFailure(function);
}

std::function<void()> mkNodeListWidget::suspendEdit()
{
    std::function<void()> resume = [] {};
    const QModelIndex current = currentIndex();
    for (int column = 0; state() == EditingState && column < mkColumn::Count; ++column) {
        QWidget *const editor = indexWidget(current.sibling(current.row(), column));
        if (!editor) {
            continue;
        }
        const auto *const line = qobject_cast<const QLineEdit *>(editor);
        if (line && column == mkColumn::Layer) {
            const int start = line->hasSelectedText() ? line->selectionStart()
                                                      : line->cursorPosition();
            resume = [this, layerName = currentItem()->text(column), typed = line->text(), start,
                      length = line->selectedText().size()] {
                resumeEdit(layerName, typed, start, length);
            };
        }
        // Were it left to the rows' deletion, the keys would go on to a neighbour of the tree.
        closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
    return resume;
}

void mkNodeListWidget::resumeEdit(const QString &layerName, const QString &typed, int start,
                                  int length)
{
    const auto layers = findItems(layerName, Qt::MatchExactly, mkColumn::Layer);
    if (layers.size() != 1 || layers.first() != currentItem()) {
        return;
    }
    editItem(currentItem(), mkColumn::Layer);
    QWidget *const editor = indexWidget(indexFromItem(currentItem(), mkColumn::Layer));
    if (auto *const line = qobject_cast<QLineEdit *>(editor)) {
        line->setText(typed);
        line->setSelection(start, length);
    }
}

void mkNodeListWidget::expanded(QTreeWidgetItem *item)
try {
    const RowsInUse inUse(this);
    storeExpansion(item);
    if (!inUse.areGone()) {
        fitFirstColumn();
    }
} catch (...) {
    mkReportFailure("mkNodeListWidget::expanded");
}

void mkNodeListWidget::collapsed(QTreeWidgetItem *item)
try {
    const RowsInUse inUse(this);
    storeExpansion(item);
} catch (...) {
    mkReportFailure("mkNodeListWidget::collapsed");
}
