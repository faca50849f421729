#include "TreeBench.h"

#include "mkKernel/mkController.h"
#include "mkKernel/mkSelectionManager.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDialog>
#include <QMenu>
#include <QTimer>

Select everySecondNode(int count)
{
    return [count](QTreeWidget *tree) { selectNodeRows(tree, 2, count); };
}

Select everyNode()
{
    return [](QTreeWidget *tree) { selectNodeRows(tree, 1); };
}

double TreeBench::rebuildSeconds()
{
    return secondsOf([this] { host.tree()->rebuildTree(false); });
}

Timed TreeBench::slot(const char *name)
{
    return [this, name] { return secondsOf([&] { host.call(name); }); };
}

Timed TreeBench::applyAttributes()
{
    return [this] {
        // What counts begins when the user has pressed OK.
        double accepted = 0;
        QTimer::singleShot(0, qApp, [&accepted] {
            auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
            accepted = processorSeconds();
            dialog->accept();
        });
        host.call("applyAttributesToSelected");
        return processorSeconds() - accepted;
    };
}

Select TreeBench::emptiedLayers()
{
    return [this](QTreeWidget *tree) {
        for (int layer = 0; layer < tree->topLevelItemCount(); ++layer) {
            for (const mkNodePtr &node : host.nodes()) {
                BenchHost::store()->subNode(unsigned(layer), node.get());
            }
        }
        host.tree()->rebuildTree(false);
        mkSelectionManager::selectNodes(host.nodes());
        selectLayerRows(tree, 1);
    };
}

Select TreeBench::activatedScene()
{
    return [](QTreeWidget *tree) {
        selectNothing(tree);
        BenchHost::store()->activateLayer(0);
    };
}

Timed TreeBench::messageAfterReading()
{
    return [] {
        mkMessage message("sceneLoaded", mkMessage::SceneLoaded);
        return secondsOf([&] { mkController::sendMessage(message); });
    };
}

Timed TreeBench::contextMenu()
{
    return [this] {
        const QPoint point(40, 40);
        QWidget *const viewport = host.tree()->viewport();
        const double seconds = secondsOf([&] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, point, viewport->mapToGlobal(point));
            QApplication::sendEvent(viewport, &event);
        });
        host.tree()->popupMenu()->hide();
        return seconds;
    };
}

int TreeBench::run(const QStringList &groups)
{
    const std::vector<std::pair<const char *, void (TreeBench::*)()>> all{
        { "rebuild", &TreeBench::rebuild },         { "restore", &TreeBench::restore },
        { "commands", &TreeBench::commands },       { "rows", &TreeBench::singleRows },
        { "interaction", &TreeBench::interaction }, { "memory", &TreeBench::memory },
        { "painting", &TreeBench::painting },       { "growth", &TreeBench::growth },
    };
    for (const auto &[name, group] : all) {
        if (groups.isEmpty() || groups.contains(QLatin1String(name))) {
            (this->*group)();
        }
    }
    return report.overCount();
}
