#include "AttributesView.h"

#include "SceneWatcher.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkOpenSGUtils/mkMaterials.h"
#include "mkOpenSGUtils/mkNodeUtils.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

AttributesView::AttributesView(SceneWatcher *watcher, QWidget *parent)
    : QWidget(parent)
    , heading(new QLabel(this))
    , table(new QTreeWidget(this))
{
    setObjectName(QStringLiteral("attributes"));
    heading->setWordWrap(true);
    heading->setTextFormat(Qt::PlainText);
    heading->setMargin(4);
    table->setHeaderLabels({ tr("Attribute"), tr("Value") });
    table->setRootIsDecorated(false);
    table->setUniformRowHeights(true);
    table->setAlternatingRowColors(true);
    table->setSelectionMode(QAbstractItemView::NoSelection);
    table->setFocusPolicy(Qt::NoFocus);
    table->header()->setStretchLastSection(false);
    table->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    table->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    for (const osg::RenderAttribute &attribute : osg::renderAttributes) {
        new QTreeWidgetItem(table,
                            { QCoreApplication::translate("RenderAttributes", attribute.label) });
    }
    new QTreeWidgetItem(table, { tr("Override material") });

    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(heading);
    layout->addWidget(table, 1);
    layout->addStretch();

    connect(watcher, &SceneWatcher::looksChanged, this, &AttributesView::refresh);
    connect(watcher, &SceneWatcher::materialsChanged, this, &AttributesView::refresh);
    connect(mkSelectionManager::the(), &mkSelectionManager::selectionChanged, this,
            &AttributesView::refresh);
    refresh();
}

void AttributesView::refresh()
{
    const std::vector<mkNodePtr> &selected = mkSelectionManager::getSelectedNodes();
    const osg::NodePtr node = selected.empty() ? osg::NodePtr() : selected.front().get();
    const osg::RaytracingGeoAttachmentPtr own = mkNodeUtils::getRenderAttributes(node);
    if (!node) {
        heading->setText(tr("Select a node to see its current render attributes."));
    } else {
        QString text = QString::fromStdString(mkNodeUtils::getPath(node));
        if (selected.size() > 1) {
            text += tr(" (first of %1 selected nodes)").arg(selected.size());
        }
        heading->setText(own ? text : text + tr(": none of its own, the defaults hold"));
    }
    table->setVisible(bool(node));

    const auto values = own ? own->getValues() : osg::RenderAttributeValues();
    int row = 0;
    for (const osg::RenderAttribute &attribute : osg::renderAttributes) {
        const QString text = values.*attribute.value ? tr("On") : tr("Off");
        table->topLevelItem(row++)->setText(1, text);
    }
    const QString material = values.overrideMaterial
                                 ? QString::fromUtf8(mkMaterials::getName(values.overrideMaterial))
                                 : tr("Empty");
    table->topLevelItem(row)->setText(1, material);
}
