#pragma once

#include <QItemDelegate>

class mkNodeListWidget;

/// Delegate of the override-material column. Its cells look like any other: a material's name,
/// with the clear button as decoration. It adds where that button lies.
class mkOverrideMaterialItemDelegate : public QItemDelegate
{
public:
    /// `tree` is also the parent.
    explicit mkOverrideMaterialItemDelegate(mkNodeListWidget *tree);
    ~mkOverrideMaterialItemDelegate() override;

    /// The clear button of a cell in viewport coordinates; empty for a cell without one.
    QRect decorationRect(const QModelIndex &index) const;

private:
    mkNodeListWidget *view;
};
