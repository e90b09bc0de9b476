// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/case.h"

#include <QXmlAttributes>

#include <sys/stat.h>

#include "engine/enginefixture.h"
#include "player.h"
#include "preview/isofile.h"
#include "preview/preview.h"
#include "support/dvdimage.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

/// A job without an engine, its files as the test makes them, and a client in the player's place.
struct World {
    World()
    {
        nzb->setName(u"job"_s);
        QDir(nzb->folder()).mkpath(u"sub/folder.avi"_s);
        QObject::connect(preview.get(), &Preview::previewFinished,
                         [this](Nzb *job) { finished << job; });
    }
    ~World() // the player goes with the preview, which says nothing of it
    {
        const qsizetype before = finished.size();
        preview.reset();
        QVERIFY(!player.isRunning());
        QCOMPARE(finished.size(), before);
    }

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
    void start(const QByteArray &request = "GET /marlowick HTTP/1.1\r\nRange: bytes=9-\r\n\r\n")
    {
        preview->start(player.program, {u"-quiet"_s});
        QTRY_VERIFY(player.isThere());
        if (!request.isNull())
            player.request(request);
    }
    /// Does it once as soon as the client has got more than @p bytes.
    void whenReceived(qsizetype bytes, std::function<void()> action)
    {
        QObject::connect(&player.client, &QTcpSocket::readyRead, [this, bytes, action]() mutable {
            if (action && player.received().size() > bytes)
                std::exchange(action, nullptr)();
        });
    }
    [[nodiscard]] QTcpSocket *socket() const { return preview->findChild<QTcpSocket *>(); }

    QTemporaryDir dir;
    Player player{dir.path()};
    std::unique_ptr<Nzb> nzb = std::make_unique<Nzb>(nullptr, dir.path(), QString());
    QList<Nzb *> finished;
    std::unique_ptr<Preview> preview = std::make_unique<Preview>(nzb.get(), nullptr);
};

QByteArray vob(const QByteArray &name, quint32 sector, quint32 size = leastTitle)
{
    return dvdRecord("VTS_" + name, sector, size);
}

const QByteArray a = vob("01_1.VOB;1", 1000);
const QByteArray b = vob("02_1.VOB;1", 14000);
constexpr quint32 atA = 1000 * 2048, atB = 14000 * 2048;
QByteArray spoiltA(qsizetype at, char value) { return QByteArray(a).replace(at, 1, &value, 1); }

/// @p starts: in the order of the names. What is wrong stands ahead of what must be found all the
/// same.
const struct Titles {
    const char *name;
    QByteArray records;
    QList<quint32> starts;
    qsizetype ahead = 33;
} images[] = {
    {"by name, wherever they stand", b + "VTS_" + a, {atA, atB}, 100'001},
    {"a byte too small", vob("01_1.VOB;1", 1000, leastTitle - 1) + b, {atB}},
    {"the later of one name", a + vob("01_1.VOB;9", 14000), {atB}},
    {"no place", vob("01_1.VOB;1", 0) + b, {atB}},
    {"past 4 GiB", vob("01_1.VOB;1", 0x200000 + 1000), {atA}},
    {"another file", vob("01_0.IFO;1", 1000) + b, {atB}},
    {"a short name", vob("1.VOB;1", 1000) + b, {atB}},
    {"the shortest name", vob("11.VOB;1", 1000), {atA}},
    {"places differ", spoiltA(9, 1) + b, {atB}},
    {"lengths differ", spoiltA(17, 1) + b, {atB}},
    {"interleaved", spoiltA(27, 1) + b, {atB}},
    {"record as long as its name", spoiltA(0, 14 + 32) + b, {atB}},
    {"name at the start of the stretch", a, {atA}, 0},
    {"name a byte ahead of that", a.sliced(1), {}, 0},
    {"name cut by the end", a + b.chopped(1), {atA}},
};
const Case titles("the titles of a DVD image are found", images, [](const Titles &row) {
    QList<quint32> starts;
    for (const DvdTitle &title : dvdTitles(QByteArray(row.ahead, '\0') + row.records))
        starts << title.start();
    QCOMPARE(starts, row.starts);
});

const Case smallest("an image is watched from its first byte of film on", [] {
    const QTemporaryDir dir;
    const QString path = dir.filePath(u"film.iso"_s);
    writeAt(path, scannedFrom + 0x100000 - a.size(), vob("01_1.VOB;1", 12800));
    writeAt(path, leastTitle - 2, "-");
    QVERIFY(!IsoFile(path).open(QIODevice::ReadOnly)); // a byte too small
    writeAt(path, leastTitle - 1, "-");
    QVERIFY(!IsoFile::containsVideo(path)); // its first byte is the next one to come
    IsoFile image(path);
    QVERIFY(image.open(QIODevice::ReadOnly));
    QCOMPARE(image.read(10), QByteArray());
    writeAt(path, leastTitle, "film");
    QVERIFY(IsoFile::containsVideo(path));
    QCOMPARE(image.read(10), "film");
    QCOMPARE(image.pos(), leastTitle + 4);
    writeAt(path, 2 * leastTitle, "more"); // than belongs to the title
    QCOMPARE(image.read(2 * leastTitle).size(), leastTitle - 4);
    QCOMPARE(image.pos(), QFileInfo(path).size());
});

/// @p size: on record for an unpacked file; 0 for a posted one of which nothing has come.
const struct Film {
    const char *name;
    QString file; ///< the subject if it is posted
    bool posted, found;
    QString onDisk = QString(file).remove(u'"');
    quint64 size = 4;
} films[] = {
    {"posted", u"\"film.mkv\""_s, true, true},
    {"posted, not begun", u"\"film.mkv\""_s, true, false, u"film.mkv"_s, 0},
    {"posted in capitals, which a quoted name loses", u"\"film.MKV\""_s, true, true},
    {"posted in capitals, not quoted", u"film.MKV"_s, true, false},
    {"posted, vob", u"\"film.vob\""_s, true, true},
    {"posted, iso", u"\"film.iso\""_s, true, false},
    {"posted piece", u"\"film.001\""_s, true, true},
    {"posted, four digits", u"\"film.0001\""_s, true, false},
    {"posted volume", u"\"film.r01\""_s, true, false},
    {"posted out of the folder", u"\"../film.mkv\""_s, true, false},
    {"unpacked", u"film.DVR-ms"_s, false, true},
    {"unpacked, all extension", u"mkv"_s, false, true},
    {"unpacked in a folder", u"sub/film.3gp"_s, false, true},
    {"unpacked, hidden", u".mkv"_s, false, false},
    {"unpacked piece", u"film.001"_s, false, false},
    {"unpacked image without film", u"film.iso"_s, false, false},
    {"unpacked out of the folder", u"../film.mkv"_s, false, false},
    {"unpacked folder", u"sub/folder.avi"_s, false, false, u"other"_s},
    {"unpacked, not there", u"film.mkv"_s, false, false, u"other"_s},
    {"unpacked menu", u"film.vob"_s, false, false, u"film.vob"_s, leastTitle},
    {"unpacked, more than a menu", u"film.vob"_s, false, true, u"film.vob"_s, leastTitle + 1},
};
const Case found("what can be watched", films, [](const Film &row) {
    World t;
    writeFile(t.path(row.onDisk), "film");
    row.posted ? t.addPosted(row.file, row.size != 0) : t.nzb->addExtractedFile(row.file, row.size);
    QMap<QString, quint64> expected;
    if (row.found)
        expected[t.path(row.onDisk)] = row.size;
    QCOMPARE(Preview::previewableFiles(t.nzb.get()), expected);
});

const Case loopback("one client is served, of this machine alone", [] {
    World t;
    t.preview->start(t.player.program, {});
    QCOMPARE(t.finished, QList<Nzb *>{t.nzb.get()}); // for nothing is there to play
    t.addFile(u"a.avi"_s, "film");
    t.start({});
    const quint16 port = t.player.port();
    QCOMPARE(t.player.arguments(), u"-quiet http://127.0.0.1:%1/marlowick"_s.arg(port));
    const auto isRefused = [&](const QString &address) {
        QTcpSocket other;
        other.connectToHost(address, port);
        return !other.waitForConnected() && other.error() == QTcpSocket::ConnectionRefusedError;
    };
    QVERIFY(isRefused(u"127.0.0.2"_s));
    t.player.request({});
    QTRY_VERIFY(t.socket());
    QVERIFY(isRefused(u"127.0.0.1"_s));
});

const Case order("films are streamed in order, new ones too", [] {
    World t;
    const QByteArray film = randomBytes(1, 100'000);
    t.addFile(u"b.avi"_s, film);
    t.addFile(u"a.avi"_s, "first");
    t.addPosted(u"\"b1.avi\""_s); // not on disk yet
    t.start({});
    t.addFile(u"c.avi"_s, "!"); // new
    t.addFile(u"0.avi"_s, "new, but its turn is over");
    // Each leads to the other.
    t.addPosted(u"\"d.avi.001\""_s);
    t.addFile(u"d.avi"_s, QByteArray());
    t.player.request();
    QTRY_VERIFY(t.player.hasEnded());
    QCOMPARE(t.player.film(), "first" + film + "!");
});

const Case joined("pieces are joined meanwhile", [] {
    World t;
    constexpr qsizetype size = 1'000'000;
    const QByteArray film = randomBytes(1, 3 * size);
    const QStringList pieces{u"film.avi.001"_s, u"film.avi.002"_s, u"film.avi.003"_s};
    for (int i = 0; i < 3; ++i)
        t.addFile(pieces[i], film.sliced(i * size, size));
    t.whenReceived(size + 100'000, [&] { // in the midst of the second
        writeFile(t.path(u"film.avi"_s), film);
        for (const QString &piece : pieces)
            QFile::remove(t.path(piece));
    });
    t.start();
    // The first piece is not counted, so that the third begins one piece too early.
    QTRY_COMPARE(t.player.film().size(), 4 * size);
    QVERIFY(t.player.film() == film.first(2 * size) + film.sliced(size));
    QVERIFY(!t.player.hasEnded());
});

const struct Dvd {
    const char *name;
    bool isGrowing;
} dvds[] = {{"while it is unpacked", true}, {"whole: the first title alone", false}};
const Case dvd("a DVD image is streamed", dvds, [](const Dvd &row) {
    World t;
    const QString image = t.path(u"film.ISO"_s);
    const QByteArray one = randomBytes(1, leastTitle + 5000);
    const QByteArray two = randomBytes(2, leastTitle);
    writeAt(image, scannedFrom,
            vob("01_2.VOB;1", 30000) + vob("01_1.VOB;1", 1000, leastTitle + 5000));
    writeAt(image, 1000 * 2048, row.isGrowing ? one.first(leastTitle) : one);
    if (!row.isGrowing)
        writeAt(image, 30000 * 2048, two);
    t.nzb->addExtractedFile(u"film.ISO"_s, 30000 * 2048 + leastTitle);
    t.start();
    if (row.isGrowing) {
        QTRY_COMPARE_WITH_TIMEOUT(t.player.film().size(), leastTitle, 20'000);
        writeAt(image, 1000 * 2048 + leastTitle, one.sliced(leastTitle));
        QTRY_COMPARE_WITH_TIMEOUT(t.player.film().size(), one.size(), 20'000);
        writeAt(image, 30000 * 2048, two);
    }
    QTRY_VERIFY_WITH_TIMEOUT(t.player.hasEnded(), 20'000);
    QVERIFY(t.player.film() == (row.isGrowing ? one + two : one));
});

const QByteArray get = "GET /marlowick HTTP/1.1\r\n";
const struct Request {
    const char *name;
    QByteArrayList pieces; ///< of which the last one makes the request complete
    bool isAnswered = true;
} requests[] = {
    {"a longer path", {"GET /marlowick/../../x\n"}},
    {"half a line", {"GET /marlow", "ick\n"}},
    {"another path", {"GET /x HTTP/1.1\r\n", get}},
    {"another method", {"HEAD /marlowick HTTP/1.1\r\n", get}},
    {"again and again", {get.repeated(9000)}},
    {"an endless line", {QByteArray(10'000'000, 'x')}, false},
};
const Case answered("the first request is answered", requests, [](const Request &row) {
    World t;
    t.addFile(u"a.avi"_s, QByteArray(1'000'000, 'a'));
    t.start("");
    QTRY_VERIFY(t.socket());
    for (const QByteArray &piece : row.pieces) {
        const QSignalSpy arrival(t.socket(), &QTcpSocket::readyRead);
        QVERIFY(t.player.received().isEmpty());
        t.player.client.write(piece);
        QTRY_VERIFY(!arrival.isEmpty());
        QVERIFY(t.socket()->bytesAvailable() <= 65536);
    }
    QTRY_VERIFY(t.player.hasEnded());
    QVERIFY(row.isAnswered ? t.player.film() == QByteArray(1'000'000, 'a')
                           : t.player.received().isEmpty());
});

const Case chunk("one chunk is held in memory", [] {
    World t;
    t.addFile(u"a.avi"_s, QByteArray());
    QVERIFY(QFile::resize(t.path(u"a.avi"_s), qint64(2) << 30));
    t.player.client.setReadBufferSize(10'000);
    t.start();
    qint64 most = 0;
    for (qint64 taken = 0; taken < 20'000'000;) {
        QCoreApplication::processEvents();
        taken += t.player.client.read(3'000).size();
        most = std::max(most, t.socket() ? t.socket()->bytesToWrite() : 0);
    }
    QCOMPARE(most, 32768);
});

/// What happens in the midst of the film, or, where nothing of it comes, ahead of it.
const struct Event {
    const char *name;
    void (*happens)(World &t, const QString &film);
    bool ahead = false;
    QString film = u"film.avi"_s;
} events[] = {
    {"client leaves", [](World &t, const QString &) { t.player.client.abort(); }},
    {"film goes", [](World &, const QString &film) { QFile::remove(film); }},
    {"film shrinks", [](World &, const QString &film) { QFile::resize(film, 1000); }},
    {"image shrinks", [](World &, const QString &film) { QFile::resize(film, 1000); }, false,
     u"film.iso"_s},
    {"job goes", [](World &t, const QString &) { t.nzb.reset(); }},
    {"a folder in its place", [](World &, const QString &film) { QDir().mkdir(film); }, true},
    {"a pipe in its place",
     [](World &, const QString &film) { mkfifo(QFile::encodeName(film).constData(), 0600); }, true},
    {"a link to another folder in its place",
     [](World &t, const QString &film) {
         QFile::link(writeFile(t.dir.filePath(u"other"_s), "else"), film);
     },
     true},
};
const Case lasts("it lasts until the player ends", events, [](const Event &row) {
    World t;
    const QString film = t.path(row.film);
    writeAt(film, scannedFrom, a);
    writeAt(film, 1000 * 2048 + leastTitle, "-");
    const bool isGrowing = QByteArray(row.name) == "film goes";
    t.nzb->addExtractedFile(row.film, quint64(QFileInfo(film).size() + isGrowing));
    bool happened = false;
    const auto happen = [&] {
        happened = true;
        row.happens(t, film);
    };
    t.whenReceived(row.ahead ? 1 << 30 : 1'000'000, happen);
    t.start({});
    if (row.ahead && QFile::remove(film))
        happen();
    t.player.request();
    QTRY_VERIFY(happened && t.socket() && t.socket()->bytesToWrite() == 0);
    QTRY_VERIFY(!row.ahead || t.player.received().endsWith("\r\n\r\n"));
    QVERIFY(t.finished.isEmpty() && (!row.ahead || t.player.film().isEmpty()));
    t.player.end();
    QTRY_COMPARE(t.finished, QList<Nzb *>{t.nzb.get()});
});

const Case unpacked("a film is streamed before its last volume has come", [] {
    EngineFixture t;
    t.set("rarHandling", u"during"_s);
    const QByteArray film = randomBytes(1, 2'000'000);
    Post post;
    for (const auto &[name, data] :
         packWithRar({{u"film.avi"_s, film}}, {u"-m0"_s, u"-v600000b"_s}))
        post.addYenc(name, data, 50'000);
    for (const PostedSegment &segment : post.file(post.fileCount() - 1).segments)
        t.server->hold(segment.id);
    Nzb *nzb = t.start(post);
    QTRY_VERIFY(!Preview::previewableFiles(nzb).isEmpty());
    Player player(t.dir.path());
    Preview preview(nzb, nullptr);
    preview.start(player.program, {});
    QTRY_VERIFY(player.isThere());
    player.request();
    QTRY_VERIFY(player.film().size() > 1'000'000);
    QVERIFY(!player.hasEnded());
    t.server->releaseAll();
    QTRY_VERIFY(player.hasEnded());
    QVERIFY(player.film() == film);
});

} // namespace
