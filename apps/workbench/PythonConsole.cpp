#include "PythonConsole.h"

#include "ConsoleTranscript.h"
#include "mkKernel/mkScript.h"
#include "mkPython/mkPythonSession.h"
#include "mkShortcut/mkShortcut.h"
#include "mkUtils/mkLog.h"

#include <QAbstractTextDocumentLayout>
#include <QCoreApplication>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSettings>
#include <QStyle>
#include <QTextBlock>
#include <QToolButton>
#include <QVBoxLayout>
#include <QtMath>

namespace {

using Kind = ConsoleTranscript::Kind;

constexpr int maxHistory = 500;
constexpr int maxInputLines = 10;
constexpr int keepAliveMilliseconds = 20;
constexpr int idleMilliseconds = 200;

QFont fixedFont()
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    // Not every platform knows one.
    if (!QFontInfo(font).fixedPitch()) {
        font.setFamily(QStringLiteral("monospace"));
        font.setStyleHint(QFont::Monospace);
    }
    return font;
}

void prepareEdit(QPlainTextEdit *edit, const QString &name)
{
    edit->setObjectName(name);
    edit->setFrameShape(QFrame::NoFrame);
    edit->setFont(fixedFont());
}

/// That of the font's metrics may be a pixel less.
int lineHeightOf(const QTextDocument *document)
{
    const QTextBlock block = document->firstBlock();
    // Asked for its size, a block is laid out.
    document->documentLayout()->blockBoundingRect(block);
    return qCeil(block.layout()->lineAt(0).height());
}

QString historyKey()
{
    return QStringLiteral("consoleHistory");
}

QString commonStart(const QStringList &texts)
{
    QString start = texts.first();
    for (const QString &text : texts) {
        while (!text.startsWith(start)) {
            start.chop(1);
        }
    }
    return start;
}

} // namespace

PythonConsole::PythonConsole(QWidget *parent)
    : QWidget(parent)
    , transcript(new ConsoleTranscript(this))
    , input(new QPlainTextEdit(this))
    , prompt(new QLabel(QStringLiteral(">>>"), this))
    , stopButton(new QToolButton(this))
{
    setObjectName(QStringLiteral("pythonConsole"));
    history = QSettings().value(historyKey()).toStringList();
    historyPlace = history.size();
    // One sheet in the colour of the editors.
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    prepareEdit(transcript, QStringLiteral("transcript"));
    prepareEdit(input, QStringLiteral("input"));
    transcript->setMinimumHeight(2 * transcript->fontMetrics().lineSpacing());
    input->setLineWrapMode(QPlainTextEdit::NoWrap);
    input->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    input->setAccessibleName(tr("Python statement"));
    input->setPlaceholderText(tr("Python statement"));
    // A file is dropped on the window, wherever that is.
    input->setAcceptDrops(false);
    input->setEnabled(false);
    prompt->setFont(input->font());
    prompt->setContentsMargins(4, int(input->document()->documentMargin()), 0, 0);
    prompt->setForegroundRole(QPalette::Text);
    stopButton->setObjectName(QStringLiteral("stop"));
    stopButton->setIcon(style()->standardIcon(QStyle::SP_BrowserStop));
    stopButton->setToolTip(tr("Stop the running statement (Ctrl+C)"));
    stopButton->setAutoRaise(true);
    stopButton->setFocusPolicy(Qt::NoFocus);

    auto *const row = new QHBoxLayout;
    row->addWidget(prompt, 0, Qt::AlignTop);
    row->addWidget(input, 1);
    row->addWidget(stopButton, 0, Qt::AlignTop);
    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(transcript, 1);
    layout->addLayout(row);

    setFocusProxy(input);
    input->installEventFilter(this);
    transcript->installEventFilter(this);
    connect(stopButton, &QToolButton::clicked, this, &PythonConsole::interrupt);
    connect(input, &QPlainTextEdit::textChanged, this, &PythonConsole::fitInput);
    idle.setSingleShot(true);
    idle.setInterval(idleMilliseconds);
    connect(&idle, &QTimer::timeout, this, &PythonConsole::refresh);
    fitInput();
    refresh();

    const QString group = tr("Python Console");
    mkShortcut::addKey(group, Qt::Key_Return, Qt::NoModifier, tr("Run Statement"));
    mkShortcut::addKey(group, Qt::Key_Return, Qt::ShiftModifier, tr("Break Line"));
    mkShortcut::addKey(group, Qt::Key_Tab, Qt::NoModifier, tr("Complete or Indent"));
    mkShortcut::addKey(group, Qt::Key_Up, Qt::NoModifier, tr("Previous Statement"));
    mkShortcut::addKey(group, Qt::Key_Down, Qt::NoModifier, tr("Next Statement"));
    mkShortcut::addKey(group, Qt::Key_C, Qt::ControlModifier, tr("Stop Statement"));
    mkShortcut::addKey(group, Qt::Key_L, Qt::ControlModifier, tr("Clear"));
}

PythonConsole::~PythonConsole()
{
    mkScript::setHeartbeat({});
}

void PythonConsole::start()
{
    if (!mkScript::isRunning()) {
        return;
    }
    session = std::make_unique<mkPythonSession>([this](mkPythonSession::Stream stream,
                                                       const QString &text) {
        transcript->write(stream == mkPythonSession::Stream::Output ? Kind::Output : Kind::Error,
                          text);
    });
    mkScript::setHeartbeat([this] { keepAlive(); });
    input->setEnabled(true);
}

bool PythonConsole::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress) {
        return false;
    }
    const auto *const press = static_cast<QKeyEvent *>(event);
    const bool copies = static_cast<QPlainTextEdit *>(watched)->textCursor().hasSelection();
    if (press->matches(QKeySequence::Copy) && !copies) {
        interrupt();
        return true;
    }
    if (watched == input) {
        return inputKey(press->key(), press->modifiers());
    }
    if (!press->text().isEmpty() && press->text().at(0).isPrint()) {
        input->setFocus();
        QCoreApplication::sendEvent(input, event);
        return true;
    }
    return false;
}

/// True when the key was the console's.
bool PythonConsole::inputKey(int key, Qt::KeyboardModifiers modifiers)
{
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (modifiers & Qt::ShiftModifier) {
            breakLine();
        } else {
            submit();
        }
        return true;
    case Qt::Key_Tab:
        completeOrIndent();
        return true;
    case Qt::Key_Up:
        return input->textCursor().blockNumber() == 0 && goThroughHistory(-1);
    case Qt::Key_Down:
        return input->textCursor().blockNumber() == input->blockCount() - 1 && goThroughHistory(1);
    case Qt::Key_L:
        if (modifiers == Qt::ControlModifier) {
            transcript->empty();
            return true;
        }
        return false;
    case Qt::Key_D:
        if (modifiers == Qt::ControlModifier && input->document()->isEmpty() && session
            && !mkScript::isBusy()) {
            session->execute(QStringLiteral("print(exit)"));
            refresh();
            return true;
        }
        return false;
    default:
        return false;
    }
}

void PythonConsole::submit()
{
    if (mkScript::isBusy()) {
        return;
    }
    QString source = input->toPlainText();
    // The indentation that breakLine() left on an empty last line does not continue a block.
    source.remove(QRegularExpression(QStringLiteral("(?<=\\n)[ \\t]+$")));
    if (!session->isComplete(source)) {
        input->moveCursor(QTextCursor::End);
        breakLine();
        return;
    }
    while (source.endsWith(QLatin1Char('\n'))) {
        source.chop(1);
    }
    if (!source.isEmpty() && (history.isEmpty() || history.last() != source)) {
        history += source;
        history = history.mid(qMax(0, history.size() - maxHistory));
        QSettings().setValue(historyKey(), history);
    }
    historyPlace = history.size();
    draft.clear();
    input->clear();
    QString echo = source;
    echo.replace(QLatin1Char('\n'), QStringLiteral("\n... "));
    transcript->write(Kind::Input, QStringLiteral(">>> ") + echo + QLatin1Char('\n'));
    transcript->flush();

    // What a statement makes the host say belongs to its answer.
    const int listener = mkLog::addListener([this](mkLog::Severity severity, const QString &line) {
        transcript->write(severity == mkLog::Severity::Info      ? Kind::Output
                          : severity == mkLog::Severity::Warning ? Kind::Warning
                                                                 : Kind::Error,
                          line + QLatin1Char('\n'));
    });
    const auto removeListener = qScopeGuard([listener] { mkLog::removeListener(listener); });
    session->execute(source);
    refresh();
}

void PythonConsole::breakLine()
{
    QTextCursor cursor = input->textCursor();
    const QString line = cursor.block().text().left(cursor.positionInBlock());
    int indentation = 0;
    while (indentation < line.size() && line.at(indentation).isSpace()) {
        ++indentation;
    }
    cursor.insertText(
        QLatin1Char('\n') + line.left(indentation)
        + (line.trimmed().endsWith(QLatin1Char(':')) ? QStringLiteral("    ") : QString()));
    input->ensureCursorVisible();
}

void PythonConsole::completeOrIndent()
{
    static const QRegularExpression dottedName(QStringLiteral("[\\w.]+$"));
    QTextCursor cursor = input->textCursor();
    const QString before = cursor.block().text().left(cursor.positionInBlock());
    if (before.trimmed().isEmpty()) {
        cursor.insertText(QStringLiteral("    "));
        return;
    }
    const QString name = dottedName.match(before).captured();
    if (name.isEmpty() || mkScript::isBusy()) {
        return;
    }
    const QStringList matches = session->complete(name);
    if (matches.isEmpty()) {
        return;
    }
    const QString start = commonStart(matches);
    if (start.size() > name.size()) {
        cursor.insertText(start.mid(name.size()));
    } else if (matches.size() > 1) {
        transcript->write(Kind::Output, matches.join(QStringLiteral("  ")) + QLatin1Char('\n'));
        transcript->flush();
    }
}

/// False when there is nothing in that direction.
bool PythonConsole::goThroughHistory(int step)
{
    const int place = historyPlace + step;
    if (place < 0 || place > history.size()) {
        return false;
    }
    if (historyPlace == history.size()) {
        draft = input->toPlainText();
    }
    historyPlace = place;
    input->setPlainText(history.value(place, draft));
    input->moveCursor(QTextCursor::End);
    return true;
}

void PythonConsole::interrupt()
{
    if (mkScript::isBusy()) {
        mkScript::interrupt();
    } else {
        input->clear();
        historyPlace = history.size();
    }
}

void PythonConsole::fitInput()
{
    const int lineHeight = lineHeightOf(input->document());
    // Without the one pixel more, the first line would be scrolled away for the last.
    const int margins = qRound(2 * input->document()->documentMargin()) + 1;
    // Never so high that the console would have to grow.
    const int room = (height() - transcript->minimumHeight() - margins) / lineHeight;
    const int lines = qMin(input->blockCount(), qBound(1, room, maxInputLines));
    input->setVerticalScrollBarPolicy(lines < input->blockCount() ? Qt::ScrollBarAsNeeded
                                                                  : Qt::ScrollBarAlwaysOff);
    input->setFixedHeight(lines * lineHeight + margins);
}

void PythonConsole::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitInput();
}

void PythonConsole::refresh()
{
    transcript->flush();
    prompt->setEnabled(!mkScript::isBusy());
    stopButton->setEnabled(mkScript::isBusy());
}

/// Called every now and then while a statement runs.
void PythonConsole::keepAlive()
{
    refresh();
    idle.start();
    QCoreApplication::processEvents(QEventLoop::AllEvents, keepAliveMilliseconds);
}
