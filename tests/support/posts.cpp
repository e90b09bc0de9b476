// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/posts.h"

#include <quazip/quagzipfile.h>

#include <QDir>
#include <QFile>

#include "support/newsserver.h"

using namespace Qt::StringLiterals;

namespace {

template <typename File> QString written(File &&file, const QString &path, const QByteArray &text)
{
    const bool ok = file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
    file.close();
    return ok ? path : QString();
}

} // namespace

PostedFile &Post::addYenc(const QString &name, const QByteArray &data, qsizetype partSize,
                          const YencOptions &options)
{
    const int total =
        static_cast<int>(std::max<qsizetype>(1, (data.size() + partSize - 1) / partSize));
    QList<QByteArray> bodies;
    for (int part = 1; part <= total; ++part) {
        const qsizetype offset = (part - 1) * partSize;
        bodies.append(yencArticle(name.toUtf8(), data.size(), part, total, offset + 1,
                                  data.mid(offset, partSize), options));
    }
    return add(name, data, bodies);
}

PostedFile &Post::addUuencoded(const QString &name, const QByteArray &data, int linesPerArticle)
{
    PostedFile &file =
        add(name, data, uuencodeArticles(name.toUtf8(), 0644, data, linesPerArticle));
    file.yenc = false;
    return file;
}

PostedFile &Post::add(const QString &name, const QByteArray &data, const QList<QByteArray> &bodies)
{
    PostedFile file{.name = name, .data = data, .subject = {}, .segments = {}};
    const QString prefix = u"%1.%2."_s.arg(title).arg(files.size() + 1);
    for (const QByteArray &body : bodies) {
        const int number = file.segmentCount() + 1;
        const QByteArray id = (prefix + QString::number(number)).toUtf8() + "@post.test";
        file.segments.push_back({.number = number, .id = id, .body = body});
    }
    files.push_back(std::move(file));
    return files.back();
}

void Post::upload(NewsServer &server) const
{
    for (const PostedFile &file : files) {
        for (const PostedSegment &segment : file.segments) {
            if (segment.onServer)
                server.addArticle(segment.id, segment.body);
        }
    }
}

QString Post::subjectOf(std::size_t index) const
{
    const PostedFile &file = files.at(index);
    if (!file.subject.isEmpty())
        return file.subject;
    return u"%1 [%2/%3] - \"%4\" %5(1/%6)"_s.arg(
        title, QString::number(index + 1), QString::number(files.size()), file.name,
        file.yenc ? u"yEnc "_s : QString(), QString::number(file.segmentCount()));
}

QByteArray Post::nzb() const
{
    QString xml = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                  "<nzb xmlns=\"http://nzb.example/DTD/2003/nzb\">\n"_s;
    for (std::size_t index = 0; index < files.size(); ++index) {
        xml += u"<file poster=\"poster@post.test\" date=\"1200000000\" subject=\"%1\">\n"
               "<groups><group>alt.binaries.test</group></groups>\n<segments>\n"_s.arg(
                   subjectOf(index).toHtmlEscaped());
        for (const PostedSegment &segment : files.at(index).segments) {
            if (segment.inNzb)
                xml += u"<segment bytes=\"%1\" number=\"%2\">%3</segment>\n"_s.arg(
                    QString::number(segment.body.size()), QString::number(segment.number),
                    QString::fromUtf8(segment.id).toHtmlEscaped());
        }
        xml += u"</segments>\n</file>\n"_s;
    }
    return (xml + u"</nzb>\n"_s).toUtf8();
}

QString Post::nzbPath(const QString &folder, const QString &fileName) const
{
    return QDir(folder).filePath(fileName.isEmpty() ? title + u".nzb"_s : fileName);
}

QString Post::writeNzb(const QString &folder, const QString &fileName) const
{
    const QString path = nzbPath(folder, fileName);
    return written(QFile(path), path, nzb());
}

QString Post::writeGzipNzb(const QString &folder, const QString &fileName) const
{
    const QString path = nzbPath(folder, fileName);
    return written(QuaGzipFile(path), path, nzb());
}
