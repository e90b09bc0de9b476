// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <memory>

#include "engine/marlowick.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "support/files.h"
#include "support/newsserver.h"
#include "support/posts.h"

/// An engine with settings and folders of its own, a server for it, and what it has said.
class EngineFixture {
public:
    explicit EngineFixture(std::unique_ptr<NewsServer> newsServer = std::make_unique<NewsServer>())
        : server(std::move(newsServer))
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
        engine = std::make_unique<Marlowick>(nullptr, std::chrono::milliseconds(200));
        QObject::connect(engine.get(), &Marlowick::notice,
                         [this](int, const QString &msg) { notices << msg; });
        QObject::connect(engine.get(), &Marlowick::error,
                         [this](int, const QString &msg) { errors << msg; });
        QObject::connect(engine.get(), &Marlowick::fileComplete,
                         [this](NzbFile *file) { completedFiles << file->name(); });
        QObject::connect(engine.get(), &Marlowick::nzbComplete,
                         [this](Nzb *nzb) { completedJobs << nzb->name(); });
        set("hostname", QStringLiteral("127.0.0.1"));
        set("port", server->serverPort());
        set("threads", 4);
        set("networkTimeout", 30);
        set("downloadFolder", downloads());
    }

    void set(const char *key, const QVariant &value)
    {
        engine->settings()->setValue(QLatin1StringView(key), value);
    }
    void setLogin(const QByteArray &user, const QByteArray &password)
    {
        set("username", QString::fromLatin1(user));
        set("password", password.toBase64());
    }

    [[nodiscard]] QString downloads() const { return dir.filePath(QStringLiteral("downloads")); }
    [[nodiscard]] QByteArray saved(const QString &path) const
    {
        return contentsOf(downloads() + u'/' + path);
    }

    /// Uploads @p post and imports its NZB.
    Nzb *start(const Post &post)
    {
        post.upload(*server);
        return engine->addNZB(post.writeNzb(dir.path()));
    }
    /// The same, with every article held back by the server.
    Nzb *startHeld(const Post &post)
    {
        post.upload(*server);
        server->holdAll();
        return engine->addNZB(post.writeNzb(dir.path()));
    }
    /// A job of the one file "film.bin" in articles of 1000 bytes, held back by the server.
    Nzb *startHeldFilm(qsizetype size)
    {
        Post post;
        post.addYenc(QStringLiteral("film.bin"), randomBytes(1, size), 1000);
        return startHeld(post);
    }
    [[nodiscard]] static NzbFile *fileOf(const Nzb *nzb, const QString &name)
    {
        for (int i = 0; i < nzb->fileCount(); ++i) {
            if (nzb->fileAt(i)->name() == name)
                return nzb->fileAt(i);
        }
        return nullptr;
    }
    /// The message ids asked for so far, in order.
    [[nodiscard]] QList<QByteArray> requested() const
    {
        QList<QByteArray> ids;
        const QList<QByteArray> commands = server->commands();
        for (const QByteArray &command : commands) {
            if (command.startsWith("BODY <"))
                ids << command.sliced(6).chopped(1);
        }
        return ids;
    }

    QTemporaryDir dir;
    std::unique_ptr<NewsServer> server;
    QStringList notices;
    QStringList errors;
    QStringList completedFiles;
    QStringList completedJobs;
    std::unique_ptr<Marlowick> engine; // goes first, while the lists are still there
};
