#include "HostFixture.h"
#include "MainWindow.h"
#include "PythonConsole.h"
#include "ScriptRunner.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"

#include <QFile>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <QTest>

/// What a window keeps of scripts, and how the console answers.
class tst_ScriptWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", directory.filePath("config").toUtf8()); }
    void init() { open(); }
    void cleanup();
    void historyIsKept();
    void tracebacks();
    void leaving();
    void scripts();

private:
    void open();
    QPlainTextEdit *edit(const char *name) const
    {
        return window->findChild<QPlainTextEdit *>(name);
    }
    /// What the console answers to a statement.
    QString answer(const QString &statement)
    {
        QTest::keyClick(edit("input"), Qt::Key_L, Qt::ControlModifier);
        edit("input")->setPlainText(statement);
        QTest::keyClick(edit("input"), Qt::Key_Return);
        return edit("transcript")->toPlainText().section('\n', statement.count('\n') + 1);
    }

    QTemporaryDir directory;
    HostFixture host{ true };
    std::unique_ptr<MainWindow> window;
};

void tst_ScriptWindow::open()
{
    window = std::make_unique<MainWindow>(false);
    window->completeLayout();
    window->show();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    window->findChild<PythonConsole *>()->setFocus();
}

void tst_ScriptWindow::cleanup()
{
    window.reset();
    mkController::setMainWindow(host.window());
}

void tst_ScriptWindow::historyIsKept()
{
    const QString block = "for i in 1,:\n    'ä'";
    answer("1");
    answer(block + '\n');
    cleanup();
    open();
    QTest::keyClick(edit("input"), Qt::Key_Up);
    QCOMPARE(edit("input")->toPlainText(), block);
}

/// No frame is the host's own, wherever its code was at work.
void tst_ScriptWindow::tracebacks()
{
    const QString start = "Traceback (most recent call last):\n"
                          "  File \"<console>\", line 1, in <module>\n";
    QCOMPARE(answer("print(1, file=__import__('sys').stdout, end=2)").section('\n', 0, 1) + '\n',
             start);
    for (const auto &[statement, last] : std::initializer_list<std::pair<QString, QString>>{
             { "mkHost.removeLayer('x')", "LookupError: There is no render layer 'x'." },
             { "mkHost.addLayerNodes('A', 1)", "TypeError: 'int' object is not iterable" },
             { "__import__('sys').stdout.write(1)",
               "TypeError: write() argument must be str, not int" },
             { "input()", "EOFError: The Python console cannot ask for input." } }) {
        QCOMPARE(answer(statement), start + last);
    }
}

void tst_ScriptWindow::leaving()
{
    const QString said = "exit() ends what is running, never the program. Close the window to "
                         "leave the program.";
    QCOMPARE(answer("exit"), said);
    QCOMPARE(answer("exit(3)"), "SystemExit(3): " + said);
    QTest::keyClick(edit("input"), Qt::Key_L, Qt::ControlModifier);
    QTest::keyClick(edit("input"), Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(edit("transcript")->toPlainText(), said);
}

void tst_ScriptWindow::scripts()
{
    const auto write = [this](const char *name, const QByteArray &source) {
        QFile file(directory.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(source) >= 0 ? file.fileName() : "";
    };
    auto *const runner = window->findChild<ScriptRunner *>();
    const auto recent = [this] {
        QStringList names;
        for (QMenu *menu : window->findChildren<QMenu *>()) {
            for (QAction *action :
                 menu->title() == "Recent S&cripts" ? menu->actions() : QList<QAction *>()) {
                names += action->text().section(' ', 0, 0);
            }
        }
        return names.join(' ');
    };
    runner->run(write("good.py", "import sys\nprint('ran', len(sys.argv)); name = 1\n"));
    QTRY_COMPARE(edit("transcript")->toPlainText(), "ran 1");
    runner->run(write("bad.py", "raise ValueError('no good')\n"));
    QTRY_VERIFY(edit("transcript")->toPlainText().endsWith("ValueError: no good"));
    QVERIFY(window->statusBar()->currentMessage().startsWith("bad.py has failed"));
    QCOMPARE(recent(), "bad.py good.py");
    QVERIFY(answer("name").endsWith("NameError: name 'name' is not defined"));
    runner->run(directory.filePath("missing.py"));
    QCOMPARE(recent(), "bad.py good.py");
    // One at a time.
    mkScript::call([&] { runner->run(directory.filePath("good.py")); });
    QVERIFY(window->statusBar()->currentMessage().startsWith("A statement is running"));
    QCOMPARE(recent(), "bad.py good.py");
}

HOST_TEST_MAIN(tst_ScriptWindow)
#include "tst_scriptwindow.moc"
