#include "MaterialsPane.h"

#include "EmptyHint.h"
#include "MaterialsView.h"
#include "SearchField.h"

#include <QVBoxLayout>

MaterialsPane::MaterialsPane(SceneWatcher *watcher, QWidget *parent)
    : QWidget(parent)
{
    auto *const field = new SearchField(nullptr);
    auto *const view = new MaterialsView(watcher);
    field->setPlaceholderText(tr("Search materials"));
    new EmptyHint(view, [field, view] {
        return view->model()->rowCount() > 0 ? QString()
               : field->text().isEmpty()     ? tr("The scene has no materials.")
                                             : tr("No material fits.");
    });

    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(field);
    layout->addWidget(view);
    connect(field, &QLineEdit::textChanged, view, &MaterialsView::search);
    connect(field, &SearchField::left, view, [view] { view->setFocus(); });
}
