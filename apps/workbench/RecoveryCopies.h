#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <memory>
#include <vector>

class QFile;
class FileLock;
class mkSceneWriter;

/// Keeps a copy of the scene while it has unsaved changes, so that a crash costs little. The copy
/// is written in the turns of the event loop in which nothing else happens, in short steps, and
/// goes when the scene is saved or its changes are let go. Copies of programs that still run are
/// never touched.
class RecoveryCopies : public QObject
{
    Q_OBJECT

public:
    /// One copy: its files, and the lock that says whose it is.
    struct Copy
    {
        Copy();
        Copy(Copy &&other) noexcept;
        Copy &operator=(Copy &&other) noexcept;
        ~Copy();

        QString scenePath() const;
        QString notePath() const;
        QString partPath() const;
        void remove() const;

        QString base;
        /// The scene's own file; empty when it has none.
        QString sceneFile;
        QDateTime written;
        std::unique_ptr<FileLock> lock;
    };

    /// Copies are kept in `folder` and renewed every `interval` milliseconds.
    RecoveryCopies(const QString &folder, int interval, QObject *parent = nullptr);
    /// Removes this program's copy: it ends as it should.
    ~RecoveryCopies() override;

    /// What programs that have crashed left behind, the latest first. While somebody keeps the
    /// result, no other program is given the same copies.
    std::vector<Copy> takeLeft() const;
    /// Makes a copy this program's own, once its scene is open.
    void adopt(Copy copy);

Q_SIGNALS:
    void written();

private:
    void follow(bool unsaved);
    void begin();
    void step();
    void finish();
    void stop();
    void writeNote() const;

    QString folder;
    Copy own;
    QTimer timer;
    QTimer steps;
    std::unique_ptr<QFile> file;
    std::unique_ptr<mkSceneWriter> writer;
    std::uint64_t writingRevision = 0;
    std::uint64_t writtenRevision = 0;
};
