// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <deque>
#include <vector>

#include "support/articles.h"

class NewsServer;

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
    [[nodiscard]] PostedSegment &segment(int number) { return segments.at(number - 1u); }
    [[nodiscard]] const QByteArray &id(int number) const { return segments.at(number - 1u).id; }
    [[nodiscard]] int segmentCount() const { return static_cast<int>(segments.size()); }

    QString name;
    QByteArray data;
    QString subject; ///< empty: `demo [1/3] - "film.rar" yEnc (1/33)`
    bool yenc = true;
    std::vector<PostedSegment> segments;
};

/// A set of files as somebody posts it: articles for a NewsServer, and the NZB that lists them.
/// Message ids are like "demo.1.3@post.test": title, file from 1, part from 1.
class Post final {
public:
    explicit Post(const QString &name = QStringLiteral("demo"))
        : title(name)
    {
    }
    Q_DISABLE_COPY_MOVE(Post)

    /// @param partSize  decoded bytes of an article
    /// The file stays valid as long as the post.
    PostedFile &addYenc(const QString &name, const QByteArray &data, qsizetype partSize = 10'000,
                        const YencOptions &options = {});
    /// Each article but the last holds @p linesPerArticle times 45 bytes.
    PostedFile &addUuencoded(const QString &name, const QByteArray &data,
                             int linesPerArticle = 200);

    [[nodiscard]] PostedFile &file(int index) { return files.at(static_cast<std::size_t>(index)); }
    [[nodiscard]] int fileCount() const { return static_cast<int>(files.size()); }

    /// Puts every article on @p server whose onServer is set.
    void upload(NewsServer &server) const;
    [[nodiscard]] QByteArray nzb() const;
    /// Writes the NZB into @p folder. @p fileName is @e title + ".nzb" when it is empty.
    /// @returns the file's path; empty on failure
    [[nodiscard]] QString writeNzb(const QString &folder, const QString &fileName = {}) const;
    /// The same, compressed with gzip.
    [[nodiscard]] QString writeGzipNzb(const QString &folder, const QString &fileName = {}) const;

private:
    PostedFile &add(const QString &name, const QByteArray &data, const QList<QByteArray> &bodies);
    [[nodiscard]] QString subjectOf(std::size_t index) const;
    [[nodiscard]] QString nzbPath(const QString &folder, const QString &fileName) const;

    QString title;
    std::deque<PostedFile> files;
};
