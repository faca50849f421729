// What the user waits for: selecting, menus, painting, scrolling.

#include "TreeBench.h"

#include "mkColumn.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>

void TreeBench::interaction()
{
    const TreeShape shape{ 100, 1000 };
    host.open(shape);
    bare.build(shape, host.nodeNames());
    bare.show();
    QApplication::processEvents();

    // Each time right after a rebuild, when Qt knows the height of no row yet.
    const auto afresh = [&](const std::function<void(QTreeWidget *)> &act) {
        return compare(
            3,
            [&] {
                host.tree()->rebuildTree(false);
                QApplication::processEvents();
                return secondsOf([&] { act(host.tree()); });
            },
            [&] {
                bare.build(shape, host.nodeNames());
                QApplication::processEvents();
                return secondsOf([&] { act(&bare); });
            });
    };
    const Comparison all = afresh([](QTreeWidget *tree) {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier);
        QApplication::sendEvent(tree, &event);
    });
    report.line("select_all_100000", all.ratio, "x_bare", 0.25, all.spread);
    // The panel rebuilds its rows as well.
    int name = 0;
    const Comparison renamed = afresh([&](QTreeWidget *tree) {
        tree->topLevelItem(shape.layers - 1)->setText(0, QString::number(++name));
    });
    report.line("rename_layer_100000", renamed.ratio, "x_bare", 0.25, renamed.spread);

    // What bare Qt needs to open a menu that depends on the selection: ask for it, show the menu.
    selectNodeRows(host.tree(), 1);
    selectNodeRows(&bare, 1);
    QMenu bareMenu;
    for (int i = 0; i < 14; ++i) {
        bareMenu.addAction(QStringLiteral("Action %1").arg(i));
    }
    const QPoint point(40, 40);
    const Comparison menu = compare(9, contextMenu(), [&] {
        const double seconds = secondsOf([&] {
            bareMenu.setEnabled(!bare.selectedItems().isEmpty());
            bareMenu.popup(bare.viewport()->mapToGlobal(point));
        });
        bareMenu.hide();
        return seconds;
    });
    report.line("context_menu_100000_selected", menu.ratio, "x_bare", 1.5, menu.spread);
    bare.hide();
    bare.clear();
}

void TreeBench::painting()
{
    const TreeShape shape{ 100, 1000 };
    host.open(shape);
    QTreeWidget *const tree = host.tree();
    const osg::NodePtr node = host.nodes().front().get();
    bare.setNodeIcon(mkScenegraph::getNodeIcon(node->getCore(), node, false));
    bare.resize(tree->size());
    bare.show();
    QApplication::processEvents();
    for (int column = 0; column < mkColumn::Count; ++column) {
        bare.setColumnWidth(column, tree->columnWidth(column));
    }
    const Comparison first = compare(
        9,
        [&] {
            host.tree()->rebuildTree(false);
            return secondsOf([&] { tree->viewport()->repaint(); });
        },
        [&] {
            bare.build(shape, host.nodeNames());
            return secondsOf([&] { bare.viewport()->repaint(); });
        });
    report.line("first_paint_100000", first.ratio, "x_bare", 1.2, first.spread);

    const auto page = [](QTreeWidget &view) {
        return [&view] {
            QScrollBar *const bar = view.verticalScrollBar();
            return secondsOf([&] {
                bar->setValue(bar->value() + bar->pageStep());
                view.viewport()->repaint();
            });
        };
    };
    const Comparison pages = compare(61, page(*tree), page(bare));
    report.line("page_scroll", pages.ratio, "x_bare", 1.2,
                QStringLiteral("%1; %2 ms").arg(pages.spread).arg(pages.subject * 1e3, 0, 'f', 1));
    bare.hide();
    bare.clear();
    bare.setNodeIcon(QPixmap());
}
