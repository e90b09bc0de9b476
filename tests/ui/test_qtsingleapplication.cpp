// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/qtsingleapplication.h"

#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtEndian>
#include <QTest>
#include <QTextStream>
#include <QWidget>
#include <QWindow>

#include <future>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr char instanceRole[] = "MARLOWICK_TEST_INSTANCE";
constexpr int childWait = 20000;

/// What a child process of this test does: as a first instance it prints what it receives, as a
/// second one it sends its arguments.
int runInstance(int &argc, char **argv)
{
    QtSingleApplication app(argc, argv);
    QTextStream out(stdout);
    out << (app.isRunning() ? "second" : "first") << Qt::endl;
    if (app.isRunning()) {
        for (const QString &argument : QCoreApplication::arguments().sliced(1))
            out << (app.sendMessage(argument, childWait) ? "taken" : "lost") << Qt::endl;
        return 0;
    }
    QObject::connect(&app, &QtSingleApplication::messageReceived, &app,
                     [&out](const QString &message) { out << "got " << message << Qt::endl; });
    QWidget window;
    app.setActivationWindow(&window, QCoreApplication::arguments().contains(u"activate"_s));
    window.showMinimized();
    QObject::connect(window.windowHandle(), &QWindow::windowStateChanged, &app,
                     [&out](Qt::WindowState state) {
                         if (state == Qt::WindowNoState)
                             out << "shown" << Qt::endl;
                     });
    return QApplication::exec();
}

QByteArray header(quint32 length)
{
    QByteArray bytes(sizeof length, '\0');
    qToBigEndian(length, bytes.data());
    return bytes;
}

} // namespace

class TestQtSingleApplication : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void messagesArriveWholeAndInOrder();
    void onlyOneOfManyStartsIsFirst();
    void killedInstanceIsReplaced();
    void messageBringsWindowToFront();
    void whatCountsAsTheSameProgram_data();
    void whatCountsAsTheSameProgram();
    void brokenSenderIsDropped_data();
    void brokenSenderIsDropped();
    void nothingIsTakenWithoutReceiver();
    void messageLengthIsLimited();
    void unusableFolderIsNoSecondInstance();

private:
    std::shared_ptr<QProcess>
    start(const QStringList &arguments = {},
          const QString &program = QCoreApplication::applicationFilePath());
    QByteArray line(QProcess *child);

    std::unique_ptr<QTemporaryDir> folder_;
    QList<std::shared_ptr<QProcess>> children_;
};

void TestQtSingleApplication::init()
{
    folder_ = std::make_unique<QTemporaryDir>(); // made with mode 0700, as a runtime folder is
    QVERIFY(folder_->isValid());
}

void TestQtSingleApplication::cleanup()
{
    for (const auto &child : std::as_const(children_)) {
        child->kill();
        child->waitForFinished();
    }
    children_.clear();
}

std::shared_ptr<QProcess> TestQtSingleApplication::start(const QStringList &arguments,
                                                         const QString &program)
{
    auto child = std::make_shared<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder_->path());
    environment.insert(QString::fromLatin1(instanceRole), u"1"_s);
    child->setProcessEnvironment(environment);
    child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child->start(program, arguments);
    children_.append(child);
    return child;
}

QByteArray TestQtSingleApplication::line(QProcess *child)
{
    while (!child->canReadLine() && child->waitForReadyRead(childWait)) { }
    return child->readLine().trimmed();
}

void TestQtSingleApplication::messagesArriveWholeAndInOrder()
{
    const QStringList messages = {u"/tmp/Größe 日本語 🎬.nzb"_s, u"second"_s, QString(),
                                  QString(50'000, u'ä'), u"last"_s};
    const auto first = start();
    QCOMPARE(line(first.get()), "first");
    const auto second = start(messages);
    QCOMPARE(line(second.get()), "second");
    for (const QString &message : messages) {
        QCOMPARE(line(first.get()), QByteArray("got " + message.toUtf8()).trimmed());
        QCOMPARE(line(second.get()), "taken");
    }
    QVERIFY(second->waitForFinished(childWait));
    QCOMPARE(second->exitCode(), 0);
}

void TestQtSingleApplication::onlyOneOfManyStartsIsFirst()
{
    QList<std::shared_ptr<QProcess>> starts;
    for (int i = 0; i < 6; ++i)
        starts.append(start({u"from %1"_s.arg(i)}));
    QProcess *first = nullptr;
    for (const auto &child : starts) {
        const QByteArray role = line(child.get());
        QVERIFY(role == "second" || (role == "first" && !first));
        if (role == "first")
            first = child.get();
    }
    QVERIFY(first);
    for (const auto &child : starts) {
        if (child.get() != first)
            QCOMPARE(line(child.get()), "taken");
    }
}

void TestQtSingleApplication::killedInstanceIsReplaced()
{
    const auto first = start();
    QCOMPARE(line(first.get()), "first");
    QCOMPARE(line(start({u"one"_s}).get()), "second");
    QCOMPARE(line(first.get()), "got one");
    first->kill();
    QVERIFY(first->waitForFinished(childWait));

    const auto next = start();
    QCOMPARE(line(next.get()), "first");
    QCOMPARE(line(start({u"two"_s}).get()), "second");
    QCOMPARE(line(next.get()), "got two");
}

void TestQtSingleApplication::messageBringsWindowToFront()
{
    const auto first = start({u"activate"_s});
    QCOMPARE(line(first.get()), "first");
    QCOMPARE(line(start({u"file"_s}).get()), "second");
    QCOMPARE(line(first.get()), "got file");
    QCOMPARE(line(first.get()), "shown");
}

void TestQtSingleApplication::whatCountsAsTheSameProgram_data()
{
    QTest::addColumn<bool>("copied");
    QTest::addColumn<QByteArray>("role");
    QTest::newRow("a copy is another program") << true << QByteArray("first");
    QTest::newRow("a symbolic link is the same program") << false << QByteArray("second");
}

void TestQtSingleApplication::whatCountsAsTheSameProgram()
{
    QFETCH(const bool, copied);
    QFETCH(const QByteArray, role);
    QFile program(QCoreApplication::applicationFilePath());
    const QString other = folder_->filePath(u"other"_s);
    QVERIFY(copied ? program.copy(other) : program.link(other));
    QCOMPARE(line(start().get()), "first");
    QCOMPARE(line(start({}, other).get()), role);
}

void TestQtSingleApplication::brokenSenderIsDropped_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("hangsUp");
    QTest::addColumn<int>("within");
    const int atOnce = InstanceLink::silenceLimit * 3 / 4;
    const int inTheEnd = InstanceLink::silenceLimit * 5;
    const quint32 limit = InstanceLink::maxMessageBytes;
    QTest::newRow("length above the limit") << header(limit + 1) + "x" << false << atOnce;
    QTest::newRow("greatest length") << header(0xFFFFFFFF) << false << atOnce;
    QTest::newRow("nothing, then silence") << QByteArray() << false << inTheEnd;
    QTest::newRow("half a length, then silence") << header(5).first(2) << false << inTheEnd;
    QTest::newRow("half a message, then silence")
        << header(limit) + QByteArray(70'000, 'x') << false << inTheEnd;
    QTest::newRow("half a message, then hangs up") << header(5) + "ab" << true << atOnce;
    QTest::newRow("nothing, then hangs up") << QByteArray() << true << atOnce;
}

void TestQtSingleApplication::brokenSenderIsDropped()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const bool, hangsUp);
    QFETCH(const int, within);
    InstanceLink link(folder_->path(), u"id"_s);
    QSignalSpy received(&link, &InstanceLink::messageReceived);
    link.takeMessages();

    QLocalSocket sender;
    sender.connectToServer(link.socketPath());
    QVERIFY(sender.waitForConnected());
    QTRY_COMPARE(link.findChildren<QLocalSocket *>().size(), 1);
    sender.write(bytes);
    sender.flush();
    if (hangsUp)
        sender.disconnectFromServer();
    QTRY_COMPARE_WITH_TIMEOUT(link.findChildren<QLocalSocket *>().size(), 0, within);
    QTRY_COMPARE(sender.state(), QLocalSocket::UnconnectedState);
    QCOMPARE(sender.bytesAvailable(), 0);
    QCOMPARE(received.size(), 0);

    const InstanceLink second(folder_->path(), u"id"_s);
    QVERIFY(second.isRunning());
    auto good = std::async([&] { return second.sendMessage(u"whole"_s, childWait); });
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, childWait);
    QVERIFY(good.get());
    QCOMPARE(received.first().first().toString(), u"whole"_s);
}

void TestQtSingleApplication::nothingIsTakenWithoutReceiver()
{
    InstanceLink link(folder_->path(), u"id"_s);
    const InstanceLink second(folder_->path(), u"id"_s);
    QVERIFY(!second.sendMessage(u"too early"_s, 50));

    auto patient = std::async([&] { return second.sendMessage(u"patient"_s, childWait); });
    QCOMPARE(patient.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    QSignalSpy received(&link, &InstanceLink::messageReceived);
    link.takeMessages();
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, childWait);
    QVERIFY(patient.get());
    QCOMPARE(received.first().first().toString(), u"patient"_s);
}

void TestQtSingleApplication::messageLengthIsLimited()
{
    InstanceLink link(folder_->path(), u"id"_s);
    QSignalSpy received(&link, &InstanceLink::messageReceived);
    link.takeMessages();
    const InstanceLink second(folder_->path(), u"id"_s);
    const QString longest(InstanceLink::maxMessageBytes, u'x');
    QVERIFY(!second.sendMessage(longest + u'x', childWait));
    auto sent = std::async([&] { return second.sendMessage(longest, childWait); });
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, childWait);
    QVERIFY(sent.get());
    QVERIFY(received.first().first().toString() == longest);
}

void TestQtSingleApplication::unusableFolderIsNoSecondInstance()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Cannot lock a file"_s));
    const InstanceLink link(folder_->filePath(u"missing"_s), u"id"_s);
    QVERIFY(!link.isRunning());
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet(instanceRole))
        return runInstance(argc, argv);
    QCoreApplication app(argc, argv);
    TestQtSingleApplication test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_qtsingleapplication.moc"
