// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "support/files.h"
#include "support/rows.h"
#include "ui/debugdialog.h"

using namespace Qt::StringLiterals;

namespace {

const QString greeting =
    u"Use the program like you normally do. Debug messages will appear here:\n\n"_s;
QPointer<DebugDialog> lastWindow;

QtMessageHandler currentHandler()
{
    const QtMessageHandler handler = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(handler);
    return handler;
}

/// Runs @p work(number) on three threads while it exists.
struct Workers {
    explicit Workers(const std::function<void(int)> &work)
    {
        for (int number = 0; number < 3; ++number)
            threads.emplace_back(work, number);
    }
    ~Workers()
    {
        for (std::thread &thread : threads)
            thread.join();
    }
    Q_DISABLE_COPY_MOVE(Workers)

    std::vector<std::thread> threads;
};

} // namespace

class TestDebugDialog final : public QObject {
    Q_OBJECT

private slots:
    // Of the test library's own handler nothing is left after the first window.
    void initTestCase()
    {
        qAddPostRoutine([] { // runs after those added later
            if (lastWindow)
                qFatal("The window outlives the application");
        });
        qInstallMessageHandler(nullptr);
        standard = currentHandler();
    }
    void init()
    {
        window = DebugDialog::instance(nullptr);
        begin = greeting.size() + 1;
    }
    void cleanup()
    {
        if (!lastWindow)
            delete window;
    }

    void showsWhatFollowsItsOpening();
    void goesOnWhileClosed();
    void lines_data();
    void lines();
    void workers();
    void reentrantMessage();
    void saves_data();
    void saves();
    void deletedWhileWorkersLog();
    void deletedWithApplication();

private:
    // A platform may have to say a word about a window when it is shown.
    void show()
    {
        window->setVisible(true);
        begin = wholeLog().size() + 1;
    }
    void answerFileDialog(const QString &path)
    {
        QTimer::singleShot(0, this, [this, path] {
            QWidget *dialog = QApplication::activeModalWidget();
            if (!dialog)
                return answerFileDialog(path);
            QCOMPARE(dialog->windowTitle(), u"Save log file"_s);
            dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
            const auto role = path.isEmpty() ? QDialogButtonBox::Cancel : QDialogButtonBox::Save;
            dialog->findChild<QDialogButtonBox *>()->button(role)->click();
        });
    }
    [[nodiscard]] QPlainTextEdit *logEdit() const { return window->findChild<QPlainTextEdit *>(); }
    [[nodiscard]] QString wholeLog() const { return logEdit()->toPlainText(); }
    /// What came after init() or show().
    [[nodiscard]] QString log() const { return wholeLog().mid(begin); }

    QPointer<DebugDialog> window;
    qsizetype begin = 0;
    QtMessageHandler standard = nullptr;
    QTemporaryDir dir;
};

void TestDebugDialog::showsWhatFollowsItsOpening()
{
    delete window;
    qDebug("too early");
    window = DebugDialog::instance(nullptr);
    QCOMPARE(DebugDialog::instance(nullptr), window);
    QCOMPARE(wholeLog(), greeting);
    qDebug("seen");
    QCOMPARE(wholeLog(), greeting + "\nseen"_L1);
    delete window;
    QVERIFY(currentHandler() == standard);
}

void TestDebugDialog::goesOnWhileClosed()
{
    show();
    qDebug("open");
    QTest::mouseClick(window->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Close),
                      Qt::LeftButton);
    QVERIFY(!window->isVisible());
    qDebug("closed");
    DebugDialog::instance(nullptr)->setVisible(true);
    QVERIFY(window->isVisible());
    QCOMPARE(log(), u"open\nclosed"_s);
}

void TestDebugDialog::lines_data()
{
    const auto row = rows<QtMsgType, QString, QString>();
    row("debug", {QtDebugMsg, u"größe \u65e5"_s, u"größe \u65e5"_s});
    row("information", {QtInfoMsg, u"a"_s, u"a"_s});
    row("warning", {QtWarningMsg, u"a"_s, u"WARNING: a"_s});
    row("critical", {QtCriticalMsg, u"a"_s, u"CRITICAL: a"_s});
    row("fatal", {QtFatalMsg, u"a"_s, u"FATAL: a"_s});
    row("no markup", {QtDebugMsg, u"<b>a</b>\nb"_s, u"<b>a</b>\nb"_s});
    row("control characters", {QtDebugMsg, u"a\0\x1b[2J\u202e\r"_s, u"a\0\x1b[2J\u202e\n"_s});
    // In full it would take more than half a minute.
    const QString line(10'000, u'x');
    row("endless", {QtDebugMsg, line.repeated(100), QStringList(100, line).join(u'\n')});
}

void TestDebugDialog::lines()
{
    const auto [type, message, line] = thisRow<QtMsgType, QString, QString>();
    show(); // or it would not wrap the line
    window->appendMessage(type, message);
    QCOMPARE(log(), line);
}

// Joined without the event loop, as by the destructor of what they belong to: none may wait for it.
void TestDebugDialog::workers()
{
    constexpr int count = 500;
    QStringList expected;
    {
        const auto report = [](int number) {
            for (int i = 0; i < count; ++i)
                qWarning("worker %d tells %d", number, i);
        };
        const Workers threads(report);
        for (int i = 0; i < count; ++i) {
            qDebug("window tells %d", i);
            expected << u"window tells %1"_s.arg(i);
            if (i % 10 == 0)
                QCoreApplication::processEvents();
        }
    }
    QTRY_COMPARE(log().count(u'\n') + 1, 4 * count);
    const QStringList lines = log().split(u'\n');
    QCOMPARE(lines.filter(u"window"_s), expected);
    for (int number = 0; number < 3; ++number) {
        expected.clear();
        for (int i = 0; i < count; ++i)
            expected << u"WARNING: worker %1 tells %2"_s.arg(number).arg(i);
        QCOMPARE(lines.filter(u"worker %1"_s.arg(number)), expected);
    }
}

void TestDebugDialog::reentrantMessage()
{
    // Not by qDebug() here, which would keep the second one from the window by itself.
    connect(logEdit(), &QPlainTextEdit::textChanged, this,
            [this] { window->appendMessage(QtWarningMsg, u"within"_s); });
    window->appendMessage(QtDebugMsg, u"first"_s);
    window->appendMessage(QtDebugMsg, u"second"_s);
    std::thread([] { qDebug("third"); }).join();
    QTRY_COMPARE(log(), u"first\nsecond\nthird"_s);
}

void TestDebugDialog::saves_data()
{
    const auto row = rows<QString>();
    row("into a file", {dir.filePath(u"log.txt"_s)});
    row("nowhere", {QString()});
    row("where nobody can write", {u"/proc/log.txt"_s});
}

void TestDebugDialog::saves()
{
    const auto [path] = thisRow<QString>();
    show();
    qDebug().noquote() << u"größe \u65e5"_s;
    answerFileDialog(path);
    QTest::mouseClick(window->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save),
                      Qt::LeftButton);
    QVERIFY(window->isVisible());
    QVERIFY(log().startsWith(u"größe \u65e5"_s));
    if (path.startsWith(dir.path())) {
        QVERIFY(contentsOf(path).startsWith(greeting.toLatin1()));
        QVERIFY(contentsOf(path).contains("\ngr\xf6\xdf"
                                          "e ?"));
    }
}

void TestDebugDialog::deletedWhileWorkersLog()
{
    qSetMessagePattern(QString()); // for what then goes to stderr
    for (int round = 0; round < 30; ++round) {
        std::atomic<bool> stop = false;
        const Workers threads([&](int) {
            for (; !stop; QThread::usleep(1))
                qDebug("still here");
        });
        const auto end = qScopeGuard([&] { stop = true; });
        window = DebugDialog::instance(nullptr);
        QTRY_VERIFY(wholeLog() != greeting);
        delete window;
    }
}

void TestDebugDialog::deletedWithApplication() { lastWindow = window; }

QTEST_MAIN(TestDebugDialog)
#include "test_debugdialog.moc"
