#pragma once

#include <QStringList>

class QLocale;

/// The texts of the program, the host and the plug-ins in other languages.
namespace Translations {

/// Installs, for as long as the application lives, the translations in `directories`, and Qt's own,
/// to the first of the locale's languages that each has; none where the user puts English first.
/// False when no language but English was asked for and nothing in it was found. A file's name is
/// that of what it translates, followed by the language: workbench_de.qm.
bool install(const QLocale &locale, const QStringList &directories);

} // namespace Translations
