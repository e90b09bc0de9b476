// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlAttributes>

#include <functional>
#include <optional>

#include <sys/stat.h>

#include "player.h"
#include "post/filecombiner.h"
#include "preview/preview.h"
#include "queue/nzb.h"
#include "support/articles.h"
#include "support/dvdimage.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

/// A job without an engine, its files as the test makes them, and a client in the player's place.
class TestPreview final : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        dir.emplace();
        player.emplace(dir->path());
        nzb = std::make_unique<Nzb>(nullptr, dir->path(), QString());
        nzb->setName(u"job"_s);
        QVERIFY(QDir(dir->path()).mkdir(u"job"_s));
        finished.clear();
        preview = std::make_unique<Preview>(nzb.get(), nullptr);
        connect(preview.get(), &Preview::previewFinished, this,
                [this](Nzb *job) { finished << job; });
    }
    void cleanup()
    {
        const qsizetype before = finished.size();
        preview.reset();
        QVERIFY(!player->isRunning());
        QCOMPARE(finished.size(), before);
    }

    void previewableFiles_data();
    void previewableFiles();
    void loopbackAlone();
    void streamsFilesInOrder();
    void streamsPiecesJoinedMeanwhile();
    void streamsDvdImage_data();
    void streamsDvdImage();
    void answersFirstRequest_data();
    void answersFirstRequest();
    void endlessLineEndsConnection();
    void holdsOneChunk();
    void lastsUntilPlayerEnds_data();
    void lastsUntilPlayerEnds();
    void replaced_data();
    void replaced();
    void nothingToPlay();

private:
    [[nodiscard]] QString path(const QString &name) const { return nzb->folder() + u'/' + name; }
    /// A file of the download as an earlier run left it.
    void addPosted(const QString &subject, bool begun = true)
    {
        QXmlAttributes attributes;
        attributes.append(u"subject"_s, {}, {}, subject);
        attributes.append(u"completed"_s, {}, {}, begun ? u"1"_s : u"0"_s);
        nzb->startElement({}, {}, u"file"_s, attributes);
    }
    void addFile(const QString &name, const QByteArray &data)
    {
        addPosted(u'"' + name + u'"');
        writeFile(path(name), data);
    }
    void start()
    {
        preview->start(player->program, {u"-quiet"_s});
        QTRY_VERIFY(player->isThere());
    }
    /// Does it once as soon as the client has got more than @p bytes.
    void whenReceived(qsizetype bytes, const std::function<void()> &action)
    {
        connect(&player->client, &QTcpSocket::readyRead, this,
                [this, bytes, action, done = false]() mutable {
                    if (!done && player->received().size() > bytes) {
                        done = true;
                        action();
                    }
                });
    }
    [[nodiscard]] QTcpSocket *socket() const { return preview->findChild<QTcpSocket *>(); }

    std::optional<QTemporaryDir> dir;
    std::optional<Player> player;
    std::unique_ptr<Nzb> nzb;
    std::unique_ptr<Preview> preview;
    QList<Nzb *> finished;
};

void TestPreview::previewableFiles_data()
{
    // The subject of a file in the download, or nothing for an unpacked one; the name on disk; the
    // size on record, or in the download whether it has begun; the size found, -1 if it is not.
    const auto row = rows<QString, QString, quint64, qint64>();
    const auto posted = [&](const QString &subject, const QString &name, qint64 found,
                            bool begun = true) {
        row(qPrintable(u"posted %1, %2"_s.arg(subject).arg(begun)), {subject, name, begun, found});
    };
    posted(u"\"film.mkv\""_s, u"film.mkv"_s, 4);
    posted(u"\"film.mkv\""_s, u"film.mkv"_s, -1, false);
    posted(u"\"film.mkv\""_s, u"not yet there"_s, 0);
    posted(u"\"film.MKV\""_s, u"film.MKV"_s, 4); // in lower case if the subject quotes the name
    posted(u"a film.MKV"_s, u"film.MKV"_s, -1);
    posted(u"\"film.vob\""_s, u"film.vob"_s, 4);
    posted(u"\"film.iso\""_s, u"film.iso"_s, -1);
    posted(u"\"film.001\""_s, u"film.001"_s, 4);
    posted(u"\"film.0001\""_s, u"film.0001"_s, -1);
    posted(u"\"film.r01\""_s, u"film.r01"_s, -1);
    posted(u"\"../film.mkv\""_s, u"../film.mkv"_s, -1);
    const auto unpacked = [&](const QString &name, quint64 recorded, bool found,
                              const QString &onDisk) {
        row(qPrintable(u"unpacked %1 %2 in %3"_s.arg(name).arg(recorded).arg(onDisk)),
            {QString(), onDisk, recorded, found ? qint64(recorded) : -1});
    };
    for (const QString &name : {u"film.DVR-ms"_s, u"mkv"_s, u"sub/film.3gp"_s})
        unpacked(name, 9, true, name);
    for (const QString &name :
         {u".mkv"_s, u"film.001"_s, u"film.iso"_s, u"../film.mkv"_s, u"sub/folder.avi"_s})
        unpacked(name, 9, false, name);
    unpacked(u"film.mkv"_s, 9, false, u"elsewhere.mkv"_s);
    unpacked(u"film.vob"_s, leastTitle, false, u"film.vob"_s);
    unpacked(u"film.vob"_s, leastTitle + 1, true, u"film.vob"_s);
}

void TestPreview::previewableFiles()
{
    const auto [subject, name, recorded, found] = thisRow<QString, QString, quint64, qint64>();
    QDir(nzb->folder()).mkpath(u"sub/folder.avi"_s);
    if (!QFileInfo(path(name)).isDir())
        writeFile(path(name), "data");
    if (subject.isEmpty())
        nzb->addExtractedFile(name == "elsewhere.mkv"_L1 ? u"film.mkv"_s : name, recorded);
    else
        addPosted(subject, recorded != 0);
    const QMap<QString, quint64> films = Preview::previewableFiles(nzb.get());
    QCOMPARE(films.isEmpty() ? -1 : qint64(films.first()), found);
    if (found > 0)
        QCOMPARE(films.firstKey(), path(name));
}

void TestPreview::loopbackAlone()
{
    addFile(u"a.avi"_s, "film");
    start();
    QCOMPARE(player->arguments(), u"-quiet http://127.0.0.1:%1/marlowick"_s.arg(player->port()));
    QTcpSocket other;
    const auto isRefused = [&](const QString &address) {
        other.connectToHost(address, player->port());
        return !other.waitForConnected() && other.error() == QTcpSocket::ConnectionRefusedError;
    };
    QVERIFY(isRefused(u"127.0.0.2"_s));
    player->request({});
    QTRY_VERIFY(socket());
    QVERIFY(isRefused(u"127.0.0.1"_s));
}

void TestPreview::streamsFilesInOrder()
{
    const QByteArray film = randomBytes(1, 100'000);
    addFile(u"b.avi"_s, film);
    addFile(u"a.avi"_s, "first");
    addPosted(u"\"b1.avi\""_s); // not on disk yet
    start();
    addFile(u"c.avi"_s, "new");
    addFile(u"0.avi"_s, "new, but its turn is over");
    // Each leads to the other.
    addPosted(u"\"d.avi.001\""_s);
    addFile(u"d.avi"_s, QByteArray());
    player->request();
    QTRY_VERIFY(player->hasEnded());
    QCOMPARE(player->film(), "first" + film + "new");
}

void TestPreview::streamsPiecesJoinedMeanwhile()
{
    constexpr qsizetype size = 1'000'000;
    const QByteArray film = randomBytes(1, 3 * size);
    FileCombiner combiner(nullptr, nullptr);
    for (int i = 0; i < 3; ++i) {
        const QString name = u"film.avi.00%1"_s.arg(i + 1);
        addFile(name, film.sliced(i * size, size));
        combiner.addFile(path(name));
    }
    start();
    player->request();
    whenReceived(size + 100'000, [&] { combiner.run(); }); // in the midst of the second
    // The first piece is not counted, so that the third begins one piece too early.
    QTRY_COMPARE(player->film().size(), 4 * size);
    QVERIFY(player->film() == film.first(2 * size) + film.sliced(size));
    QVERIFY(!player->hasEnded());
}

void TestPreview::streamsDvdImage_data()
{
    const auto row = rows<bool>();
    row("while it is unpacked", {true});
    row("whole: the first title alone", {false});
}

void TestPreview::streamsDvdImage()
{
    const auto [growing] = thisRow<bool>();
    const QString image = path(u"film.ISO"_s);
    const QByteArray one = randomBytes(1, leastTitle + 5000);
    const QByteArray two = randomBytes(2, leastTitle);
    const QByteArray records = dvdRecord("VTS_01_2.VOB;1", 30000, leastTitle)
                               + dvdRecord("VTS_01_1.VOB;1", 1000, leastTitle + 5000);
    writeAt(image, scannedFrom, records);
    const auto finish = [&] { writeAt(image, 30000 * 2048, two); };
    writeAt(image, 1000 * 2048, growing ? one.first(leastTitle) : one);
    if (!growing)
        finish();
    nzb->addExtractedFile(u"film.ISO"_s, 30000 * 2048 + leastTitle);
    start();
    player->request();
    if (growing) {
        QTRY_COMPARE_WITH_TIMEOUT(player->film().size(), leastTitle, 20'000);
        writeAt(image, 1000 * 2048 + leastTitle, one.sliced(leastTitle));
        QTRY_COMPARE_WITH_TIMEOUT(player->film().size(), one.size(), 20'000);
        finish();
    }
    QTRY_VERIFY_WITH_TIMEOUT(player->hasEnded(), 20'000);
    QVERIFY(player->film() == (growing ? one + two : one));
}

void TestPreview::answersFirstRequest_data()
{
    // pieces: the last one makes the request complete
    const auto row = rows<QByteArrayList>();
    const QByteArray get = "GET /marlowick HTTP/1.1\r\n";
    row("nothing, then a longer path", {QByteArrayList{"GET /marlowick/../../x\n"}});
    row("half a line", {QByteArrayList{"GET /marlow", "ick\n"}});
    row("another path", {QByteArrayList{"GET /x HTTP/1.1\r\n", get}});
    row("another method", {QByteArrayList{"HEAD /marlowick HTTP/1.1\r\n", get}});
    row("again and again", {QByteArrayList{get.repeated(9000), get}});
}

void TestPreview::answersFirstRequest()
{
    auto [pieces] = thisRow<QByteArrayList>();
    addFile(u"a.avi"_s, QByteArray(1'000'000, 'a'));
    start();
    player->request({});
    QTRY_VERIFY(socket());
    const QByteArray last = pieces.takeLast();
    for (const QByteArray &piece : std::as_const(pieces)) {
        const QSignalSpy arrival(socket(), &QTcpSocket::readyRead);
        QVERIFY(player->received().isEmpty());
        player->client.write(piece);
        QTRY_VERIFY(!arrival.isEmpty());
        QVERIFY(socket()->bytesAvailable() <= 65536);
    }
    player->client.write(last);
    QTRY_VERIFY(player->hasEnded());
    QVERIFY(player->film() == QByteArray(1'000'000, 'a'));
}

void TestPreview::endlessLineEndsConnection()
{
    addFile(u"a.avi"_s, "film");
    start();
    player->request(QByteArray(10'000'000, 'x'));
    QTRY_VERIFY(player->hasEnded());
    QVERIFY(player->received().isEmpty());
}

void TestPreview::holdsOneChunk()
{
    addFile(u"a.avi"_s, QByteArray());
    QVERIFY(QFile::resize(path(u"a.avi"_s), qint64(2) << 30));
    start();
    player->client.setReadBufferSize(10'000);
    player->request();
    qint64 most = 0;
    for (qint64 taken = 0; taken < 20'000'000;) {
        QCoreApplication::processEvents();
        taken += player->client.read(3'000).size();
        most = std::max(most, socket() ? socket()->bytesToWrite() : 0);
    }
    QCOMPARE(most, 32768);
}

void TestPreview::lastsUntilPlayerEnds_data()
{
    // name: of the film
    const auto row = rows<QString>();
    for (const char *event : {"client leaves", "film goes", "film shrinks", "job goes"})
        row(event, {u"film.avi"_s});
    row("image shrinks", {u"film.iso"_s});
}

void TestPreview::lastsUntilPlayerEnds()
{
    const QString name = std::get<0>(thisRow<QString>());
    const QByteArray event = QTest::currentDataTag();
    writeAt(path(name), scannedFrom, dvdRecord("VTS_01_1.VOB;1", 1000, leastTitle));
    writeAt(path(name), 1000 * 2048 + leastTitle, "-");
    const quint64 size = static_cast<quint64>(QFileInfo(path(name)).size());
    nzb->addExtractedFile(name, event == "film goes" ? size + 1 : size);
    start();
    player->request();
    bool happened = false;
    whenReceived(1'000'000, [&] {
        happened = true;
        if (event == "client leaves")
            player->client.abort();
        else if (event == "job goes")
            nzb.reset();
        else if (event == "film goes")
            QFile::remove(path(name));
        else
            QFile::resize(path(name), 1000);
    });
    QTRY_VERIFY(happened && socket()->bytesToWrite() == 0);
    QVERIFY(finished.isEmpty());
    player->end();
    QTRY_COMPARE(finished, QList<Nzb *>{nzb.get()});
}

void TestPreview::replaced_data()
{
    const auto row = rows<QString>();
    for (const char *what : {"a pipe", "a link to another folder", "a folder"})
        row(what, {QString::fromLatin1(what)});
}

// After it was found, and before it is opened.
void TestPreview::replaced()
{
    const auto [by] = thisRow<QString>();
    addFile(u"a.avi"_s, "film");
    start();
    QVERIFY(QFile::remove(path(u"a.avi"_s)));
    if (by == "a pipe"_L1)
        QCOMPARE(mkfifo(QFile::encodeName(path(u"a.avi"_s)).constData(), 0600), 0);
    else if (by == "a folder"_L1)
        QVERIFY(QDir().mkdir(path(u"a.avi"_s)));
    else
        QVERIFY(QFile::link(writeFile(dir->filePath(u"other"_s), "else"), path(u"a.avi"_s)));
    player->request();
    QTRY_VERIFY(player->received().endsWith("\r\n\r\n"));
    QTest::qWait(50); // for more that might come
    QCOMPARE(player->film(), "");
    player->end();
    QTRY_COMPARE(finished.size(), 1);
}

void TestPreview::nothingToPlay()
{
    preview->start(player->program, {u"-quiet"_s});
    QCOMPARE(finished, QList<Nzb *>{nzb.get()});
}

QTEST_GUILESS_MAIN(TestPreview)
#include "test_preview.moc"
