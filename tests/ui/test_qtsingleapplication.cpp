// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/rows.h"
#include "ui/qtsingleapplication.h"

#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>
#include <QWidget>
#include <QWindow>
#include <QtEndian>

#include <array>
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
    void init()
    {
        folder = std::make_unique<QTemporaryDir>(); // made with mode 0700, as a runtime folder is
    }
    void cleanup()
    {
        for (const auto &child : children) {
            child->kill();
            child->waitForFinished();
        }
        children.clear();
    }
    void messagesArriveWholeAndInOrder();
    void onlyOneOfManyStartsIsFirst();
    void messageBringsWindowToFront();
    void copyIsAnotherProgramLinkIsNot();
    void brokenSenderIsDropped_data();
    void brokenSenderIsDropped();
    void crowdOfSendersIsBounded();
    void messageWaitsForReceiver();
    void messageLengthIsLimited();
    void unusableFolderIsNoSecondInstance();

private:
    QProcess *start(const QStringList &arguments = {},
                    const QString &program = QCoreApplication::applicationFilePath());
    QByteArray line(QProcess *child)
    {
        while (!child->canReadLine() && child->waitForReadyRead(childWait)) { }
        return child->readLine().trimmed();
    }
    /// Sends @p message to @p first, which takes messages, as another process would.
    bool arrives(const InstanceLink &first, const QString &message)
    {
        const QSignalSpy received(&first, &InstanceLink::messageReceived);
        auto sent = std::async([&] {
            const InstanceLink second(folder->path(), u"id"_s);
            return second.isRunning() && second.sendMessage(message, childWait);
        });
        return QTest::qWaitFor([&] { return received.size() == 1; }, childWait) && sent.get()
               && received.first().first().toString() == message;
    }

    std::unique_ptr<QTemporaryDir> folder;
    std::vector<std::unique_ptr<QProcess>> children;
};

QProcess *TestQtSingleApplication::start(const QStringList &arguments, const QString &program)
{
    auto child = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder->path());
    environment.insert(QString::fromLatin1(instanceRole), u"1"_s);
    child->setProcessEnvironment(environment);
    child->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child->start(program, arguments);
    return children.emplace_back(std::move(child)).get();
}

void TestQtSingleApplication::messagesArriveWholeAndInOrder()
{
    const QStringList messages = {u"/tmp/Größe 日本語 🎬.nzb"_s, QString(), QString(50'000, u'ä'),
                                  u"last"_s};
    QProcess *const first = start();
    QCOMPARE(line(first), "first");
    QProcess *const second = start(messages);
    QCOMPARE(line(second), "second");
    for (const QString &message : messages) {
        QCOMPARE(line(first), QByteArray("got " + message.toUtf8()).trimmed());
        QCOMPARE(line(second), "taken");
    }
    QVERIFY(second->waitForFinished(childWait));
    QCOMPARE(second->exitCode(), 0);

    first->kill();
    QVERIFY(first->waitForFinished(childWait));
    QProcess *const next = start();
    QCOMPARE(line(next), "first");
    QCOMPARE(line(start({u"two"_s})), "second");
    QCOMPARE(line(next), "got two");
}

void TestQtSingleApplication::onlyOneOfManyStartsIsFirst()
{
    for (int i = 0; i < 6; ++i)
        start({u"from %1"_s.arg(i)});
    QMap<QByteArray, int> roles;
    for (const auto &child : children) {
        const QByteArray role = line(child.get());
        ++roles[role];
        if (role == "second")
            QCOMPARE(line(child.get()), "taken");
    }
    QCOMPARE(roles, (QMap<QByteArray, int>{{"first", 1}, {"second", 5}}));
}

void TestQtSingleApplication::messageBringsWindowToFront()
{
    QProcess *const first = start({u"activate"_s});
    QCOMPARE(line(first), "first");
    start({u"file"_s});
    QCOMPARE(line(first), "got file");
    QCOMPARE(line(first), "shown");
}

void TestQtSingleApplication::copyIsAnotherProgramLinkIsNot()
{
    QFile program(QCoreApplication::applicationFilePath());
    const QString copy = folder->filePath(QFileInfo(program).fileName());
    const QString link = folder->filePath(u"link"_s);
    QVERIFY(program.copy(copy) && program.link(link));
    QCOMPARE(line(start()), "first");
    QCOMPARE(line(start({}, copy)), "first");
    QCOMPARE(line(start({}, link)), "second");
}

void TestQtSingleApplication::brokenSenderIsDropped_data()
{
    const auto row = rows<QByteArray, bool, int>();
    const int atOnce = InstanceLink::silenceLimit * 3 / 4;
    const int inTheEnd = InstanceLink::silenceLimit * 5;
    const quint32 limit = InstanceLink::maxMessageBytes;
    row("length above the limit", {header(limit + 1) + "x", false, atOnce});
    row("greatest length", {header(0xFFFFFFFF), false, atOnce});
    row("nothing, then silence", {QByteArray(), false, inTheEnd});
    row("half a message, then silence", {header(5) + "ab", false, inTheEnd});
    row("half a length, then hangs up", {header(5).first(2), true, atOnce});
}

void TestQtSingleApplication::brokenSenderIsDropped()
{
    const auto [bytes, hangsUp, within] = thisRow<QByteArray, bool, int>();
    InstanceLink link(folder->path(), u"id"_s);
    const QSignalSpy received(&link, &InstanceLink::messageReceived);
    link.takeMessages();

    QLocalSocket sender;
    sender.connectToServer(link.socketPath());
    QTRY_COMPARE(link.findChildren<QLocalSocket *>().size(), 1);
    sender.write(bytes);
    sender.flush();
    if (hangsUp)
        sender.disconnectFromServer();
    QTRY_COMPARE_WITH_TIMEOUT(link.findChildren<QLocalSocket *>().size(), 0, within);
    QTRY_COMPARE(sender.state(), QLocalSocket::UnconnectedState);
    QCOMPARE(sender.bytesAvailable(), 0);
    QCOMPARE(received.size(), 0);
    QVERIFY(arrives(link, u"whole"_s));
}

void TestQtSingleApplication::crowdOfSendersIsBounded()
{
    InstanceLink link(folder->path(), u"id"_s);
    link.takeMessages();
    constexpr auto others = QFile::WriteGroup | QFile::WriteOther;
    QVERIFY(!(QFileInfo(link.socketPath()).permissions() & others));
    std::array<QLocalSocket, 50 * InstanceLink::maxSenders> crowd;
    for (QLocalSocket &sender : crowd) {
        sender.connectToServer(link.socketPath());
        QTRY_COMPARE(sender.state(), QLocalSocket::ConnectedState);
        QVERIFY(link.findChildren<QLocalSocket *>().size() <= InstanceLink::maxSenders + 1);
    }
    QVERIFY(arrives(link, u"whole"_s)); // although they are all silent
    QTRY_COMPARE(crowd.front().state(), QLocalSocket::UnconnectedState);
}

void TestQtSingleApplication::messageWaitsForReceiver()
{
    InstanceLink link(folder->path(), u"id"_s);
    const InstanceLink second(folder->path(), u"id"_s);
    QVERIFY(!second.sendMessage(u"too early"_s, 50));

    auto patient = std::async([&] { return second.sendMessage(u"patient"_s, childWait); });
    QCOMPARE(patient.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    const QSignalSpy received(&link, &InstanceLink::messageReceived);
    link.takeMessages();
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), 1, childWait);
    QVERIFY(patient.get());
}

void TestQtSingleApplication::messageLengthIsLimited()
{
    InstanceLink link(folder->path(), u"id"_s);
    link.takeMessages();
    const QString longest(InstanceLink::maxMessageBytes, u'x');
    QVERIFY(arrives(link, longest));
    const InstanceLink second(folder->path(), u"id"_s);
    QVERIFY(!second.sendMessage(longest + u'x', childWait));
}

void TestQtSingleApplication::unusableFolderIsNoSecondInstance()
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Cannot lock a file"_s));
    const InstanceLink link(folder->filePath(u"missing"_s), u"id"_s);
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
