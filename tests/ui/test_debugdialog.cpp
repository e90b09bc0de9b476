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

#include "engine/enginefixture.h"
#include "support/files.h"
#include "support/rarprogram.h"
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
    void initTestCase();
    void init();
    void cleanup();

    void showsWhatFollowsItsOpening();
    void goesOnWhileClosed();
    void lines_data();
    void lines();
    void workers();
    void reentrantMessage();
    void saves_data();
    void saves();
    void openedWhileUnpacking();
    void deletedWhileWorkersLog();
    void deletedWithApplication();

private:
    void show();
    void answerFileDialog(const QString &path);
    [[nodiscard]] QPlainTextEdit *logEdit() const { return window->findChild<QPlainTextEdit *>(); }
    [[nodiscard]] QString wholeLog() const { return logEdit()->toPlainText(); }
    /// What came after init() or show().
    [[nodiscard]] QString log() const { return wholeLog().mid(begin); }

    QPointer<DebugDialog> window;
    qsizetype begin = 0;
    QtMessageHandler standard = nullptr;
    QTemporaryDir dir;
};

// Of the test library's own handler nothing is left after the first window.
void TestDebugDialog::initTestCase()
{
    qAddPostRoutine([] { // runs after those added later
        if (lastWindow)
            qFatal("The window outlives the application");
    });
    qInstallMessageHandler(nullptr);
    standard = currentHandler();
}

void TestDebugDialog::init()
{
    window = DebugDialog::instance(nullptr);
    begin = greeting.size() + 1;
}

// A platform may have to say a word about a window when it is shown.
void TestDebugDialog::show()
{
    window->setVisible(true);
    begin = wholeLog().size() + 1;
}

void TestDebugDialog::cleanup()
{
    if (!lastWindow)
        delete window;
}

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
    QTest::addColumn<QtMsgType>("type");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("line");
    QTest::newRow("debug") << QtDebugMsg << u"größe \u65e5"_s << u"größe \u65e5"_s;
    QTest::newRow("information") << QtInfoMsg << u"a"_s << u"a"_s;
    QTest::newRow("warning") << QtWarningMsg << u"a"_s << u"WARNING: a"_s;
    QTest::newRow("critical") << QtCriticalMsg << u"a"_s << u"CRITICAL: a"_s;
    QTest::newRow("fatal") << QtFatalMsg << u"a"_s << u"FATAL: a"_s;
    QTest::newRow("no markup") << QtDebugMsg << u"<b>a</b>\nb"_s << u"<b>a</b>\nb"_s;
    QTest::newRow("control characters")
        << QtDebugMsg << u"a\0\x1b[2J\u202e\r"_s << u"a\0\x1b[2J\u202e\n"_s;
    // In full it would take more than half a minute.
    QTest::newRow("endless") << QtDebugMsg << QString(1'000'000, u'x')
                             << QStringList(100, QString(10'000, u'x')).join(u'\n');
}

void TestDebugDialog::lines()
{
    QFETCH(const QtMsgType, type);
    QFETCH(const QString, message);
    show(); // or it would not wrap the line
    window->appendMessage(type, message);
    QTEST(log(), "line");
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

void TestDebugDialog::answerFileDialog(const QString &path)
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

void TestDebugDialog::saves_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("into a file") << dir.filePath(u"log.txt"_s);
    QTest::newRow("nowhere") << QString();
    QTest::newRow("where nobody can write") << u"/proc/log.txt"_s;
}

void TestDebugDialog::saves()
{
    QFETCH(const QString, path);
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

void TestDebugDialog::openedWhileUnpacking()
{
    delete window;
    EngineFixture t;
    t.set("rarHandling", u"during"_s);
    Post post;
    const RarVolumes set =
        packWithRar({{u"film.avi"_s, randomBytes(1, 1'000'000)}}, {u"-m0"_s, u"-v20k"_s});
    for (const auto &[name, content] : set)
        post.addYenc(name, content, 20'000);
    post.upload(*t.server);
    for (int last = 1; last <= 5; ++last)
        t.server->hold(post.file(post.fileCount() - last).id(1));
    t.engine->addNZB(post.writeNzb(t.dir.path()));
    QTRY_COMPARE_GE(t.server->waiting().size(), 1);
    window = DebugDialog::instance(nullptr);
    t.server->releaseAll();
    QTRY_VERIFY(!t.completedJobs.isEmpty());
    QTRY_VERIFY(wholeLog().contains(u"needs next volume"_s));
    QTRY_VERIFY(wholeLog().contains(u"Rar processing complete"_s));
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
