// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

#pragma once
#include <QDirIterator>
#include <QPointer>
#include <QRegularExpression>
#include <QTest>
#include <QtEndian>

#include <stdexcept>
#include <sys/stat.h>

#include "engine/jobwork.h"
#include "enginefixture.h"
#include "post/par2process.h"
#include "support/programs.h"

/// Only half of each byte is random, so that archives compress it.
inline const QByteArray film = [] {
    QByteArray bytes = randomBytes(1, 100'000);
    std::for_each(bytes.begin(), bytes.end(), [](char &byte) { byte &= 15; });
    return bytes;
}();

inline const QString outside = QDir::tempPath() + "/outside";

/// One job, and what befalls it by a script of words: see below.
struct World : EngineFixture {
    World()
    {
        set("rarHandling", "during"), set("autoPAR2", true), set("pausePAR2", true);
        listen();
    }
    void listen()
    {
        const auto on = [this](auto signal, auto text) {
            QObject::connect(engine.get(), signal,
                             [=, this](const auto &...said) { happened(QString(text(said...))); });
        };
        on(&Marlowick::notice, [](int, const QString &message) { return message; });
        on(&Marlowick::statusChanged, [](const Nzb *nzb) { return nzb->status(); });
        on(&Marlowick::fileComplete, [](const NzbFile *file) { return file->name(); });
        on(&Marlowick::passwordNeeded, [this](auto...) { return ++asked, "password"; });
        on(&Marlowick::nzbComplete,
           [this](Nzb *nzb) { return complete += nzb == job, "complete"; });
    }
    void happened(const QString &event)
    {
        events << event;
        const QString word = hooks.take(event.section(", ", -1));
        if (!word.isEmpty())
            QTimer::singleShot(0, engine.get(), [this, word] { play(word); });
    }
    /// Each word has an argument, and perhaps a number; "key=value" is a setting.
    void play(const QString &script)
    {
        for (const QString &line : script.split("; ")) {
            const QString word = line.section(' ', 0, 0);
            const int number = line.section(' ', -1).toInt();
            if (word.contains('='))
                set(word.section('=', 0, 0).toLatin1().constData(), word.section('=', 1));
            else
                pack(word, line.section(' ', 1, number == 0 ? -1 : -2), number);
            if (QTest::currentTestFailed())
                return;
        }
    }
    /// What is made to be posted.
    void pack(const QString &word, const QString &what, int number)
    {
        if (word == "rar") {
            const QString options = what.isEmpty() ? "-m0,-v40k" : what;
            add(packWithRar({{"film", film}}, options.split(',')));
        } else if (word == "file") {
            add({{what, randomBytes(2, 20'000)}});
        } else if (word == "post") {
            add({{what.section(' ', 1), known.value(what.section(' ', 0, 0))}});
        } else if (word == "film") {
            add({{what, film}});
        } else if (word == "packed") { // a film of that name, in volumes of that size
            add(rar4Set("x", {{what.toUtf8(), film}}, number ? number : film.size()));
        } else if (word == "pieces") {
            for (int i = std::max(number, 1); i <= 3; ++i)
                add({{what + ".00" + QString::number(i), film.mid(40'000 * (i - 1), 40'000)}});
            known.insert(what, film);
        } else if (word == "par2") {
            add(recoveryOf(files, {"-s2000", "-c" + QString::number(number)}));
        } else if (word == "also") { // with PAR2 files of its own
            const RarVolumes one{{what, randomBytes(3, 9000)}};
            add(one);
            for (auto [name, content] : recoveryOf(one, {"-s2000", "-c" + QString::number(number)}))
                add({{what + name.mid(1), content}});
        } else if (word == "huge") { // its name alone would have it skipped
            const Rar4Member claim{"a.txt", "2", 0100644, quint64(1) << 60};
            add(rar4Set("x", {{"first", "1"}, claim, {"last", "3"}}));
        } else if (word == "member") {
            const QByteArray name = what.toUtf8().repeated(std::max(number, 1));
            known.insert(what, "2");
            add(rar4Set("set", {{"first", "1"}, {name, "2"}, {"last", "3"}}));
        } else {
            harm(word, what, number);
        }
    }
    /// What is odd about that.
    void harm(const QString &word, const QString &what, int number)
    {
        const auto segment = [&]() -> PostedSegment & { return posted(what).segment(number); };
        if (word == "short") {
            for (auto &[name, content] : files)
                content.truncate(name == what ? number : content.size());
        } else if (word == "riddle") { // a set, but none of its files
            const QByteArray volume = files.takeLast().second;
            const auto packet = volume.indexOf(QByteArrayView("PAR 2.0\0Main", 12)) - 48;
            const auto length = qFromLittleEndian<qint64>(volume.constData() + packet + 8);
            files.last() = {"x.vol00+9.par2", volume.mid(packet, length)};
        } else if (word == "omit") {
            files.removeIf([&](const auto &file) { return file.first == what; });
        } else if (word == "backwards") {
            std::reverse(files.begin(), files.end());
        } else if (word == "rename") { // to what says nothing
            for (int i = 0; i < 3; ++i)
                files[i].first = QString::number(i);
        } else if (word == "hide") { // until the articles tell the name
            posted(what).subject = what.mid(2, 5) + QString(" yEnc (1/%1)").arg(number);
        } else if (word == "nzb") {
            nzbName = what + ".nzb";
        } else if (word == "meta") {
            head += "<meta type='password'>" + what.toUtf8() + "</meta>";
        } else if (word == "obscure") { // PAR2 files, with extension or not, or the others
            const bool volumes = what == ".par2" || what == "volumes";
            for (int i = 0; i < files.size(); ++i) {
                auto &[name, content] = files[i];
                if (name.endsWith(".par2") == volumes)
                    name = QString("%1q9z%2").arg(7 * i % 41).arg(what == "volumes" ? "" : what);
                known.insert(name, content);
            }
        } else if (word == "lose") {
            segment().onServer = false;
        } else if (word == "spoil") {
            segment().body = yencArticle(what.toUtf8(), 40'960, number, 9, 5000 * (number - 1) + 1,
                                         QByteArray(5000, 'x'));
        } else if (word == "hold") {
            server->hold(posted(what).id(1));
        } else if (word == "refuse") {
            server->script(When::body(segment().id), Reply::code("451 later"));
        } else if (word == "cut") {
            server->script(When::body(segment().id), Reply().cutAfter(2000), 1);
        } else {
            happen(word, what);
        }
    }
    /// What happens to the job.
    void happen(const QString &word, const QString &what)
    {
        if (word == "when")
            hooks.insert(what.section(": ", 0, 0), what.section(": ", 1));
        else if (word == "run")
            run();
        else if (word == "restart")
            restart();
        else if (word == "release")
            server->releaseAll(), engine->startToDownloadQueue();
        else if (word == "pause")
            fileOf(job, what)->setPaused(true);
        else if (word == "close")
            engine->closeAllConnections();
        else if (word == "vanish")
            QDir(job->folder()).removeRecursively();
        else if (word == "link")
            QVERIFY(QFile::link(outside, path(what)));
        else if (word == "socket") // of which the library asks again and again
            QCOMPARE(mknod(QFile::encodeName(path(what)).constData(), S_IFSOCK | 0600, 0), 0);
        else if (word == "mend")
            writeFile(path(what), known.value(what));
        else if (word == "remove")
            engine->deleteItem(fileOf(job, what));
        else if (word == "erase")
            engine->deleteFiles(job), engine->deleteItem(job);
        else if (word == "delete")
            engine->deleteItem(job);
        else if (word == "quit")
            engine.reset();
        else
            decide(word, what);
    }
    /// What the user does.
    void decide(const QString &word, const QString &what)
    {
        if (word == "password") {
            QTRY_COMPARE(asked, 1);
            asked = 0;
            engine->setRarPassword(job, what);
        } else if (word == "anew") {
            QTRY_VERIFY(engine->canRepairAndUnpack(job));
            complete = asked = 0;
            engine->repairAndUnpack(job);
        } else if (word == "look") { // taken for the end of an archive
            QVERIFY(
                QMetaObject::invokeMethod(engine->findChild<JobWork *>(), "rarProcessingComplete"));
        } else if (word == "linger") { // in the pass, until the volume that it asks for is there
            QObject::connect(engine->findChild<Par2Process *>(), &Par2Process::needMoreBlocks,
                             engine.get(), [=, this] { QTRY_VERIFY(events.contains(what)); });
        } else {
            await(word, what);
        }
    }
    void await(const QString &word, const QString &what)
    {
        if (word == "hear")
            QTRY_VERIFY(events.contains(what));
        else if (word == "find")
            QTRY_VERIFY_WITH_TIMEOUT(found().contains(what), 20'000);
        else if (word == "gone")
            QTRY_VERIFY(!QFile::exists(path(what)));
        else if (word == "held")
            QTRY_VERIFY(server->waiting().contains(posted(what).id(1)));
        else if (word == "idle")
            QTRY_VERIFY(!job->hasActiveSegments() && complete == 0);
        else
            QFAIL(qPrintable(word));
    }
    void add(const RarVolumes &more)
    {
        for (const auto &[name, content] : more)
            known.insert(name, content);
        files += more;
    }
    void postFiles()
    {
        for (const auto &[name, content] : std::exchange(files, {}))
            post.addYenc(name, content, 5000);
    }
    /// The file as it is posted, with those added before it.
    PostedFile &posted(const QString &name)
    {
        postFiles();
        for (int i = 0; i < post.fileCount(); ++i) {
            if (post.file(i).name == name)
                return post.file(i);
        }
        throw std::out_of_range(name.toStdString());
    }
    void run()
    {
        postFiles();
        post.upload(*server);
        const QByteArray nzb = "<nzb><head>" + head + "</head>" + post.nzb().sliced(5);
        job = engine->addNZB(writeFile(dir.filePath(nzbName), nzb));
        QVERIFY(!engine->canRepairAndUnpack(job)); // nothing on disk yet
    }
    /// Behind a job that is finished.
    void restart()
    {
        complete = 0;
        engine->saveQueue();
        engine = std::make_unique<Marlowick>(nullptr);
        listen();
        writeFile(dir.filePath("other"), "<qzb><nzb name='other'/></qzb>");
        engine->loadQueue(dir.filePath("other"));
        engine->loadQueue({});
        job = engine->queue()->last();
    }
    [[nodiscard]] QString path(const QString &name) const { return job->folder() + '/' + name; }
    /// What the job says, "..." for words of the library, and what lies in its folder: "+" marks
    /// what has been made there, "?" what is not as it should be. PAR2 files are counted.
    [[nodiscard]] QString found() const
    {
        QString text = job->status().remove(job->folder() + '/') + errors.join(' ') + ':';
        text.replace(QRegularExpression("(Not unpacked: [^:]+: )[A-Z].*:"), "\\1...:");
        const QDir folder(job->folder());
        constexpr auto kinds = QDir::Files | QDir::Hidden | QDir::System;
        QStringList names;
        for (QDirIterator i(folder.path(), kinds, QDirIterator::Subdirectories); i.hasNext();)
            names << folder.relativeFilePath(i.next());
        names.sort();
        for (const QString &name : names) {
            const QByteArray content = contentsOf(folder.filePath(name));
            const bool made = job->extractedFiles().value(name) == quint64(content.size());
            if (!name.endsWith(".par2"))
                text += (made ? " +" : " ") + name
                        + (content == film || content == known.value(name) ? "" : "?");
        }
        const auto volumes = names.filter(".par2").size();
        return volumes == 0 ? text : text + " " + QString::number(volumes) + " par2";
    }
    void ends(const QString &end)
    {
        if (end.endsWith("left")) { // of a job that has been taken away
            QTRY_VERIFY(!job);
            QCOMPARE(QFile::exists(downloads() + "/comic.vol1"), end == "left");
            server->releaseAll();
            QTRY_COMPARE(server->openConnections(), 0);
            return;
        }
        QTRY_COMPARE_WITH_TIMEOUT(found(), end, 20'000);
        QTRY_COMPARE(complete, end.startsWith("Finished") || end.startsWith("Repaired") ? 1 : 0);
        QTRY_COMPARE(server->openConnections(), 0);
        QCOMPARE(found(), end);
        QVERIFY(!QFile::exists(outside) && complete <= 1 && asked == 0 && hooks.isEmpty());
    }

    RarVolumes files; ///< to be posted
    QMap<QString, QByteArray> known{
        {"film", film}, {"first", "1"}, {"last", "3"}, {"made/größe", "x"}};
    Post post{"comic.vol1"};
    QString nzbName = "comic.vol1.nzb";
    QByteArray head; ///< of the NZB
    QPointer<Nzb> job;
    QMap<QString, QString> hooks; ///< what to play when something is heard
    QStringList events;
    int asked = 0; ///< for a password
    int complete = 0;
};

/// Makes a case of each line of @p stories: what it is about | what befalls the job | what is found
/// in the end. p1, p2 and p3 are the volumes of a set; FAILED tells that one of them is damaged,
/// which shows at the film's end. RANDOM is a name that a machine has made up.
/// @param contents  what can be posted, by names to call it by
inline void tell(const char *stories, const QMap<QString, QByteArray> &contents = {})
{
    QString text = QString(stories).replace("\n    ", " ");
    text.replace("FAILED", "Error extracting RAR: p3");
    text.replace("RANDOM", "3f2a9c0b1d4e5f60718293a4b5c6d7e8");
    text.replace(QRegularExpression("\\bp([123])\\b"), "x.part\\1.rar");
    for (const QString &story : text.split('\n', Qt::SkipEmptyParts)) {
        const QStringList fields = story.split(" | ");
        Case(qPrintable(fields.at(0)), [fields, contents] {
            World t;
            t.known.insert(contents);
            t.play(fields.at(1));
            if (!QTest::currentTestFailed())
                t.ends(fields.at(2));
        });
    }
}
