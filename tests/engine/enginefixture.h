// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/case.h"
#include "support/posts.h"
#include "transfer/nntp.h"

/// What a scenario ends with; a row tells the exceptions only.
struct End {
    QString status = QStringLiteral("Finished");
    QStringList damaged = {}; ///< posted files that are other than posted
    QStringList extra = {}; ///< files on disk beyond those posted
    QStringList gone = {}; ///< posted files that are not there
    int jobs = 1; ///< reported as complete
    QStringList errors = {};
};

/// An engine with settings and folders of its own, a server for it, and what it has said.
struct EngineFixture {
    explicit EngineFixture(std::unique_ptr<NewsServer> newsServer = std::make_unique<NewsServer>())
        : server(std::move(newsServer))
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
        engine = std::make_unique<Marlowick>(nullptr, std::chrono::milliseconds(200));
        const auto keep = [this](auto signal, QStringList &list) {
            QObject::connect(engine.get(), signal,
                             [&list](int, const QString &text) { list << text; });
        };
        keep(&Marlowick::notice, notices);
        keep(&Marlowick::error, errors);
        QObject::connect(engine.get(), &Marlowick::fileComplete,
                         [this](NzbFile *file) { completedFiles << file->name(); });
        QObject::connect(engine.get(), &Marlowick::nzbComplete,
                         [this](Nzb *nzb) { completedJobs << nzb->name(); });
        set("hostname", "127.0.0.1");
        set("port", server->serverPort());
        set("threads", 4);
        set("networkTimeout", 30);
        set("downloadFolder", downloads());
    }

    void set(const char *key, const QVariant &value) { engine->settings()->setValue(key, value); }
    void setLogin(const QByteArray &user, const QByteArray &password)
    {
        set("username", QString(user));
        set("password", password.toBase64());
    }
    QString downloads() const { return dir.filePath("downloads"); }
    QByteArray saved(const QString &path) const { return contentsOf(downloads() + '/' + path); }

    /// Uploads the post @p what and imports its NZB.
    Nzb *start(const Post &what)
    {
        what.upload(*server);
        return engine->addNZB(what.writeNzb(dir.path()));
    }
    /// The same, with every article held back by the server.
    Nzb *startHeld(const Post &what)
    {
        what.upload(*server);
        server->holdAll();
        return engine->addNZB(what.writeNzb(dir.path()));
    }
    /// A job of the one file "film.bin" in articles of 1000 bytes, held back by the server.
    Nzb *startHeldFilm(qsizetype size)
    {
        post.addYenc("film.bin", randomBytes(1, size), 1000);
        return job = startHeld(post);
    }
    void run() { job = start(post); }
    /// What every scenario must leave behind, whatever it was about: the files and nothing else, no
    /// connection, no article fetched twice but the @p failed ones, and a queue that loads as it
    /// is.
    void settled(const End &end = {})
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs.size(), end.jobs, 20'000);
        QTRY_COMPARE_WITH_TIMEOUT(job->status(), end.status, 20'000);
        QTRY_COMPARE(engine->connectionCount(), 0);
        QTRY_COMPARE(server->openConnections(), 0);
        QTRY_VERIFY(engine->findChildren<NNTP *>().isEmpty());
        QStringList files = end.extra;
        for (int i = 0; i < post.fileCount(); ++i) {
            const PostedFile &file = post.file(i);
            if (end.gone.contains(file.name))
                continue;
            files << file.name;
            QCOMPARE(contentsOf(job->folder() + '/' + file.name) == file.data,
                     !end.damaged.contains(file.name));
        }
        files.sort();
        QCOMPARE(QDir(job->folder()).entryList(QDir::Files | QDir::Hidden), files);
        for (const QByteArray &id : server->requested())
            QVERIFY2(server->bodyCount(id) <= (failed.contains(id) ? 2 : 1), id.constData());
        QCOMPARE(errors, end.errors);
        engine->saveQueue();
        Marlowick next(nullptr);
        next.loadQueue({});
        QCOMPARE(next.queue()->last()->status(), end.status);
        QVERIFY(!next.hasWork());
    }
    QList<QByteArray> requested() const { return server->requested(); }
    static NzbFile *fileOf(const Nzb *nzb, const QString &name)
    {
        int i = 0;
        while (i < nzb->fileCount() && nzb->fileAt(i)->name() != name)
            ++i;
        return i < nzb->fileCount() ? nzb->fileAt(i) : nullptr;
    }

    QTemporaryDir dir;
    std::unique_ptr<NewsServer> server;
    Post post;
    Nzb *job = nullptr;
    QSet<QByteArray> failed; ///< ids of articles that may have to be fetched twice
    QStringList notices, errors, completedFiles, completedJobs;
    std::unique_ptr<Marlowick> engine; // goes first, while the lists are still there
};
