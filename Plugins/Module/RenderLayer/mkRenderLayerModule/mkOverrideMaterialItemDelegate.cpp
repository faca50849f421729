#include "mkOverrideMaterialItemDelegate.h"

#include "mkNodeListWidget.h"

mkOverrideMaterialItemDelegate::mkOverrideMaterialItemDelegate(mkNodeListWidget *tree)
    : QItemDelegate(tree)
    , view(tree)
{}

mkOverrideMaterialItemDelegate::~mkOverrideMaterialItemDelegate() = default;

QRect mkOverrideMaterialItemDelegate::decorationRect(const QModelIndex &index) const
{
    const QStyleOptionViewItem option = view->viewOptions();
    QRect check = rect(option, index, Qt::CheckStateRole);
    QRect decoration = rect(option, index, Qt::DecorationRole);
    QRect display = rect(option, index, Qt::DisplayRole);
    doLayout(option, &check, &decoration, &display, true);
    decoration.translate(view->visualRect(index).topLeft());
    return decoration;
}
