// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the user waits for: from the first article to the whole film, which is unpacked while it
// arrives over TLS in a stored RAR set of 1 GB. Beside it the least that receiving those articles
// takes, and `unrar x` of the finished set. All files are in /dev/shm.
//
//     bench_film [rounds] [connections]
#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

#include "measurement.h"
#include "support/articles.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int volumes = 20;
constexpr int articlesPerVolume = 66;
constexpr qint64 volumeSize = articlesPerVolume * DownloadJob::articleSize;
// Fills them, headers included, so that the last one has as many articles as the others.
constexpr qint64 filmSize = volumes * volumeSize - 20'000;

void shell(const QString &command)
{
    if (QProcess::execute(u"sh"_s, {u"-ec"_s, command}) != 0)
        qFatal("Failed: %s", qPrintable(command));
}

/// Appends the articles of a volume to @p articles. @returns their message ids
QByteArray post(const QString &folder, int number, QFile &articles)
{
    const QByteArray name = DownloadJob::volumeName(number);
    QFile volume(folder + u'/' + QString::fromLatin1(name));
    if (!volume.open(QIODevice::ReadOnly) || volume.size() <= volumeSize - DownloadJob::articleSize)
        qFatal("%s has the wrong size", name.constData());
    QByteArray ids;
    for (int part = 1; part <= articlesPerVolume; ++part) {
        const qint64 begin = volume.pos() + 1;
        const QByteArray article = yencArticle(name, volume.size(), part, articlesPerVolume, begin,
                                               volume.read(DownloadJob::articleSize))
                                   + ".\r\n";
        ids += QByteArray::number(articles.pos()) + '.' + QByteArray::number(article.size())
               + "@bench\n";
        articles.write(article);
    }
    return ids;
}

/// Makes the film, its volumes, and their articles in the file "articles".
void makeSet(const QString &folder)
{
    shell(u"cd %1; head -c %2 /dev/urandom >film.mkv; rar a -inul -m0 -v%3b film.rar film.mkv"_s
              .arg(folder)
              .arg(filmSize)
              .arg(volumeSize));
    QFile articles(folder + u"/articles"_s);
    QFile ids(folder + u"/articles.ids"_s);
    if (!articles.open(QIODevice::WriteOnly) || !ids.open(QIODevice::WriteOnly))
        qFatal("The articles cannot be written");
    for (int number = 0; number < volumes; ++number)
        ids.write(post(folder, number, articles));
}

QList<double> measure(const QString &client, const DownloadJob &job)
{
    DownloadJob post = job;
    post.articlesPerFile = articlesPerVolume;
    if (client == "bare"_L1)
        return {downloadBare(post).seconds};
    const DownloadCost cost = downloadSet(post);
    shell(u"cd %1/post; cmp film.mkv %2/film.mkv; test \"$(ls)\" = film.mkv"_s.arg(
        job.folder, qEnvironmentVariable("FILM_SET")));
    return {cost.seconds, cost.processorSeconds};
}

QList<double> unrar(const QString &folder)
{
    shell(u"rm -rf %1/out; mkdir %1/out"_s.arg(folder));
    CostMeter meter;
    shell(u"exec unrar x -inul %1/film.part01.rar %1/out/"_s.arg(folder));
    const double seconds = meter.cost().seconds;
    shell(u"rm -rf %1/out"_s.arg(folder));
    return {seconds};
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (isClient())
        return runClient(measure);

    const QStringList arguments = QCoreApplication::arguments();
    const int rounds = std::max(1, arguments.value(1, u"5"_s).toInt());
    const QTemporaryDir folder(u"/dev/shm/marlowick-bench-XXXXXX"_s);
    makeSet(folder.path());
    qputenv("FILM_SET", folder.path().toLocal8Bit());
    const Line line{.ssl = true,
                    .connections = arguments.value(2, u"4"_s).toInt(),
                    .set = folder.filePath(u"articles"_s)};
    const Measurements measurements;
    QList<QList<double>> results;
    for (int round = 0; round < rounds; ++round) {
        const qint64 articles = volumes * articlesPerVolume;
        results.append(measurements.run(u"bare"_s, line, articles)
                       + measurements.run(u"engine"_s, line, articles) + unrar(folder.path()));
    }
    const double rival = std::max(medianOf(results, 0), medianOf(results, 3));
    std::printf("1 GB over TLS, %d connections, median of %d: bare %.2f s, unrar x %.2f s, first "
                "article to film %.2f s (processor %.2f s) = %.2f times the longer one\n",
                line.connections, rounds, medianOf(results, 0), medianOf(results, 3),
                medianOf(results, 1), medianOf(results, 2), medianOf(results, 1) / rival);
    return 0;
}
