#include "MaterialsPane.h"

#include "EmptyHint.h"
#include "MaterialsView.h"
#include "SceneEdits.h"
#include "SearchField.h"

#include <QCheckBox>
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

    auto *const shadow = new QCheckBox(tr("Shadow material"));
    shadow->setObjectName(QStringLiteral("shadowMaterial"));
    shadow->setToolTip(tr("Pictures show only the shadows on what has this material"));
    shadow->setEnabled(false);
    connect(view, &MaterialsView::currentMaterialChanged, shadow, [view, shadow] {
        const osg::MaterialPtr material = view->currentMaterial();
        shadow->setEnabled(bool(material));
        shadow->setChecked(material && material->isShadowMaterial());
    });
    connect(shadow, &QCheckBox::clicked, view, [view](bool on) {
        if (const osg::MaterialPtr material = view->currentMaterial()) {
            SceneEdits::setShadowMaterial(material, on);
        }
    });

    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(field);
    layout->addWidget(view);
    layout->addWidget(shadow);
    connect(field, &QLineEdit::textChanged, view, &MaterialsView::search);
    connect(field, &SearchField::left, view, [view] { view->setFocus(); });
}
