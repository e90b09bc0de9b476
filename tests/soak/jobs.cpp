// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "soak/jobs.h"

#include "support/dvdimage.h"
#include "support/programs.h"

using namespace Qt::StringLiterals;

namespace {

QByteArray bytes(QRandomGenerator &random, int least, int most)
{
    return randomBytes(random.generate(), random.bounded(least, most));
}

void postFile(Job &job, const QString &name, const QByteArray &data, int partSize = 4'000)
{
    job.posted.insert(nameOnDisk(name), data);
    job.post->addYenc(name, data, partSize);
}

void postFiles(Job &job, const RarVolumes &files)
{
    for (const auto &[name, data] : files)
        postFile(job, name, data);
}

void makePlain(Job &job, QRandomGenerator &random)
{
    job.film = bytes(random, 100'000, 600'000);
    postFile(job, u"film.avi"_s, job.film);
    postFile(job, u"h\u00f6ren \u4e2d.txt"_s, bytes(random, 1, 3'000));
    postFile(job, u"one.dat"_s, bytes(random, 4'001, 9'000), 1'000);
}

/// Whole lines: the last byte of a line of 3k + 1 bytes does not survive decoding.
void makeUuencoded(Job &job, QRandomGenerator &random)
{
    for (const int articles : {random.bounded(2, 90), 1}) {
        const QString name = u"text%1.nfo"_s.arg(articles);
        job.posted.insert(name, randomBytes(random.generate(), 45 * 60 * articles));
        job.post->addUuencoded(name, job.posted.value(name), 60);
    }
}

void makeRar5(Job &job, QRandomGenerator &random)
{
    job.encrypted = random.bounded(3) == 0;
    job.film = bytes(random, 200'000, 900'000);
    job.unpacked = {{u"film.avi"_s, job.film}, {u"cover.jpg"_s, bytes(random, 10, 5'000)}};
    QStringList options{u"-m0"_s, u"-v%1k"_s.arg(random.bounded(60, 200))};
    if (job.encrypted)
        options << (random.bounded(2) ? u"-psecret"_s : u"-hpsecret"_s);
    postFiles(job, packWithRar(job.unpacked, options));
}

void makeRar4(Job &job, QRandomGenerator &random)
{
    job.film = bytes(random, 200'000, 600'000);
    job.unpacked = {{u"film.avi"_s, job.film}};
    postFiles(job, rar4Set(u"old"_s, {{.name = "film.avi", .data = job.film}},
                           random.bounded(50'000, 150'000)));
}

void makeSplit(Job &job, QRandomGenerator &random)
{
    const QByteArray film = bytes(random, 100'000, 500'000);
    const int size = random.bounded(40'000, 90'000);
    for (int from = 0, number = 1; from < film.size(); from += size, ++number)
        postFile(job, u"film.avi.%1"_s.arg(number, 3, 10, QLatin1Char('0')), film.mid(from, size));
    job.unpacked = {{u"film.avi"_s, film}};
}

void makeRecoverable(Job &job, QRandomGenerator &random)
{
    RarVolumes files;
    if (random.bounded(2)) {
        job.film = bytes(random, 100'000, 400'000);
        job.unpacked = {{u"film.avi"_s, job.film}};
        files = packWithRar(job.unpacked, {u"-m0"_s, u"-v80k"_s});
    } else {
        for (int i = 0; i < 3; ++i)
            files.append({u"data%1.dat"_s.arg(i), bytes(random, 20'000, 90'000)});
    }
    job.repairable = random.bounded(4) > 0;
    postFiles(job, files);
    postFiles(job, recoveryOf(files, {u"-s4000"_s, job.repairable ? u"-c20"_s : u"-c2"_s}));
}

/// Large only when it is unpacked: a title below 25 MiB is not taken for a film.
void makeDvd(Job &job, QRandomGenerator &random)
{
    constexpr int titleSize = 26 * 1024 * 1024;
    constexpr int titleSector = 20;
    const QByteArray head =
        QByteArray(scannedFrom, '\0') + dvdRecord("VTS_01_1.VOB;1", titleSector, titleSize);
    job.film = randomBytes(random.generate(), 26 * 1024).repeated(1024);
    job.unpacked = {{u"dvd.iso"_s, head.leftJustified(titleSector * 2048, '\0') + job.film}};
    postFiles(job, packWithRar(job.unpacked, {u"-m1"_s, u"-v50k"_s}));
}

enum class Damage { Missing, Flipped, Shortened, WrongCrc };

/// The header lines and the trailer stay as they are, but for the checksum.
void damage(PostedSegment &segment, Damage how)
{
    const qsizetype middle = segment.body.size() / 2;
    char &checksumEnd = segment.body.data()[segment.body.size() - 3];
    switch (how) {
    case Damage::Missing:
        segment.onServer = false;
        break;
    case Damage::Flipped:
        segment.body[middle] = segment.body.at(middle) == 'A' ? 'B' : 'A';
        break;
    case Damage::Shortened:
        segment.body.remove(middle, 50);
        break;
    case Damage::WrongCrc:
        checksumEnd = checksumEnd == '0' ? '1' : '0';
    }
}

/// Nobody notices a flipped byte in uuencode. PAR2 files are left alone, and so are small articles,
/// of which the middle may be in a header line.
void damageSome(Job &job, QRandomGenerator &random)
{
    int left = random.bounded(1, 4);
    if (job.kind == "par2"_L1 && !job.repairable)
        left = 12;
    QSet<QByteArray> damagedIds;
    for (int tries = 0; left > 0 && tries < 200; ++tries) {
        PostedFile &file = job.post->file(random.bounded(job.post->fileCount()));
        const int number = random.bounded(file.segmentCount()) + 1;
        PostedSegment &segment = file.segment(number);
        if (isRecovery(file.name) || segment.body.size() < 1'000 || damagedIds.contains(segment.id))
            continue;
        damagedIds.insert(segment.id);
        const auto how = static_cast<Damage>(file.yenc ? random.bounded(4) : 0);
        damage(segment, how);
        const QString name = nameOnDisk(file.name);
        if (how != Damage::WrongCrc)
            job.undetected.remove(name);
        else if (!job.damaged.contains(name))
            job.undetected.insert(name);
        job.damaged.insert(name);
        --left;
    }
}

std::unique_ptr<Job> emptyJob(const QString &kind, int number)
{
    auto job = std::make_unique<Job>();
    job->kind = kind;
    job->name = u"%1 %2 \u00e9\u4e2d"_s.arg(kind).arg(number);
    job->post = std::make_unique<Post>(u"%1-%2"_s.arg(kind).arg(number));
    return job;
}

} // namespace

QString nameOnDisk(QString posted)
{
    return posted.removeIf([](QChar c) { return c > u'~'; });
}

/// What a job that goes on unpacks or repairs may take a file away or bring it back.
void Job::noteDeleted(const QStringList &names, bool onDisk)
{
    const bool whole = names.first().isEmpty();
    if (!whole && (!unpacked.isEmpty() || kind == "par2"_L1))
        return;
    QSet<QString> &deletions = onDisk ? gone : kept;
    for (const QString &file : names.sliced(1))
        deletions.insert(nameOnDisk(file));
    if (whole && onDisk) {
        const QStringList files = unpacked.keys();
        deletions.unite({files.cbegin(), files.cend()});
    }
}

std::unique_ptr<Job> makeJob(int number, QRandomGenerator &random)
{
    static constexpr struct {
        QLatin1StringView name;
        void (*make)(Job &, QRandomGenerator &);
        int damagedPercent;
    } kinds[] = {
        {"yenc"_L1, makePlain, 50},       {"uu"_L1, makeUuencoded, 50},
        {"rar5"_L1, makeRar5, 25},        {"rar4"_L1, makeRar4, 25},
        {"split"_L1, makeSplit, 25},      {"dvd"_L1, makeDvd, 10},
        {"par2"_L1, makeRecoverable, 80}, {"par2"_L1, makeRecoverable, 80},
    };
    const auto &kind = kinds[random.bounded(static_cast<int>(std::size(kinds)))];
    auto job = emptyJob(kind.name, number);
    kind.make(*job, random);
    if (random.bounded(100) < kind.damagedPercent)
        damageSome(*job, random);
    return job;
}

std::unique_ptr<Job> makeJobWithGaps(int number, QRandomGenerator &random)
{
    constexpr int size = 600;
    constexpr int articles = 60;
    auto job = emptyJob(u"gaps"_s, number);
    const QString name = u"gaps.dat"_s;
    postFile(*job, name, bytes(random, size * articles, size * articles + 1), size);
    for (int gap = 2; gap < articles; gap += 3)
        job->post->file(0).segment(gap).onServer = false;
    job->damaged = {name};
    return job;
}
