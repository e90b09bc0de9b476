// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "preview/preview.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QXmlAttributes>

#include <sys/stat.h>

#include "player.h"
#include "preview/isofile.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/articles.h"
#include "support/case.h"
#include "support/dvdimage.h"

namespace {

const QByteArray get = "GET /marlowick/../../x\n";

/// A job without an engine, its files as the test makes them, and a client in the player's place.
struct World {
    [[nodiscard]] QString path(const QString &name) const { return nzb->folder() + '/' + name; }
    /// A file of the download as an earlier run left it.
    void add(const QString &name, const QByteArray &data, const QString &completed = "1")
    {
        QXmlAttributes attributes;
        attributes.append("subject", {}, {}, '"' + name + '"');
        attributes.append("completed", {}, {}, completed);
        nzb->startElement({}, {}, "file", attributes);
        writeFile(path(name), data);
    }
    void start(const QByteArray &request = get)
    {
        preview.start(player.program, {"-quiet"});
        QTRY_VERIFY(player.isThere());
        const QString port = player.arguments().section(':', -1).section('/', 0, 0);
        player.client.connectToHost("127.0.0.1", port.toUShort());
        player.client.write(request);
        QTRY_VERIFY(socket());
    }
    /// To be stopped in the midst of the film.
    void receive(qsizetype bytes)
    {
        while (player.film().size() < bytes)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    [[nodiscard]] QTcpSocket *socket() const { return preview.findChild<QTcpSocket *>(); }

    QTemporaryDir dir;
    bool made = QDir(dir.path()).mkpath("job/sub/folder.avi");
    Player player{dir.path()};
    std::unique_ptr<Nzb> nzb{new Nzb(nullptr, dir.filePath("job"), "")};
    Preview preview{nzb.get(), nullptr};
    QSignalSpy finished{&preview, &Preview::previewFinished};
};

const Case titles("the titles of a DVD image are found by name", [] {
    QByteArray records = dvdRecord("VTS_02_1.VOB;1", 2);
    QCOMPARE(dvdTitles(records).size() + dvdTitles(records.sliced(1)).size(), 1);
    for (const int at : {9, 17, 27, 0}) // places and lengths differ, interleaved, too short
        records += dvdRecord("VTS_09_1.VOB;1", 9).replace(at, 1, at ? "\1" : "\x2e");
    records += dvdRecord("VTS_03_1.VOB;1", 9, leastTitle - 1) + dvdRecord("VTS_04_0.IFO;1", 9)
               + dvdRecord("VTS_1.VOB;1", 9) + dvdRecord("VTS_05_1.VOB;1", 0) + "VTS_"
               + dvdRecord("VTS_01_1.VOB;1", 1) + dvdRecord("VTS_11.VOB;1", 3)
               + dvdRecord("VTS_06_1.VOB;1", 7) + dvdRecord("VTS_06_1.VOB;2", 0x200000 + 4)
               + dvdRecord("VTS_07_1.VOB;1", 5).chopped(1);
    QList<quint32> sectors; // of which the third lies past 4 GiB
    for (const DvdTitle &title : dvdTitles(records))
        sectors << title.start() / 2048;
    QCOMPARE(sectors, (QList<quint32>{1, 2, 4, 3}));
});

const Case dvd("a DVD image is streamed while it is unpacked", [] {
    World t;
    const QString image = t.path("film.ISO");
    const QByteArray one = randomBytes(1, leastTitle + 5000), two = randomBytes(2, leastTitle);
    const QByteArray last = dvdRecord("VTS_01_2.VOB;1", 30000);
    writeAt(image, scannedFrom, dvdRecord("VTS_01_1.VOB;1", 12800, leastTitle + 5000));
    writeAt(image, scannedFrom + 0x100000 - last.size(), last);
    writeAt(image, leastTitle - 2, "-");
    QVERIFY(!IsoFile(image).open(QIODevice::ReadOnly)); // a byte too small
    writeAt(image, leastTitle - 1, "-");
    QVERIFY(!IsoFile::containsVideo(image)); // its first byte is the next one to come
    writeAt(image, leastTitle, one.first(leastTitle));
    t.nzb->addExtractedFile("film.ISO", 30000 * 2048 + leastTitle);
    t.add("i.avi", "!");
    t.start();
    QTRY_COMPARE_WITH_TIMEOUT(t.player.film().size(), leastTitle, 20'000);
    writeAt(image, 2 * leastTitle, one.sliced(leastTitle));
    QTRY_COMPARE_WITH_TIMEOUT(t.player.film().size(), one.size(), 20'000);
    const QString renamed = t.path("holiday.iso"); // both files have got other names
    QVERIFY(QFile::rename(image, renamed) && t.nzb->extractedFiles().remove("film.ISO"));
    QVERIFY(QFile::rename(t.path("i.avi"), t.path("j.avi")));
    t.nzb->fileAt(0)->setFilename("j.avi");
    t.nzb->addExtractedFile("holiday.iso", 30000 * 2048 + leastTitle);
    writeAt(renamed, 30000 * 2048, two);
    QTRY_VERIFY_WITH_TIMEOUT(t.player.hasEnded(), 20'000);
    QVERIFY(t.player.film() == one + two + "!");
});

const Case found("what can be watched", [] {
    World t;
    for (const QString name : {"a.mkv", "b.MKV", "c.iso", "d.001", "e.0001", "f.r01", "../g.mkv"})
        t.add(name, "film");
    t.add("h.mkv", "film", "0");
    t.nzb->addExtractedFile("sub/folder.avi", 4);
    for (const QString name :
         {"i.DVR-ms", "mkv", "sub/j.3gp", ".mkv", "l.iso", "../m.mkv", "n.vob"})
        t.nzb->addExtractedFile(writeFile(t.path(name)).remove(t.path("")), leastTitle);
    t.nzb->addExtractedFile(writeFile(t.path("o.vob")).remove(t.path("")), leastTitle + 1);
    const QStringList paths = Preview::previewableFiles(t.nzb.get()).keys();
    QCOMPARE(paths.join(' ').remove(t.path("")), "a.mkv b.MKV d.001 i.DVR-ms mkv o.vob sub/j.3gp");
});

const Case order("films are streamed in order to one client of this machine", [] {
    World t;
    t.preview.start(t.player.program, {});
    QCOMPARE(t.finished.size(), 1); // for nothing is there to play
    const QByteArray film = randomBytes(1, 100'000);
    t.add("b.avi", film);
    t.add("a.avi", "first");
    t.add("b1.avi", "");
    QVERIFY(QFile::remove(t.path("b1.avi")) && mkfifo(qPrintable(t.path("b1.avi")), 0600) == 0);
    t.start("");
    t.add("c.avi", "!"); // new
    t.add("0.avi", "new, but its turn is over");
    t.add("d.avi.001", ""); // this one and the next lead to each other
    t.add("d.avi", "");
    QVERIFY(QFile::remove(t.path("d.avi.001")));
    QTcpSocket other;
    other.connectToHost("127.0.0.1", t.player.client.peerPort());
    QVERIFY(!other.waitForConnected());
    for (const QByteArray piece :
         {"HEAD /marlowick\n", "GET /x\n", "GET /marlow", "ick/../../x\n"}) {
        const QSignalSpy arrival(t.socket(), &QTcpSocket::readyRead);
        QCOMPARE(t.player.film(), "");
        t.player.client.write(piece);
        QTRY_VERIFY(!arrival.isEmpty());
    }
    QTRY_VERIFY(t.player.hasEnded());
    QVERIFY(t.player.film() == "first" + film + "!");
});

const Case joined("pieces are joined meanwhile", [] {
    World t;
    constexpr qsizetype size = 1'000'000;
    const QByteArray film = randomBytes(1, 3 * size);
    const QStringList pieces{"film.avi.001", "film.avi.002", "film.avi.003"};
    for (int i = 0; i < 3; ++i)
        t.add(pieces[i], film.sliced(i * size, size));
    t.start();
    t.receive(size + 100'000); // up to the midst of the second
    writeFile(t.path("film.avi"), film);
    for (const QString &piece : pieces)
        QFile::remove(t.path(piece));
    // The first piece is not counted, so that the third begins one piece too early.
    QTRY_COMPARE(t.player.film().size(), 4 * size);
    QVERIFY(t.player.film() == film.first(2 * size) + film.sliced(size) && !t.player.hasEnded());
});

const struct Event {
    const char *name;
    void (*happens)(World &t);
} events[] = {
    {"job goes", [](World &t) { t.nzb.reset(); }},
    {"film shrinks", [](World &t) { QFile::resize(t.path("a.avi"), 1000); }},
    {"link out of the folder", [](World &t) { QFile::link(t.player.program, t.path("b.avi")); }},
};
const Case lasts("it lasts until the player ends", events, [](const Event &row) {
    World t;
    t.add("a.avi", QByteArray(10'000'000, '\0'));
    t.add("b.avi", "x");
    t.start();
    QVERIFY(QFile::remove(t.path("b.avi")));
    t.receive(1'000'000);
    QCOMPARE(t.socket()->bytesToWrite(), 32768);
    t.player.client.write(get); // which is not answered again
    row.happens(t);
    QTRY_COMPARE(t.socket()->bytesToWrite(), 0);
    QCOMPARE(t.player.film().count('\0'), t.player.film().size());
    QVERIFY(t.finished.isEmpty());
    t.player.end();
    QTRY_COMPARE(t.finished.size(), 1);
});

} // namespace
