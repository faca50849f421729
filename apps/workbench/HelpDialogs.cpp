#include "HelpDialogs.h"

#include "mkShortcut/mkShortcut.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QMessageBox>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

/// For the translations.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(HelpDialogs)
};

void show(QWidget *window, const QString &title, QWidget *content, const QSize &size)
{
    QDialog dialog(window);
    dialog.setWindowTitle(title);
    auto *const buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *const layout = new QVBoxLayout(&dialog);
    layout->addWidget(content);
    layout->addWidget(buttons);
    dialog.resize(size);
    dialog.exec();
}

} // namespace

void HelpDialogs::showGuide(QWidget *window)
{
    auto *const text = new QTextBrowser;
    text->setHtml(Texts::tr(
        "<h4>Finding nodes</h4>"
        "<p>Type into the field above the scene tree (Ctrl+F): part of a name, a whole name with "
        "wildcards such as <b>wheel_*</b>, <b>kind:light</b>, <b>material:rubber</b>, or several "
        "of them. Escape ends the search.</p>"
        "<h4>Layers</h4>"
        "<p>Drag nodes from the scene tree onto a layer of the panel, drag materials onto a node "
        "of a layer. Activating a layer gives its nodes the attributes that the layer keeps for "
        "them; the status bar names the active layers. In the scene tree a dot marks nodes whose "
        "attributes are not the defaults, and a badge in its colour an override material that is "
        "in use. Reset takes all of that back.</p>"
        "<h4>Editing the scene</h4>"
        "<p>F2 renames and Delete deletes nodes and materials; File &gt; Merge adds another "
        "file.</p>"
        "<h4>Undo</h4>"
        "<p>Undo takes back what was done to the scene: selecting, renaming, deleting, merging. "
        "<b>What was done to layers is not undone</b>, neither their order, their members nor "
        "their attributes. A deleted node stays in its layers, with a cross on its icon, until "
        "Cleanup; undoing the deletion brings it back to life there, too.</p>"));
    show(window, Texts::tr("Guide"), text, { 560, 480 });
}

void HelpDialogs::showShortcuts(QWidget *window)
{
    auto *const list = new QTreeWidget;
    list->setHeaderLabels({ Texts::tr("Panel"), Texts::tr("Keys"), Texts::tr("Action") });
    list->setRootIsDecorated(false);
    list->setAlternatingRowColors(true);
    for (const mkShortcut::Entry &entry : mkShortcut::getKeys()) {
        new QTreeWidgetItem(list, { entry.group, entry.keys, entry.description });
    }
    list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    show(window, Texts::tr("Keyboard Shortcuts"), list, { 560, 520 });
}

void HelpDialogs::showAbout(QWidget *window)
{
    QMessageBox::about(window, Texts::tr("About the Workbench"),
                       Texts::tr("<h3>Workbench %1</h3><p>A reference host for scene panels: it "
                                 "opens scene files and shows them beside the panels of its "
                                 "plug-ins.</p>")
                           .arg(QApplication::applicationVersion()));
}
