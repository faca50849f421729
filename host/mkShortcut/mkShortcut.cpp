#include "mkShortcut/mkShortcut.h"

#include "mkUtils/mkTrace.h"

#include <QKeySequence>

namespace mkShortcut {

namespace {

std::vector<Entry> &all()
{
    static std::vector<Entry> entries;
    return entries;
}

} // namespace

QString convertKey(int key, Qt::KeyboardModifiers modifiers, bool native)
{
    const QKeySequence sequence(key | int(modifiers));
    const QString text = sequence.toString(native ? QKeySequence::NativeText
                                                  : QKeySequence::PortableText);
    if (native) {
        return text;
    }
    // Qt's portable texts abbreviate a few keys that users know by their full name.
    switch (key) {
    case Qt::Key_Delete:
        return QString(text).replace(QLatin1String("Del"), QLatin1String("Delete"));
    case Qt::Key_Escape:
        return QString(text).replace(QLatin1String("Esc"), QLatin1String("Escape"));
    default:
        return text;
    }
}

void addKey(const QString &group, int key, Qt::KeyboardModifiers modifiers,
            const QString &description)
{
    const QString keys = convertKey(key, modifiers, false);
    mkTrace::call("mkShortcut::addKey", group, keys, description);
    for (Entry &entry : all()) {
        if (entry.group == group && entry.keys == keys) {
            entry.description = description;
            return;
        }
    }
    all().push_back({ group, keys, description });
}

const std::vector<Entry> &getKeys()
{
    return all();
}

} // namespace mkShortcut
