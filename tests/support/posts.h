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
    int number = 0; ///< from 1
    QByteArray id; ///< without angle brackets
    QByteArray body; ///< as NewsServer::addArticle() takes it
    bool inNzb = true;
    bool onServer = true;
};

/// One file of a post, cut into articles.
struct PostedFile {
    /// @param number  from 1
    PostedSegment &segment(int number) { return segments[number - 1]; }
    const QByteArray &id(int number) const { return segments.at(number - 1).id; }
    int segmentCount() const { return int(segments.size()); }

    QString name;
    QByteArray data;
    QString subject; ///< such as `demo "film.rar" yEnc (1/33)`
    QList<PostedSegment> segments = {};
};

/// A set of files as somebody posts it: articles for a NewsServer, and the NZB that lists them.
/// Message ids are like "demo.1.3@post.test": title, file from 1, part from 1.
class Post final {
public:
    explicit Post(const QString &name = "demo")
        : title(name)
    {
    }

    /// @param partSize  decoded bytes of an article
    /// The file stays valid as long as the post.
    PostedFile &addYenc(const QString &name, const QByteArray &data, qsizetype partSize = 10'000)
    {
        const int total = int(std::max<qsizetype>(1, (data.size() + partSize - 1) / partSize));
        QList<QByteArray> bodies;
        for (qsizetype at = 0; bodies.size() < total; at += partSize)
            bodies << yencArticle(name.toUtf8(), data.size(), int(bodies.size() + 1), total, at + 1,
                                  data.mid(at, partSize));
        return add(name, data, " yEnc", bodies);
    }
    /// Each article but the last holds @p linesPerArticle times 45 bytes.
    PostedFile &addUuencoded(const QString &name, const QByteArray &data, int linesPerArticle = 200)
    {
        return add(name, data, {}, uuencodeArticles(name.toUtf8(), data, linesPerArticle));
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
        QByteArray xml = "<nzb xmlns=\"http://nzb.example/DTD/2003/nzb\">\n";
        for (const PostedFile &file : files) {
            xml += "<file subject=\"" + file.subject.toHtmlEscaped().toUtf8() + "\"><segments>\n";
            for (const PostedSegment &segment : file.segments) {
                if (segment.inNzb)
                    xml += "<segment bytes=\"" + QByteArray::number(segment.body.size())
                           + "\" number=\"" + QByteArray::number(segment.number) + "\">"
                           + segment.id + "</segment>\n";
            }
            xml += "</segments></file>\n";
        }
        return xml + "</nzb>\n";
    }
    /// Writes the NZB into @p folder. @p fileName is @e title + ".nzb" when it is empty.
    /// @returns the file's path
    QString writeNzb(const QString &folder, const QString &fileName = {}) const
    {
        return writeFile(path(folder, fileName), nzb());
    }
    /// The same, compressed with gzip.
    QString writeGzipNzb(const QString &folder, const QString &fileName = {}) const
    {
        return writeFile<QuaGzipFile>(path(folder, fileName), nzb());
    }

private:
    PostedFile &add(const QString &name, const QByteArray &data, const QString &kind,
                    const QList<QByteArray> &bodies)
    {
        const QString subject("%1 \"%2\"%3 (1/%4)");
        files.push_back(
            {name, data, subject.arg(title, name, kind, QString::number(bodies.size()))});
        PostedFile &file = files.back();
        const QByteArray prefix = title.toUtf8() + '.' + QByteArray::number(files.size()) + '.';
        for (const QByteArray &body : bodies) {
            const int number = file.segmentCount() + 1;
            file.segments.append(
                {number, prefix + QByteArray::number(number) + "@post.test", body});
        }
        return file;
    }
    QString path(const QString &folder, const QString &fileName) const
    {
        return folder + u'/' + (fileName.isEmpty() ? title + ".nzb" : fileName);
    }

    QString title;
    std::deque<PostedFile> files;
};
