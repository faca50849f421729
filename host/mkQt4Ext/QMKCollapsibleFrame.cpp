#include "mkQt4Ext/QMKCollapsibleFrame.h"

#include <QToolButton>
#include <QVBoxLayout>

QMKCollapsibleFrame::QMKCollapsibleFrame(QWidget *parent)
    : QFrame(parent)
    , header(new QToolButton(this))
    , pages(new QWidget(this))
    , pageLayout(new QVBoxLayout(pages))
{
    setFrameShape(QFrame::StyledPanel);
    header->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    header->setArrowType(Qt::DownArrow);
    header->setAutoRaise(true);
    header->setCheckable(true);
    header->setChecked(true);
    header->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(header, &QToolButton::toggled, this, [this](bool expanded) {
        header->setArrowType(expanded ? Qt::DownArrow : Qt::RightArrow);
        pages->setVisible(expanded);
    });

    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(0);
    layout->addWidget(header);
    layout->addWidget(pages);
    pageLayout->setContentsMargins(0, 0, 0, 0);
}

QString QMKCollapsibleFrame::getCaption() const
{
    return header->text();
}

void QMKCollapsibleFrame::setCaption(const QString &caption)
{
    header->setText(caption);
}

void QMKCollapsibleFrame::addPage(QWidget *page)
{
    pageLayout->addWidget(page);
}
