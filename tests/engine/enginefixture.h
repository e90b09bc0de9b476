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
    QString status = "Finished";
    QStringList damaged = {}; ///< posted files that are other than posted, or not there
    QStringList files = {}; ///< on disk, where they are not those posted
    int jobs = 1; ///< reported as complete
};

/// An engine with settings and folders of its own, a server for it, and what it has said.
struct EngineFixture {
    explicit EngineFixture(std::unique_ptr<NewsServer> newsServer = std::make_unique<NewsServer>())
        : server(std::move(newsServer))
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
        engine = std::make_unique<Marlowick>(nullptr, std::chrono::milliseconds(200));
        const auto keep = [this](auto signal, auto receiver) {
            QObject::connect(engine.get(), signal, engine.get(), receiver);
        };
        keep(&Marlowick::notice, [this](int, const QString &text) { notices << text; });
        keep(&Marlowick::error, [this](int, const QString &text) { errors << text; });
        keep(&Marlowick::fileComplete, [this](NzbFile *file) { completedFiles << file->name(); });
        keep(&Marlowick::nzbComplete, [this](Nzb *nzb) { completedJobs << nzb->name(); });
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
    const QByteArrayList &requested() const { return server->requested(); }

    /// Uploads the post @p what and imports its NZB. @p held  whether the server holds all back
    Nzb *start(const Post &what, bool held = false)
    {
        what.upload(*server);
        if (held)
            server->holdAll();
        return engine->addNZB(what.writeNzb(dir.path()));
    }
    /// A job of the one file "film.bin" in articles of 1000 bytes, held back by the server.
    Nzb *startHeldFilm(qsizetype size)
    {
        post.addYenc("film.bin", randomBytes(1, size), 1000);
        return job = start(post, true);
    }
    void run() { job = start(post); }
    /// What every scenario must leave behind, whatever it was about: the files and nothing else, no
    /// connection, no article fetched twice but the @p failed ones, and a queue that loads alike.
    void settled(const End &end = {})
    {
        QTRY_COMPARE_WITH_TIMEOUT(completedJobs.size(), end.jobs, 20'000);
        QTRY_COMPARE_WITH_TIMEOUT(job->status(), end.status, 20'000);
        QTRY_VERIFY(engine->connectionCount() + server->openConnections() == 0);
        QTRY_VERIFY(engine->findChildren<NNTP *>().isEmpty());
        QStringList posted;
        for (int i = 0; i < post.fileCount(); ++i) {
            const auto &[name, data, subject, segments] = post.file(i);
            posted << name;
            QCOMPARE(saved(job->name() + '/' + name) == data, !end.damaged.contains(name));
        }
        posted.sort();
        QCOMPARE(QDir(job->folder()).entryList(QDir::Files | QDir::Hidden),
                 end.files.isEmpty() ? posted : end.files);
        for (const QByteArray &id : requested())
            QVERIFY2(requested().count(id) <= 1 + failed.count(id), id.constData());
        QCOMPARE(errors, QStringList());
        engine->saveQueue();
        Marlowick next(nullptr);
        next.loadQueue({});
        QCOMPARE(next.queue()->last()->status(), end.status);
        QVERIFY(!next.hasWork());
    }
    static NzbFile *fileOf(const Nzb *nzb, const QString &name)
    {
        NzbFile *found = nullptr;
        for (int i = 0; i < nzb->fileCount(); ++i)
            found = nzb->fileAt(i)->name() == name ? nzb->fileAt(i) : found;
        return found;
    }

    QTemporaryDir dir;
    std::unique_ptr<NewsServer> server;
    Post post;
    Nzb *job = nullptr;
    QByteArrayList failed; ///< ids of articles that may be fetched once more
    QStringList notices, errors, completedFiles, completedJobs;
    std::unique_ptr<Marlowick> engine; // goes first, while the lists are still there
};
