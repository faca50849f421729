// Commands on many rows, and gestures on one.

#include "TreeBench.h"

#include "mkColumn.h"
#include "mkKernelServices/mkdMaterial.h"

#include <QApplication>
#include <QDataStream>
#include <QDropEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QMouseEvent>

#include <algorithm>

void TreeBench::reportCommand(const QString &name, const TreeShape &shape, const Select &select,
                              const Timed &work)
{
    constexpr int runs = 3;
    constexpr double limit = 2.5;
    std::vector<double> ratios;
    for (int run = 0; run < runs; ++run) {
        host.open(shape);
        const double plain = std::min(rebuildSeconds(), rebuildSeconds());
        select(host.tree());
        ratios.push_back(work() / plain);
    }
    std::sort(ratios.begin(), ratios.end());
    report.line(name, median(ratios), QStringLiteral("x_rebuild"), limit,
                QStringLiteral("%1..%2")
                    .arg(ratios.front(), 0, 'f', 2)
                    .arg(ratios.back(), 0, 'f', 2));
}

void TreeBench::commands()
{
    const TreeShape wide{ 100, 1000 };
    const TreeShape coated{ 100, 1000, TreeShape::Expanded, TreeShape::Material };
    const TreeShape many{ 10000, 10 };
    const Select thousandLayers = [](QTreeWidget *tree) { selectLayerRows(tree, 10); };

    reportCommand("apply_100000", wide, everyNode(), applyAttributes());
    reportCommand("clear_material_10000", coated, everySecondNode(10000),
                  slot("clearOverrideMaterial"));
    reportCommand("clear_material_100000", coated, everyNode(), slot("clearOverrideMaterial"));
    reportCommand("delete_nodes_10000", wide, everySecondNode(10000), slot("deleteNodes"));
    reportCommand("delete_nodes_50000", wide, everySecondNode(50000), slot("deleteNodes"));
    reportCommand("move_up_10000", wide, everySecondNode(10000), slot("moveUpNode"));
    reportCommand("activate_10000", wide, everySecondNode(10000),
                  [this] { return secondsOf([this] { host.tree()->activateSelected(); }); });
    reportCommand("delete_layers_1000", many, thousandLayers, slot("deleteLayers"));
    reportCommand("duplicate_layers_1000", many, thousandLayers, slot("duplicateLayer"));
    reportCommand("move_layers_up_1000", many, thousandLayers, slot("moveUpNode"));
    reportCommand("add_1000_nodes_to_10_layers", { 10, 1000 }, emptiedLayers(),
                  slot("addSelectedNodes"));
    reportCommand("message_after_reading", { 1, 100000 }, activatedScene(), messageAfterReading());
}

namespace {

/// Of a node in the first layer.
QPoint cellCentre(const QTreeWidget *tree, int node, int column)
{
    const QRect row = tree->visualItemRect(tree->topLevelItem(0)->child(node));
    return { tree->columnViewportPosition(column) + tree->columnWidth(column) / 2,
             row.center().y() };
}

void sendMouse(const QTreeWidget *tree, QEvent::Type type, const QPoint &point)
{
    QMouseEvent event(type, point, tree->viewport()->mapToGlobal(point), Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(tree->viewport(), &event);
}

void click(const QTreeWidget *tree, const QPoint &point)
{
    sendMouse(tree, QEvent::MouseButtonPress, point);
    sendMouse(tree, QEvent::MouseButtonRelease, point);
}

void doubleClick(const QTreeWidget *tree, const QPoint &point)
{
    click(tree, point);
    sendMouse(tree, QEvent::MouseButtonDblClick, point);
    sendMouse(tree, QEvent::MouseButtonRelease, point);
}

} // namespace

double TreeBench::dropMaterialSeconds(const QPoint &point)
{
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    stream << mkdMaterial(QString::fromStdString(materialNames().front()));
    QMimeData data;
    data.setData(QStringLiteral("application/mosk-decoupled-materials"), payload);
    QWidget *const viewport = host.tree()->viewport();
    // Qt hands a drop only to a widget that a drag has entered.
    QDragEnterEvent enter(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &enter);
    QDropEvent drop(point, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    return secondsOf([&] { QApplication::sendEvent(viewport, &drop); });
}

/// Against bare code that is given the same events, writes the cell, and fits the first column
/// where the panel does.
void TreeBench::singleRows()
{
    const std::vector<TreeShape> sizes{ { 1, 1000 }, { 1, 10000 }, { 1, 100000 }, { 10000, 10 } };
    const char *const names[] = { "toggle", "drop_material", "clear_button" };
    std::vector<double> rows;
    std::vector<double> grown[std::size(names)];
    for (const TreeShape &shape : sizes) {
        host.open(shape);
        bare.build(shape, host.nodeNames());
        bare.resize(host.tree()->size());
        bare.show();
        for (QTreeWidget *tree :
             { static_cast<QTreeWidget *>(host.tree()), static_cast<QTreeWidget *>(&bare) }) {
            tree->header()->resizeSections(QHeaderView::ResizeToContents);
            tree->scrollToTop();
        }
        QApplication::processEvents();
        QTreeWidget *const tree = host.tree();
        const QPoint cell = cellCentre(tree, 2, 3);
        const QPoint bareCell = cellCentre(&bare, 2, 3);
        const QPoint materialCell = cellCentre(tree, 2, mkColumn::OverrideMaterial);
        const QPoint button(tree->columnViewportPosition(mkColumn::OverrideMaterial) + 10,
                            materialCell.y());
        const auto shown = [tree](int column) {
            return tree->topLevelItem(0)->child(2)->text(column);
        };
        // A gesture that misses its cell would be quick.
        const auto check = [&shown](int column, const QString &text) {
            if (shown(column) != text) {
                qFatal("column %d shows %s", column, qUtf8Printable(shown(column)));
            }
        };
        const Timed toggle = [&] {
            const QString other = shown(3) == QLatin1String("On") ? QStringLiteral("Off")
                                                                  : QStringLiteral("On");
            const double seconds = secondsOf([&] { doubleClick(tree, cell); });
            check(3, other);
            return seconds;
        };
        const Timed drop = [&] {
            const double seconds = dropMaterialSeconds(materialCell);
            check(mkColumn::OverrideMaterial, QString::fromStdString(materialNames().front()));
            return seconds;
        };
        const Timed clear = [&] {
            dropMaterialSeconds(materialCell);
            const double seconds = secondsOf([&] { click(tree, button); });
            check(mkColumn::OverrideMaterial, QStringLiteral("Empty"));
            return seconds;
        };
        const auto write = [this](int column) {
            QTreeWidgetItem *const row = bare.topLevelItem(0)->child(2);
            row->setText(column, row->text(column) == QLatin1String("On") ? QStringLiteral("Off")
                                                                          : QStringLiteral("On"));
        };
        const Timed bareToggle = [&] {
            return secondsOf([&] {
                doubleClick(&bare, bareCell);
                write(3);
            });
        };
        const Timed bareFit = [&] {
            return secondsOf([&] {
                click(&bare, bareCell);
                write(mkColumn::OverrideMaterial);
                bare.resizeColumnToContents(0);
            });
        };
        const double floors[] = { shortMilliseconds(bareToggle), shortMilliseconds(bareFit) };
        const double subjects[] = { shortMilliseconds(toggle), shortMilliseconds(drop),
                                    shortMilliseconds(clear) };
        if (shape.layers == 1) {
            rows.push_back(shape.rows());
        }
        for (std::size_t i = 0; i < std::size(names); ++i) {
            report.line(QLatin1String(names[i]) + QLatin1Char('/') + shape.name(),
                        subjects[i] / floors[i == 0 ? 0 : 1], QStringLiteral("x_bare"), 1.0,
                        QStringLiteral("%1 ms").arg(subjects[i], 0, 'f', 3));
            if (shape.layers == 1) {
                grown[i].push_back(subjects[i]);
            }
        }
    }
    for (std::size_t i = 0; i < std::size(names); ++i) {
        report.line(QStringLiteral("growth/") + QLatin1String(names[i]),
                    growthExponent(rows, grown[i]), "exponent", 0.15);
    }
    bare.hide();
    bare.clear();
}
