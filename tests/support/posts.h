// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <quazip/quagzipfile.h>

#include <deque>

#include "support/articles.h"
#include "support/files.h"
#include "support/newsserver.h"

/// One article of a posted file. Change the fields before Post::upload() and Post::writeNzb().
struct PostedSegment {
    QByteArray id; ///< without angle brackets
    QByteArray body; ///< as NewsServer::addArticle() takes it
    bool inNzb = true;
    bool onServer = true;
};

/// One file of a post, cut into articles, which are numbered from 1.
struct PostedFile {
    PostedSegment &segment(int number) { return segments[number - 1]; }
    const QByteArray &id(int number) const { return segments[number - 1].id; }
    int segmentCount() const { return int(segments.size()); }

    QString name;
    QByteArray data;
    QString subject; ///< such as `demo "film.rar" yEnc (1/33)`
    QList<PostedSegment> segments = {};
};

/// A set of files as somebody posts it: articles for a NewsServer, and the NZB that lists them.
/// Message ids are like "demo.1.3@post.test": title, file from 1, part from 1. A file stays valid
/// as long as the post.
class Post final {
public:
    explicit Post(const QString &name = "demo") { title = name; }

    /// @param partSize  decoded bytes of an article
    PostedFile &addYenc(const QString &name, const QByteArray &data, qsizetype partSize = 10'000)
    {
        const qsizetype total = std::max<qsizetype>(1, (data.size() + partSize - 1) / partSize);
        QList<QByteArray> bodies;
        for (qsizetype at = 0; bodies.size() < total; at += partSize)
            bodies << yencArticle(name.toUtf8(), data.size(), int(bodies.size() + 1), int(total),
                                  at + 1, data.mid(at, partSize));
        return add(name, data, " yEnc", bodies);
    }
    /// Each article but the last holds @p lines times 45 bytes.
    PostedFile &addUuencoded(const QString &name, const QByteArray &data, int lines = 200)
    {
        return add(name, data, "", uuencodeArticles(name.toUtf8(), data, lines));
    }
    PostedFile &file(int index) { return files.at(std::size_t(index)); }
    int fileCount() const { return int(files.size()); }

    /// Puts every article on @p server whose onServer is set.
    void upload(NewsServer &server) const
    {
        for (const PostedFile &file : files) {
            for (const PostedSegment &segment : file.segments) {
                if (segment.onServer)
                    server.addArticle(segment.id, segment.body);
            }
        }
    }
    QByteArray nzb() const
    {
        QString xml = "<nzb>\n";
        for (const PostedFile &file : files) {
            xml += "<file subject=\"" + file.subject.toHtmlEscaped() + "\">\n";
            int number = 0;
            for (const auto &[id, body, inNzb, onServer] : file.segments) {
                const QString segment("<segment number='%1' bytes='%2'>%3</segment>\n");
                number += 1;
                xml += inNzb ? segment.arg(number).arg(body.size()).arg(QString(id)) : "";
            }
            xml += "</file>\n";
        }
        return (xml + "</nzb>").toUtf8();
    }
    /// Writes the NZB into @p folder, by the name of the post if none is given. Returns its path.
    template <class File = QFile>
    QString writeNzb(const QString &folder, const QString &fileName = {}) const
    {
        const QString name = fileName.isEmpty() ? QString(title + ".nzb") : fileName;
        return writeFile<File>(folder + '/' + name, nzb());
    }
    /// The same, compressed with gzip.
    QString writeGzipNzb(const QString &folder, const QString &fileName = {}) const
    {
        return writeNzb<QuaGzipFile>(folder, fileName);
    }

private:
    PostedFile &add(const QString &name, const QByteArray &data, const QString &kind,
                    const QList<QByteArray> &bodies)
    {
        const QString subject = QString("%1 \"%2\"%3 (1/").arg(title, name, kind);
        files.push_back({name, data, subject + QString::number(bodies.size()) + ')'});
        QList<PostedSegment> &segments = files.back().segments;
        const QString id = QString("%1.%2.%3@post.test").arg(title).arg(files.size());
        for (const QByteArray &body : bodies)
            segments.append({id.arg(segments.size() + 1).toUtf8(), body});
        return files.back();
    }

    QString title;
    std::deque<PostedFile> files;
};
