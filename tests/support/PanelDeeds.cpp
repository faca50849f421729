// What the user and scripts do in the panel.

#include "PanelSession.h"

#include "mkKernel/mkScript.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

QString PanelSession::path(Row row)
{
    return (row->parent() ? row->parent()->text(0) + '/' : "") + row->text(0);
}

void PanelSession::drop(const QString &format, const QByteArray &bytes)
{
    tell("drop " + bytes.toHex() + " on " + path(target));
    host.drop(host.cell(shown(), 1).center(), format, bytes);
}

PanelSession::Deeds PanelSession::deedsOnRows()
{
    const auto click = [this](Qt::KeyboardModifiers modifiers) {
        model.click(target, modifiers);
        host.click(host.cell(shown(), 1).center(), modifiers);
    };
    return {
        [this, click] {
            tell("click " + path(target));
            click({});
        },
        [this, click] {
            tell("ctrl+click " + path(target));
            click(Qt::ControlModifier);
        },
        [this, click] {
            // Where Qt measures from a row that is not to be seen, anything can come of it.
            if (!model.current() || !PanelModel::isVisible(model.current())) {
                return;
            }
            if (step.b % 3 < 2) {
                tell("shift+arrow");
                const auto key = step.b % 3 == 0 ? Qt::Key_Up : Qt::Key_Down;
                QTest::keyClick(&model.tree, key, Qt::ShiftModifier);
                host.key(key, Qt::ShiftModifier);
            } else {
                tell("shift+click " + path(target));
                click(Qt::ShiftModifier);
            }
        },
        [this] {
            target = PanelModel::layerOf(target);
            const bool open = !target->isExpanded();
            tell((open ? "open " : "close ") + path(target));
            target->setExpanded(open);
            model.store.setCollapseState(PanelModel::indexOf(target), open);
            shown()->setExpanded(open);
        },
        [this] {
            if (!target->parent()) {
                return;
            }
            const int column = int(step.b % 13);
            tell(QString("double click %1, column %2").arg(path(target)).arg(column));
            model.click(target);
            if (column >= 1 && column <= 11) {
                model.toggleCell(target, column);
            }
            host.doubleClick(shown(), column);
        },
        [this] {
            if (!target->icon(12).isNull()) {
                tell("click the clear button of " + path(target));
                model.clickClearButton(target);
                host.click(host.clearButton(shown()));
            }
        },
        [this] {
            const osg::MaterialPtr dragged = step.b % 5 != 0 ? anyMaterial(step.b)
                                                             : osg::MaterialPtr();
            const std::string name = dragged ? dragged->getName() : "unknown";
            // A drag carries only the name: of two materials with one name, the first is dropped.
            model.dropMaterial(target, mkMaterials::findMaterial(name.c_str()).get());
            drop(HostFixture::materialFormat,
                 HostFixture::materialPayload(QString::fromStdString(name)));
        },
        [this] {
            const bool good = step.b % 3 != 0;
            const Nodes nodes = plain(mkScenegraph::getSelectedRootNodes());
            drop(HostFixture::nodeFormat,
                 QByteArray::fromHex(good ? "0000000100000000" : "0000000000000005"));
            if (good) {
                model.dropNodes(target, nodes);
            }
            model.modified = true;
        },
    };
}

PanelSession::Deeds PanelSession::deedsInPanel()
{
    return {
        [this] {
            // One of two, or both.
            const char *const slot = step.b % 3 == 0 ? "deleteLayers" : "deleteNodes";
            const bool both = step.b % 3 == 2;
            tell(both ? "delete" : slot);
            if (step.b % 3 != 1) {
                model.removeSelectedLayers();
            }
            if (step.b % 3 != 0) {
                model.removeSelectedNodes();
            }
            both ? host.key(Qt::Key_Delete) : void(QMetaObject::invokeMethod(tree, slot));
        },
        [this] {
            const int way = int(step.b % 6);
            tell("delete, answered in way " + QString::number(way));
            answer = [way](QWidget *modal) {
                const auto buttons = qobject_cast<QMessageBox *>(modal)->buttons();
                way == 0   ? void(modal->close())
                : way == 1 ? QTest::keyClick(modal, Qt::Key_Escape)
                           : buttons[way == 2 ? 1 : 0]->click();
            };
            model.warnings = 1;
            if (way > 2) {
                model.removeSelectedLayers();
                model.removeSelectedNodes();
            }
            host.clickTool("Delete");
        },
        [this] {
            const bool agreed = step.b % 4 != 0;
            const QString flags = QString::number(step.a % 2048, 2).rightJustified(11, '0');
            tell(agreed ? "apply " + flags : "open the attributes and cancel");
            answer = [&](QWidget *modal) {
                QMap<int, QCheckBox *> boxes;
                for (QCheckBox *const box : modal->findChildren<QCheckBox *>()) {
                    boxes[box->y()] = box;
                }
                for (int i = 0; i < flags.size(); ++i) {
                    boxes.values()[i]->setChecked(flags[i] == '1');
                }
                agreed ? ModalAnswers::agree(modal) : void(modal->close());
            };
            if (!model.tree.selectedItems().empty()) {
                model.warnings = 1;
                if (agreed) {
                    model.applyAttributes(flags);
                }
            }
            host.action("Apply Attributes to Selected ...")->trigger();
        },
        [this] {
            tell("ask for a rebuild");
            model.rebuild(false);
            host.rebuild();
        },
        [this] { script(); },
        [this] { script(); },
        [this] { rename(); },
    };
}

/// What the menu offers; the key or the button in the tool bar does the same.
void PanelSession::command()
{
    struct Command
    {
        const char *name;
        std::function<void()> expect;
        int key = 0;
    };
    const std::vector<Command> all{
        { "Create Layer", [&] { model.createLayer({}); } },
        { "Duplicate Layer", [&] { model.duplicateLayers(); }, Qt::Key_D },
        { "Move Up", [&] { model.move(-1); }, Qt::Key_Up },
        { "Move Down", [&] { model.move(1); }, Qt::Key_Down },
        { "Select Nodes", [&] { model.selectNodes(); }, Qt::Key_N },
        { "Select All", [&] { model.tree.selectAll(); }, Qt::Key_A },
        { "Add Selected Nodes",
          [&] { model.addNodes(plain(mkScenegraph::getSelectedRootNodes())); } },
        { "Cleanup",
          [&] {
              model.store.cleanup(mkScenegraph::getRoot());
              model.rebuild(false);
          } },
        { "Clear Override Material", [&] { model.clearMaterials(); } },
        { "Activate Layer", [&] { model.activate(); } },
        { "Reset Layer", [] { mkNodeUtils::resetRenderLayerAttributes(mkScenegraph::getRoot()); } },
    };
    const unsigned chosen = step.a % unsigned(all.size());
    if (full() && chosen < 2) {
        return;
    }
    const auto &[name, expect, key] = all[chosen];
    tell(name);
    const HostCalls calls;
    const auto others = [&calls] {
        return calls.lines({ "mkRenderLayer::activate", "mkSelectionManager::sel", "mkScopedUndo",
                             "mkScenegraph::scroll", "mkController::up", "mkNodeUtils::reset" });
    };
    expect();
    const QString expected = others().join('\n');
    calls.clear();
    if (step.b % 3 == 0 && key) {
        host.key(key, Qt::ControlModifier);
    } else if (step.b % 3 == 1 || !host.clickTool(name)) {
        host.action(name)->trigger();
    }
    compare("calls", others().join('\n'), expected);
}

void PanelSession::rename()
{
    const QString name = anyName(step.b);
    const bool commit = step.a % 5 != 0;
    const bool interrupted = step.a % 3 == 0;
    const bool menu = step.b % 4 == 0;
    const auto canEdit = [this] { return model.current() && !model.current()->parent(); };
    bool opens = (menu || model.tree.selectedItems().size() <= 1) && canEdit();
    const QString old = opens ? path(model.current()) : "nothing";
    tell(QString("rename %1 to '%2', %3, %4")
             .arg(old, name, commit ? "return" : "escape",
                  interrupted ? "interrupted by a rebuild" : "at once"));
    menu ? host.action("Rename Layer")->trigger() : host.key(Qt::Key_F2);
    if (interrupted) {
        model.rebuild(false);
        host.rebuild();
        // The edit goes on where it is clear with which layer.
        const Rows namesakes = model.rows([&](Row row) { return path(row) == old; });
        opens &= canEdit() && namesakes == Rows{ model.current() };
    }
    if (opens && commit) {
        model.commitName(model.current(), name);
    }
    if (host.type(name, commit ? Qt::Key_Return : Qt::Key_Escape) != opens) {
        wrong += opens ? "no editor" : "an editor";
    }
}

void PanelSession::script()
{
    const QString name = anyName(step.b);
    const QStringList statements{
        "createRenderLayer('" + name + "')",
        "activateRenderLayer('" + name + "')",
        "addNodesToRenderLayer(mkHost.getSelectedNodes(), '" + name + "')",
    };
    const int chosen = int(step.a) % statements.size();
    if (chosen == 0 && full()) {
        return;
    }
    tell("script: " + statements[chosen]);
    if (chosen == 0) {
        model.createLayer(name);
    } else if (chosen == 1) {
        const Rows found = model.rows([&](Row row) { return row->text(0) == name; });
        model.select(found.empty() ? nullptr : found.last());
    } else {
        for (const osg::NodePtr &node : plain(mkSelectionManager::getSelectedNodes())) {
            model.addTo(name.toStdString(), node);
            model.changed(false);
        }
    }
    if (!mkScript::run(statements[chosen].toUtf8())) {
        wrong += "the script failed";
    }
}
