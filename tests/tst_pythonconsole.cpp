#include "HostFixture.h"
#include "MainWindow.h"
#include "PythonConsole.h"
#include "mkKernel/mkController.h"
#include "mkKernel/mkScript.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QToolButton>

/// The Python console in its window, driven by keys.
class tst_PythonConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void statements();
    void history();
    void completion();
    void printing();
    void stopping();

private:
    void type(const QString &text);
    void press(int key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(input(), Qt::Key(key), modifiers);
    }
    QPlainTextEdit *input() const { return window->findChild<QPlainTextEdit *>("input"); }
    QPlainTextEdit *transcript() const { return window->findChild<QPlainTextEdit *>("transcript"); }
    QString typed() const { return input()->toPlainText(); }
    QString shown() const { return transcript()->toPlainText(); }

    HostFixture host{ true };
    std::unique_ptr<MainWindow> window;
};

void tst_PythonConsole::init()
{
    host.reset();
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
        if (character == '\n') {
            press(Qt::Key_Return);
        } else if (character == '\t') {
            press(Qt::Key_Tab);
        } else {
            QTest::sendKeyEvent(QTest::Click, input(), Qt::Key_unknown, QString(character), {});
        }
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
    const QString traceback =
        "Traceback (most recent call last):\n  File \"<console>\", line 1, in <module>\n";
    answers("6 * 7\n", ">>> 6 * 7\n42\n");
    answers("'ä漢'\n\n", ">>> 'ä漢'\n'ä漢'\n>>> \n");
    answers("print('\\udc80')\n", ">>> …\n\\udc80\n");
    answers("print(1, end='')\n2\n", ">>> …\n1\n>>> 2\n2\n");
    // The indentation comes by itself.
    answers("for i in range(2):\nif 1:\ni\n\n",
            ">>> for i in range(2):\n...     if 1:\n...         i\n0\n1\n");
    answers("(1 +\n2)\n", ">>> (1 +\n... 2)\n3\n");
    answers("1 / 0\n2\n", ">>> 1 / 0\n" + traceback + "ZeroDivisionError: …\n>>> 2\n2\n");
    answers("mkHost.openScene('no.gltf')\n",
            ">>> …\n" + traceback + "RuntimeError: no.gltf: There is no such file.\n");
    answers("x = = 1\n", ">>> x = = 1\n  File \"<console>\", line 1\n…\nSyntaxError: …\n");
    answers("input('who? ')\n", ">>> …\nwho? " + traceback + "…EOFError: The Python console …\n");
    answers("exit()\n4\n", ">>> …\nSystemExit(None): close the window …\n>>> 4\n4\n");
    answers("help()\n5\n", ">>> …\nhelp> …>>> 5\n5\n");
    answers("1 is 1\n", ">>> 1 is 1\n<console>:1: SyntaxWarning: …\nTrue\n");
    // What would bring the program down.
    answers("import threading as t\nt.excepthook = lambda args: print(args.exc_value)\n"
            "for f in createRenderLayer, mkHost.logInfo:\nx = t.Thread(target=f, args='a')\n"
            "x.start(); x.join()\n\n",
            ">>> …\nRender layers are for the main thread only.\n"
            "The host is for the main thread only.\n");
    answers("createRenderLayer('Paint')\nmkHost.getLayerNames()\n", ">>> …\n>>> …\n['Paint']\n");
    answers("activateRenderLayer('x')\n",
            ">>> …\nmkRenderLayerModule::activateRenderLayer: Couldn't find layer 'x'!\n");

    // Errors stand out on light and on dark ground.
    const auto lightness = [this](const QString &line) {
        const QTextCursor cursor = transcript()->document()->find(line);
        return cursor.charFormat().foreground().color().lightness();
    };
    type("1 / 0\n");
    QVERIFY(lightness("Zero") > 0 && lightness("Zero") < 128);
    QPalette dark = window->palette();
    dark.setColor(QPalette::Base, Qt::black);
    window->findChild<PythonConsole *>()->setPalette(dark);
    type("nope\n");
    QVERIFY(lightness("NameError") > 128);
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

    // Several statements at once, as pasted; and a line break that is no end.
    input()->setPlainText("x = 1\nx + 1\nx + 2");
    input()->moveCursor(QTextCursor::End);
    press(Qt::Key_Return, Qt::ShiftModifier);
    QCOMPARE(input()->blockCount(), 4);
    press(Qt::Key_L, Qt::ControlModifier);
    QCOMPARE(shown(), QString());
    press(Qt::Key_Return);
    QCOMPARE(shown(), ">>> x = 1\n... x + 1\n... x + 2\n2\n3");

    // A block behind another statement; as much of it is seen as there is room for, from its start.
    window->resize(900, 200);
    host.settle();
    type("y = 1");
    press(Qt::Key_Return, Qt::ShiftModifier);
    type("if y:\n");
    const auto top = [this](QTextCursor::MoveOperation place) {
        QTextCursor cursor(input()->document());
        cursor.movePosition(place);
        return input()->cursorRect(cursor).top();
    };
    QCOMPARE(input()->blockCount(), 3);
    QVERIFY(top(QTextCursor::Start) >= 0);
    QCOMPARE(input()->verticalScrollBar()->maximum(), 0);
    for (int line = 0; line < 20; ++line) {
        type(QString("y += %1\n").arg(line));
    }
    QVERIFY(top(QTextCursor::Start) < 0);
    QVERIFY(top(QTextCursor::End) < input()->viewport()->height());
    host.settle();
    const int console = transcript()->parentWidget()->height();
    QVERIFY(transcript()->height() + input()->height() <= console);
    type("\ny\n");
    QVERIFY(shown().endsWith("\n>>> y\n191"));

    type("rest");
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(typed(), QString());
    QTest::keyClicks(transcript(), "7");
    QCOMPARE(typed(), "7");
}

void tst_PythonConsole::completion()
{
    type("createR\t");
    QCOMPARE(typed(), "createRenderLayer(");
    input()->clear();
    type("x = mkHost.getM\t");
    QCOMPARE(typed(), "x = mkHost.getMaterial");
    type("\t");
    QCOMPARE(shown(), "mkHost.getMaterialColor(  mkHost.getMaterialNames(");
    type("N\t");
    QCOMPARE(typed(), "x = mkHost.getMaterialNames(");
    input()->clear();
    type("\tnothing.of.the.sort\t 1 + \t");
    QCOMPARE(typed(), "    nothing.of.the.sort 1 + ");
    QCOMPARE(QApplication::focusWidget(), input());
}

void tst_PythonConsole::printing()
{
    // What is printed by scripts and by threads, more than there is room for, in one long line.
    mkScript::run("print('from a script')\n1 / 0");
    QTRY_VERIFY(shown().startsWith("from a script\nTraceback"));
    type("import threading\nt = threading.Thread(target=print, args=('thread',))\n"
         "t.start(); t.join()\n");
    QVERIFY(shown().endsWith("\nthread"));
    type("for i in range(12000): print(i)\n\n");
    QVERIFY(shown().endsWith("\n11999") && transcript()->blockCount() <= 10000);
    QCOMPARE(transcript()->verticalScrollBar()->value(),
             transcript()->verticalScrollBar()->maximum());
    type("print('x' * 10**6)\n9\n");
    QVERIFY(shown().endsWith("xxx\n>>> 9\n9"));
    QVERIFY(transcript()->document()->findBlock(shown().indexOf("xxx")).length() <= 2001);

    // What a script keeps of the streams outlives the console.
    QVERIFY(mkScript::run("import sys\nkept = sys.stdout"));
    window.reset();
    QVERIFY(mkScript::run("assert sys.stdout is not kept\nprint('late', file=kept)"));
}

void tst_PythonConsole::stopping()
{
    auto *const stop = window->findChild<QToolButton *>("stop");
    for (const char *statement :
         { "while True: pass\n\n", "__import__('subprocess').run(['sleep', '60'])\n" }) {
        QVERIFY(!stop->isEnabled());
        QString shownMeanwhile;
        QTimer::singleShot(150, window.get(), [&] {
            // A second statement waits in the input.
            type("abs\n\t");
            shownMeanwhile = shown();
            if (*statement == 'w') {
                QTest::mouseClick(stop, Qt::LeftButton);
            } else {
                press(Qt::Key_C, Qt::ControlModifier);
            }
        });
        QElapsedTimer time;
        time.start();
        type(QString("print('begun')\n") + statement);
        QVERIFY(time.elapsed() < 10000);
        QVERIFY(shownMeanwhile.contains("\nbegun\n"));
        press(Qt::Key_Return);
        QVERIFY(shown().endsWith("KeyboardInterrupt\n>>> abs\n<built-in function abs>"));
    }
    QVERIFY(!stop->isEnabled());

    // The statement ignores the first interrupt; the window waits for its end.
    input()->setPlainText("try:\n    while True: pass\nexcept KeyboardInterrupt:\n    while True: "
                          "pass");
    QTimer::singleShot(150, this, [this] { QVERIFY(!window->close()); });
    type("\n\n");
    QVERIFY(window->isVisible());
    QTRY_VERIFY(!window->isVisible());
}

HOST_TEST_MAIN(tst_PythonConsole)
#include "tst_pythonconsole.moc"
