// What the user and scripts do in the panel.

#include "PanelSession.h"

#include "mkOpenSGUtils/mkMaterials.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTest>

#include <algorithm>

namespace {

/// Leaves a dialog by 0 to 3 as if it had not been opened, by 4 and 5 with its button, or with
/// Return.
void leave(QWidget *dialog, unsigned way)
{
    const auto *const box = dialog->findChild<QDialogButtonBox *>();
    const auto wanted = way < 4 ? QDialogButtonBox::RejectRole : QDialogButtonBox::AcceptRole;
    const auto buttons = box->buttons();
    QAbstractButton *const button = *std::find_if(buttons.begin(), buttons.end(),
                                                  [&](QAbstractButton *candidate) {
                                                      return box->buttonRole(candidate) == wanted;
                                                  });
    if (way == 0) {
        dialog->close();
    } else if (way == 1) {
        QTest::keyClick(dialog, Qt::Key_Escape);
    } else if (way == 2) {
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Space);
    } else if (way < 6) {
        button->click();
    } else {
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Return);
    }
}

} // namespace

PanelSession::Deeds PanelSession::deedsOnRows()
{
    const auto click = [this](Qt::KeyboardModifiers modifiers) {
        model.click(target, modifiers);
        host.click(host.cell(shown(), 1).center(), modifiers);
    };
    const auto drop = [this](const QString &format, const QByteArray &bytes,
                             const std::function<void()> &expect) {
        tellOfRow("drop " + bytes.toHex() + " on");
        const QPoint point = host.cell(shown(), 1).center();
        expect();
        host.drop(point, format, bytes);
    };
    return {
        [this, click] {
            const bool adds = step.b % 2 == 0;
            tellOfRow(adds ? "ctrl+click" : "click");
            click(adds ? Qt::ControlModifier : Qt::NoModifier);
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
                tellOfRow("shift+click");
                click(Qt::ShiftModifier);
            }
        },
        [this] {
            target = PanelModel::layerOf(target);
            const bool open = !target->isExpanded();
            tellOfRow(open ? "open" : "close");
            target->setExpanded(open);
            model.store.setCollapseState(PanelModel::indexOf(target), open);
            shown()->setExpanded(open);
        },
        [this] {
            const int column = int(step.b % 13);
            tellOfRow(QString("double click column %1 of").arg(column));
            model.click(target);
            if (target->parent() && column >= 1 && column <= 11) {
                model.toggleCell(target, column);
            }
            host.doubleClick(shown(), column);
            // Names of layers are edited, whatever the column.
            if (host.type({}, Qt::Key_Escape) == bool(target->parent())) {
                wrong += "edited, or not";
            }
        },
        [this] {
            if (!target->icon(12).isNull()) {
                tellOfRow("click the clear button of");
                model.clickClearButton(target);
                host.click(host.clearButton(shown()));
            }
        },
        [this, drop] {
            const osg::MaterialPtr dragged = step.b % 5 != 0 ? anyMaterial(step.b)
                                                             : osg::MaterialPtr();
            const std::string name = dragged ? dragged->getName() : "unknown";
            drop(HostFixture::materialFormat, HostFixture::materialPayload(name.c_str()), [&] {
                // A drag carries only the name: of two materials with one, the first is dropped.
                model.dropMaterial(target, mkMaterials::findMaterial(name.c_str()).get());
            });
        },
        [this, drop] {
            const bool good = step.b % 3 != 0;
            drop(HostFixture::nodeFormat,
                 QByteArray::fromHex(good ? "0000000100000000" : "0000000000000005"), [&] {
                     good ? model.dropNodes(target) : void();
                     model.modified = true;
                 });
        },
    };
}

PanelSession::Deeds PanelSession::deedsInPanel()
{
    return {
        [this] {
            tell("delete");
            model.removeSelected();
            host.key(Qt::Key_Delete);
        },
        [this] {
            const unsigned way = step.b % 6;
            tell(QString("delete, answered in way %1").arg(way));
            answer = [way](QWidget *modal) { leave(modal, way); };
            model.warnings = 1;
            if (way > 3) {
                model.removeSelected();
            }
            host.clickTool("Delete");
        },
        [this] {
            const unsigned way = step.b % 8;
            const int changed = int(step.a % 11);
            tell(QString("change attribute %1 and leave in way %2").arg(changed).arg(way));
            // The dialog lives as long as the panel, and its boxes stay as they were left.
            static QString boxes(11, '0');
            answer = [=](QWidget *modal) {
                QMap<int, QCheckBox *> shown;
                for (QCheckBox *const box : modal->findChildren<QCheckBox *>()) {
                    shown[box->y()] = box;
                }
                // The first box has the focus, whatever had it last; and Space leaves nothing.
                if (changed > 0) {
                    shown.values()[changed]->setFocus();
                }
                QTest::keyClick(modal->focusWidget(), Qt::Key_Space);
                leave(modal, way);
            };
            if (!model.tree.selectedItems().empty()) {
                model.warnings = 1;
                boxes[changed] = boxes[changed] == '1' ? '0' : '1';
                if (way > 3) {
                    model.applyAttributes(boxes);
                }
            }
            host.action("Apply Attributes to Selected ...")->trigger();
        },
        [this] {
            tell("ask for a rebuild");
            model.rebuild(false);
            host.rebuild();
        },
        [this] { rename(); },
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
        { "Create Layer", [&] { model.createLayer(); } },
        { "Duplicate Layer", [&] { model.duplicateLayers(); }, Qt::Key_D },
        { "Move Up", [&] { model.move(-1); }, Qt::Key_Up },
        { "Move Down", [&] { model.move(1); }, Qt::Key_Down },
        { "Select All", [&] { model.tree.selectAll(); }, Qt::Key_A },
        { "Cleanup",
          [&] {
              model.store.cleanup(mkScenegraph::getRoot());
              model.rebuild(false);
          } },
        { "Activate Layer", [&] { model.activate(); } },
    };
    const unsigned chosen = step.a % unsigned(all.size());
    if (full() && chosen < 2) {
        return;
    }
    const auto &[name, expect, key] = all[chosen];
    tell(name);
    const HostCalls calls;
    expect();
    const QStringList activations{ "mkRenderLayer::activate", "mkController::updateRender" };
    const QString expected = calls.lines(activations).join('\n');
    calls.clear();
    if (step.b % 3 == 0 && key) {
        host.key(key, Qt::ControlModifier);
    } else if (step.b % 3 == 1 || !host.clickTool(name)) {
        host.action(name)->trigger();
    }
    compare("calls", calls.lines(activations).join('\n'), expected);
}

void PanelSession::rename()
{
    const QString name = anyName(step.b);
    const bool commit = step.a % 5 != 0;
    const bool interrupted = step.a % 3 == 0;
    const bool menu = step.b % 4 == 0;
    const auto canEdit = [this] { return model.current() && !model.current()->parent(); };
    bool opens = (menu || model.tree.selectedItems().size() <= 1) && canEdit();
    const QString old = opens ? HostFixture::pathOf(model.current()) : "nothing";
    tell(QString("rename %1 to '%2', %3, %4")
             .arg(old, name, commit ? "return" : "escape",
                  interrupted ? "interrupted by a rebuild" : "at once"));
    menu ? host.action("Rename Layer")->trigger() : host.key(Qt::Key_F2);
    if (interrupted) {
        model.rebuild(false);
        host.rebuild();
        // The edit goes on where it is clear with which layer.
        const Rows namesakes = model.rows([&](Row row) { return HostFixture::pathOf(row) == old; });
        opens &= canEdit() && namesakes == Rows{ model.current() };
    }
    if (opens && commit) {
        model.commitName(model.current(), name);
    }
    if (host.type(name, commit ? Qt::Key_Return : Qt::Key_Escape) != opens) {
        wrong += opens ? "no editor" : "an editor";
    }
}
