// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include "engine/enginefixture.h"
#include "player.h"
#include "preview/preview.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

/// Films that the engine is downloading and unpacking, with the real player among others.
class TestWatching final : public QObject {
    Q_OBJECT

private slots:
    void streamsDownload();
    void streamsWhatIsUnpacked();
    void playsBeforeLastVolume();

private:
    /// Starts the job of @p film in stored volumes, of which the last one waits at the server.
    static Nzb *startVolumes(EngineFixture &t, const QString &name, const QByteArray &film);
};

Nzb *TestWatching::startVolumes(EngineFixture &t, const QString &name, const QByteArray &film)
{
    t.set("rarHandling", u"during"_s);
    Post post;
    const QString volumeSize = u"-v%1b"_s.arg(film.size() * 3 / 10);
    const RarVolumes volumes = packWithRar({{name, film}}, {u"-m0"_s, volumeSize});
    for (const auto &[volume, data] : volumes)
        post.addYenc(volume, data, 50'000);
    for (const PostedSegment &segment : post.file(post.fileCount() - 1).segments)
        t.server->hold(segment.id);
    return t.start(post);
}

void TestWatching::streamsDownload()
{
    EngineFixture t;
    Post post;
    const QByteArray film = randomBytes(1, 200'000);
    const PostedFile &posted = post.addYenc(u"film.mkv"_s, film, 50'000);
    t.server->hold(posted.id(2));
    Nzb *nzb = t.start(post);
    QTRY_VERIFY(t.fileOf(nzb, u"film.mkv"_s)->completedBytes() == 150'000);
    Player player(t.dir.path());
    Preview preview(nzb, nullptr);
    preview.start(player.program, {});
    QTRY_VERIFY(player.isThere());
    player.request();
    QTRY_VERIFY(player.hasEnded());
    // What has not arrived reads as zeros.
    QVERIFY(player.film() == film.first(50'000) + QByteArray(50'000, '\0') + film.sliced(100'000));
}

void TestWatching::streamsWhatIsUnpacked()
{
    EngineFixture t;
    const QByteArray film = randomBytes(1, 2'000'000);
    Nzb *nzb = startVolumes(t, u"film.avi"_s, film);
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
}

void TestWatching::playsBeforeLastVolume()
{
    if (QStandardPaths::findExecutable(u"mpv"_s).isEmpty())
        QSKIP("the player mpv is missing");
    EngineFixture t;
    const QString made = t.dir.filePath(u"film.mkv"_s);
    const QString command =
        u"-v error -f lavfi -i testsrc2=size=320x240:rate=25:duration=20"_s + u" -c:v mpeg4"_s;
    if (QProcess::execute(u"ffmpeg"_s, command.split(u' ') << made) != 0)
        QSKIP("the program ffmpeg is missing or cannot make a film");
    Nzb *nzb = startVolumes(t, u"film.mkv"_s, contentsOf(made));
    QTRY_VERIFY(!Preview::previewableFiles(nzb).isEmpty());

    Preview preview(nzb, nullptr);
    bool finished = false;
    connect(&preview, &Preview::previewFinished, this, [&] { finished = true; });
    const QString log = t.dir.filePath(u"mpv.txt"_s);
    // Without the shell its output would go to that of the test.
    const QString script = u"exec >%1 2>&1 mpv --no-config --vo=null --ao=null --untimed "
                           "--term-status-msg='frame ${estimated-frame-number}.' $0"_s;
    preview.start(u"/bin/sh"_s, {u"-c"_s, script.arg(log)});
    const auto frames = [&] {
        const QByteArray text = contentsOf(log);
        const qsizetype last = text.lastIndexOf("frame ");
        return last < 0 ? 0 : text.sliced(last + 6, text.indexOf('.', last) - last - 6).toInt();
    };
    QTRY_VERIFY_WITH_TIMEOUT(frames() > 250, 20'000);
    QVERIFY(frames() < 460 && !finished);
    qInfo("%d frames shown before the last volume", frames());
    t.server->releaseAll();
    QTRY_VERIFY_WITH_TIMEOUT(finished, 20'000);
    QVERIFY2(frames() >= 495,
             qPrintable(QString::number(frames()))); // of 500; it may skip a number
    QVERIFY(contentsOf(log).contains("Exiting... (End of file)"));
}

QTEST_GUILESS_MAIN(TestWatching)
#include "test_watching.moc"
