#pragma once

#include "mkHostExport.h"

#include <QString>

#include <vector>

/// The host's list of keyboard shortcuts, for display: it binds no keys.
namespace mkShortcut {

struct Entry
{
    QString group;
    QString keys;
    QString description;
};

/// The display text of a key combination, such as "Ctrl+R" or "Delete". With `native` the text
/// is in the style of the platform, otherwise the same everywhere.
MK_HOST_API QString convertKey(int key, Qt::KeyboardModifiers modifiers, bool native);
/// Lists a combination. Listing the same one again in a group replaces its description.
MK_HOST_API void addKey(const QString &group, int key, Qt::KeyboardModifiers modifiers,
                        const QString &description);
MK_HOST_API const std::vector<Entry> &getKeys();

} // namespace mkShortcut
