#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QSize>
#include <QString>
#include <QStringList>

/// What the command line asks for.
struct CommandLine
{
    Q_DECLARE_TR_FUNCTIONS(CommandLine)

public:
    /// Chooses Qt's platform: one without a display where the arguments, or the lack of a display,
    /// call for it. Returns why there is no display, for the user; empty where there is one or none
    /// is needed. To be called before the application object is made.
    static QByteArray preparePlatform(int argc, char **argv);
    /// Installs the translations to the language that the arguments name, or to the locale's, and
    /// reads the arguments without those that Qt has taken, and keeps those of scripts. For --help
    /// and --version it prints what was asked for, for wrong arguments what is wrong; `done` is
    /// true then, and `status` what the program exits with.
    static CommandLine parse(const QStringList &arguments,
                             const QList<QByteArray> &scriptArguments);

    /// Nobody is there to answer questions.
    bool isUnattended() const { return batch || !snapshot.isEmpty(); }

    QString scene;
    QStringList scripts;
    QList<QByteArray> scriptArguments;
    /// The directories to load plug-ins from, those that the user named first, so that they win.
    QStringList plugins;
    QString snapshot;
    /// Where pictures of the render layers go; empty for none.
    QString layerDirectory;
    QSize pictureSize;
    int samples = 0;
    bool batch = false;
    bool done = false;
    int status = 0;

private:
    bool readPictures(const QString &sizeText, const QString &samplesText);
};
