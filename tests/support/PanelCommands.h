#pragma once

#include <QStringList>

#include <vector>

/// What the user does with some rows of HostFixture::addLayers() selected, and "e" in the host.
struct PanelCommand
{
    /// For HostFixture::trigger().
    QString trigger;
    QStringList selection;
    /// As HostCalls::commands() tells it; then "editing" where a name can be typed, and "fit" where
    /// the first column is widened.
    QString done;
    /// As HostFixture::selected() tells it.
    QString selected;
};

const std::vector<PanelCommand> &panelCommands();
