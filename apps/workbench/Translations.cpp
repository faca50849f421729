#include "Translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <memory>

namespace {

/// The codes of the locale's languages, the best first, up to English, which the sources are in.
QStringList foreignLanguages(const QLocale &locale)
{
    QStringList codes;
    const QStringList all = locale.uiLanguages();
    for (QString code : all) {
        if (code == QLatin1String("C")
            || code.section(QLatin1Char('-'), 0, 0) == QLatin1String("en")) {
            break;
        }
        codes += code.replace(QLatin1Char('-'), QLatin1Char('_'));
    }
    return codes;
}

bool installOne(const QString &name, const QString &directory, const QStringList &languages)
{
    auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
    for (const QString &language : languages) {
        if (translator->load(name + QLatin1Char('_') + language, directory)) {
            return QCoreApplication::installTranslator(translator.release());
        }
    }
    return false;
}

} // namespace

bool Translations::install(const QLocale &locale, const QStringList &directories)
{
    const QStringList languages = foreignLanguages(locale);
    installOne(QStringLiteral("qtbase"), QLibraryInfo::location(QLibraryInfo::TranslationsPath),
               languages);
    bool found = languages.isEmpty();
    for (const QString &directory : directories) {
        QStringList names;
        const QStringList files = QDir(directory).entryList({ QStringLiteral("*_*.qm") });
        for (const QString &file : files) {
            names += file.section(QLatin1Char('_'), 0, 0);
        }
        names.removeDuplicates();
        for (const QString &name : qAsConst(names)) {
            found = installOne(name, directory, languages) || found;
        }
    }
    return found;
}
