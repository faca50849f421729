#pragma once

#include <QProxyStyle>

/// The platform's style, but for icons of selected rows, which keep their colours: tinted, the
/// kinds of nodes could not be told apart.
class WorkbenchStyle : public QProxyStyle
{
    Q_OBJECT

public:
    QPixmap generatedIconPixmap(QIcon::Mode mode, const QPixmap &pixmap,
                                const QStyleOption *option) const override
    {
        return mode == QIcon::Selected ? pixmap
                                       : QProxyStyle::generatedIconPixmap(mode, pixmap, option);
    }
};
