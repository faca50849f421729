#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariant>

class QHelpEvent;
class QMenu;
class QTreeWidget;

/// What the workbench sets on the panel of render layers from outside, so that it can be read in
/// any width: ellipses and tool tips in the header, widths of columns, tool tips with the paths of
/// members, and the title of its menu when that is torn off.
class LayerPanel : public QObject
{
    Q_OBJECT

public:
    /// `panel` holds the tree of layers; it may lack one, and nothing is set then.
    explicit LayerPanel(QWidget *panel);

    /// Makes all columns as wide as their headers, but where a little less lets all of them fit.
    void fitColumns();
    QVariant saveColumns() const;
    /// False when `columns` is none of saveColumns() for this panel.
    bool restoreColumns(const QVariant &columns);

Q_SIGNALS:
    /// Rows or their texts changed.
    void changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void explainColumns();
    int wantedNameWidth() const;
    void widenNames();
    QString memberTip(const QPoint &position) const;

    QPointer<QTreeWidget> tree;
    /// What the user has made of the column of names; 0 until then.
    int chosenNameWidth = 0;
    /// Collects changes before it widens that column.
    QTimer widening;
};
