#include "HostFixture.h"
#include "MainWindow.h"
#include "PythonConsole.h"
#include "ScriptRunner.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"

#include <QFile>
#include <QMenu>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QToolButton>

/// The Python console in its window, driven by keys, and scripts that the window runs.
class tst_PythonConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("XDG_CONFIG_HOME", settings.path().toUtf8()); }
    void init();
    void cleanup();
    void statements();
    void history();
    void completion();
    void printing();
    void stopping();
    void scripts();

private:
    void open();
    void type(const QString &text);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(input(), key, modifiers);
    }
    void onceBegun(const std::function<void()> &action);
    QPlainTextEdit *input() const { return window->findChild<QPlainTextEdit *>("input"); }
    QPlainTextEdit *transcript() const { return window->findChild<QPlainTextEdit *>("transcript"); }
    QString typed() const { return input()->toPlainText(); }
    QString shown() const { return transcript()->toPlainText(); }

    QTemporaryDir settings;
    HostFixture host{ true };
    std::unique_ptr<MainWindow> window;
};

void tst_PythonConsole::init()
{
    host.reset();
    QSettings().remove("consoleHistory");
    open();
}

void tst_PythonConsole::open()
{
    window = std::make_unique<MainWindow>(false);
    window->completeLayout();
    window->show();
    window->findChild<PythonConsole *>()->setFocus();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
}

void tst_PythonConsole::cleanup()
{
    window.reset();
    mkController::setMainWindow(host.window());
}

/// Types as a user does: "\n" is Return, "\t" Tab.
void tst_PythonConsole::type(const QString &text)
{
    for (const QChar character : text) {
        const Qt::Key key = character == '\n'   ? Qt::Key_Return
                            : character == '\t' ? Qt::Key_Tab
                                                : Qt::Key_unknown;
        QTest::sendKeyEvent(QTest::Click, input(), key, QString(character), {});
    }
}

void tst_PythonConsole::statements()
{
    // "…" stands for any text.
    const auto answers = [this](const QString &statement, const QString &answer) {
        press(Qt::Key_L, Qt::ControlModifier);
        type(statement);
        QCOMPARE(typed(), QString());
        const QString pattern = QRegularExpression::escape(answer).replace("\\…", ".*");
        const QRegularExpression expected(QRegularExpression::anchoredPattern(pattern),
                                          QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(expected.match(shown() + '\n').hasMatch(), qUtf8Printable(shown()));
    };
    answers("'ä漢'\n\n", ">>> 'ä漢'\n'ä漢'\n>>> \n");
    // The indentation comes by itself.
    answers("for i in range(2):\nif 1:\ni\n\n",
            ">>> for i in range(2):\n...     if 1:\n...         i\n0\n1\n");
    answers("x = = 1\n", ">>> x = = 1\n  File \"<console>\", line 1\n…\nSyntaxError: …\n");
    // No frame is the host's own, wherever its code was at work.
    const QString traceback =
        "Traceback (most recent call last):\n  File \"<console>\", line 1, in <module>\n";
    answers("1 / 0\n2\n", ">>> 1 / 0\n" + traceback + "ZeroDivisionError: …\n>>> 2\n2\n");
    answers("input('who? ')\n",
            ">>> …\nwho? " + traceback + "EOFError: The Python console cannot ask for input.\n");
    answers("mkHost.removeLayer('x')\n",
            ">>> …\n" + traceback + "LookupError: There is no render layer 'x'.\n");
    answers("__import__('sys').stdout.write(1)\n",
            ">>> …\n" + traceback + "TypeError: write() argument must be str, not int\n");
    const QString said = "exit() ends what is running, never the program. Close the window to "
                         "leave the program.\n";
    answers("exit\n", ">>> exit\n" + said);
    answers("exit(3)\n4\n", ">>> exit(3)\nSystemExit(3): " + said + ">>> 4\n4\n");
    press(Qt::Key_L, Qt::ControlModifier);
    press(Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(shown() + '\n', said);
    // What would bring the program down.
    answers("import threading as t\nt.excepthook = lambda args: print(args.exc_value)\n"
            "for f in createRenderLayer, mkHost.logInfo:\nx = t.Thread(target=f, args='a')\n"
            "x.start(); x.join()\n\n",
            ">>> …\nRender layers are for the main thread only.\n"
            "The host is for the main thread only.\n");
}

void tst_PythonConsole::history()
{
    type("a = 1\nif a:\nb = 2\n\nb = 2\nb = 2\ndra");
    const QString block = "if a:\n    b = 2";
    // The second key of the block goes to its first line; the last finds nothing above.
    for (const QString &expected :
         { QString("b = 2"), block, block, QString("a = 1"), QString("a = 1") }) {
        press(Qt::Key_Up);
        QCOMPARE(typed(), expected);
    }
    for (int i = 0; i < 3; ++i) {
        press(Qt::Key_Down);
    }
    QCOMPARE(typed(), "dra");
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(typed(), QString());

    // Several statements at once, as pasted; and a line break that is no end.
    type("x = 1");
    press(Qt::Key_Return, Qt::ShiftModifier);
    type("x + 1");
    press(Qt::Key_L, Qt::ControlModifier);
    press(Qt::Key_Return);
    QCOMPARE(shown(), ">>> x = 1\n... x + 1\n2");
    QTest::keyClicks(transcript(), "7");
    QCOMPARE(typed(), "7");
    // The next window has it, too.
    window.reset();
    open();
    press(Qt::Key_Up);
    QCOMPARE(typed(), "x = 1\nx + 1");
}

void tst_PythonConsole::completion()
{
    type("x = mkHost.getM\t");
    QCOMPARE(typed(), "x = mkHost.getMaterial");
    type("\t");
    QCOMPARE(shown(), "mkHost.getMaterialColor(  mkHost.getMaterialNames()  mkHost.getMaterials()");
    type("N\t");
    QCOMPARE(typed(), "x = mkHost.getMaterialNames()");
    input()->clear();
    type("\tnothing.of.the.sort\t 1 + \tcreateR\t");
    QCOMPARE(typed(), "    nothing.of.the.sort 1 + createRenderLayer(");
    QVERIFY(input()->hasFocus());
}

void tst_PythonConsole::printing()
{
    // What is printed by scripts and by threads, more than there is room for, in one long line.
    mkScript::run("print('from a script')\n1 / 0");
    QTRY_VERIFY(shown().startsWith("from a script\nTraceback"));
    type("import threading\nt = threading.Thread(target=print, args=('thread',))\n"
         "t.start(); t.join()\n");
    QVERIFY(shown().endsWith("\nthread"));
    type("for i in range(12000): print(i)\n\nprint('x' * 10**6)\n9\n");
    QVERIFY(shown().endsWith("xxx\n>>> 9\n9") && transcript()->blockCount() <= 10000);
}

/// Does something as soon as the statement that runs has printed "begun".
void tst_PythonConsole::onceBegun(const std::function<void()> &action)
{
    shown().contains("\nbegun") ? action()
                                : QTimer::singleShot(0, window.get(), [=] { onceBegun(action); });
}

void tst_PythonConsole::stopping()
{
    auto *const stop = window->findChild<QToolButton *>("stop");
    for (const char *statement :
         { "while True: pass\n\n", "__import__('subprocess').run(['sleep', '60'])\n" }) {
        QVERIFY(!stop->isEnabled());
        onceBegun([&] {
            // A second statement waits in the input.
            type("abs\n");
            *statement == 'w' ? stop->click() : press(Qt::Key_C, Qt::ControlModifier);
        });
        type(QString("print('begun')\n") + statement);
        press(Qt::Key_Return);
        QVERIFY(shown().endsWith("KeyboardInterrupt\n>>> abs\n<built-in function abs>"));
        press(Qt::Key_L, Qt::ControlModifier);
    }
    // The statement ignores the first interrupt; the window waits for its end.
    bool closed = true;
    onceBegun([&] { closed = window->close(); });
    input()->setPlainText("try:\n    print('begun')\n    while True: pass\n"
                          "except KeyboardInterrupt:\n    while True: pass");
    input()->moveCursor(QTextCursor::End);
    type("\n\n");
    QVERIFY(!closed && window->isVisible());
    QTRY_VERIFY(!window->isVisible());
}

void tst_PythonConsole::scripts()
{
    const auto run = [this](const char *name, const QByteArray &source) {
        QFile file(settings.filePath(name));
        QVERIFY(source.isEmpty() || (file.open(QIODevice::WriteOnly) && file.write(source) > 0));
        file.close();
        window->findChild<ScriptRunner *>()->run(file.fileName());
    };
    const auto recent = [this] {
        QStringList names;
        for (const QMenu *menu : window->findChildren<QMenu *>()) {
            for (const QAction *action :
                 menu->title() == "Recent S&cripts" ? menu->actions() : QList<QAction *>()) {
                names += action->text().section(' ', 0, 0);
            }
        }
        return names.join(' ');
    };
    run("good.py", "import sys\nprint('ran', len(sys.argv)); name = 1\n");
    QTRY_COMPARE(shown(), "ran 1");
    run("bad.py", "raise ValueError('no good')\n");
    QTRY_VERIFY(shown().endsWith("ValueError: no good"));
    const auto *const status = window->statusBar();
    QVERIFY(status->currentMessage().startsWith("bad.py has failed"));
    type("name\nimport sys; sys.argv\n");
    QVERIFY(shown().contains("NameError: name 'name' is not defined")
            && shown().endsWith("\n['']"));
    run("missing.py", "");
    // One at a time.
    mkScript::call([&] { run("good.py", ""); });
    QVERIFY(status->currentMessage().startsWith("A statement is running"));
    QCOMPARE(recent(), "bad.py good.py");
}

QTEST_MAIN(tst_PythonConsole)
#include "tst_pythonconsole.moc"
