// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "soak/judge.h"

#include <algorithm>
#include <utility>

#include "support/files.h"

using namespace Qt::StringLiterals;

namespace {

class Judge final {
public:
    Judge(const Job &job, const QJsonObject &row, const Circumstances &now)
        : job(job)
        , row(row)
        , now(now)
        , repaired(now.autoPar2 && job.repairable && job.damaged != job.undetected)
        , sound(job.damaged.isEmpty() || repaired)
    {
    }

    [[nodiscard]] QStringList strictly()
    {
        if (row.isEmpty() && !sound && now.autoPar2)
            complain(u"was cleared with damage"_s);
        const bool unpacks = !job.unpacked.isEmpty() && now.rarHandling != "disabled"_L1;
        if (sound && unpacks)
            demandWhole(job.unpacked, {});
        else
            demandWhole(job.posted, sound ? QSet<QString>() : job.damaged);
        if (!row.isEmpty())
            checkRow();
        return complaints;
    }

    [[nodiscard]] QStringList loosely(const QSet<QString> &others)
    {
        demandWhole(job.posted, others);
        if (job.unpacked.isEmpty() || complaints.isEmpty())
            return complaints;
        const QStringList posted = complaints;
        complaints.clear();
        demandWhole(job.unpacked, {});
        return complaints.isEmpty() ? complaints : posted;
    }

    [[nodiscard]] QStringList demandRow()
    {
        if (row.isEmpty() && !now.cleared)
            complain(u"has vanished"_s);
        return std::exchange(complaints, {});
    }

    [[nodiscard]] QStringList demandGone(const QSet<QString> &names)
    {
        for (const QString &name : names) {
            if (QFile::exists(pathOf(name)))
                complain(name + " is there, deleted as it was"_L1);
        }
        return complaints;
    }

private:
    [[nodiscard]] QString pathOf(const QString &name) const
    {
        return now.downloads + u'/' + job.name + u'/' + name;
    }

    void complain(const QString &what) { complaints << job.name + ": "_L1 + what; }

    void demandWhole(const Files &files, const QSet<QString> &others)
    {
        for (auto file = files.cbegin(); file != files.cend(); ++file) {
            if (!isRecovery(file.key()) && !others.contains(file.key())
                && contentsOf(pathOf(file.key())) != *file)
                complain(file.key() + " is not whole"_L1);
        }
    }

    void checkRow()
    {
        const QJsonObject files = row["files"_L1].toObject();
        for (auto file = files.begin(); file != files.end(); ++file) {
            const QString name = nameOnDisk(file.key());
            const bool booked = job.damaged.contains(name) && !repaired;
            if (!isRecovery(name))
                expect(name, file.value().toString(),
                       booked ? u"Finished incomplete"_s : u"Finished"_s);
        }
        const QString status = row["status"_L1].toString();
        if (status.endsWith(u'%') && !now.autoPar2 && lacksArticles())
            return;
        expect(u"the job"_s, status, wantedStatus());
    }

    /// A file that ends with a missing article is finished, and yet its bytes do not add up.
    [[nodiscard]] bool lacksArticles() const
    {
        for (int i = 0; i < job.post->fileCount(); ++i) {
            const auto &segments = job.post->file(i).segments;
            if (std::any_of(segments.cbegin(), segments.cend(),
                            [](const PostedSegment &each) { return !each.onServer; }))
                return true;
        }
        return false;
    }

    [[nodiscard]] QString wantedStatus() const
    {
        if (job.damaged.isEmpty())
            return u"Finished"_s;
        if (!now.autoPar2)
            return u"Finished incomplete"_s;
        return repaired ? u"Repaired"_s : u"Damaged beyond repair"_s;
    }

    void expect(const QString &of, const QString &status, const QString &wanted)
    {
        if (status != wanted)
            complain(of + " is '"_L1 + status + "', not '"_L1 + wanted + u'\'');
    }

    const Job &job;
    const QJsonObject &row;
    const Circumstances &now;
    const bool repaired;
    const bool sound;
    QStringList complaints;
};

} // namespace

QStringList judge(const Job &job, const QJsonObject &row, const Circumstances &now, bool unfinished)
{
    // Of a series without its end what is left is joined.
    const bool cutShort = job.kind == "split"_L1 && !job.deletedFiles.isEmpty();
    const bool lost = now.killed && row.isEmpty() && !job.saved; // in no queue file
    if (job.deleted || job.demand == Job::Demand::Nothing || cutShort || lost)
        return {};
    Judge judge(job, row, now);
    const bool mayBeLocked = job.encrypted && now.passwordDeclined; // the box names no job
    const bool loose = mayBeLocked || job.demand == Job::Demand::Whole
                       || !job.deletedFiles.isEmpty() || (unfinished && !job.damaged.isEmpty());
    return judge.demandRow()
           + (loose ? judge.loosely(job.damaged + job.deletedFiles) : judge.strictly());
}

/// The pieces of a series go when they are joined, whatever comes of it.
QStringList judgeDeleted(const Job &job, const Circumstances &now)
{
    if (job.demand != Job::Demand::All)
        return {};
    const bool cutShort =
        job.kind == "split"_L1 && !(job.damaged.isEmpty() && job.deletedFiles.isEmpty());
    const QStringList names = job.posted.keys();
    const QSet<QString> notKept = QSet<QString>(names.cbegin(), names.cend()) - job.kept;
    const QJsonObject row;
    const QStringList lost = cutShort || job.kept.isEmpty()
                                 ? QStringList()
                                 : Judge(job, row, now).loosely(notKept + job.damaged);
    return lost + Judge(job, row, now).demandGone(job.gone);
}

bool shows(const QByteArray &stream, const QByteArray &film)
{
    return stream.size() <= film.size()
           && std::equal(stream.cbegin(), stream.cend(), film.cbegin(),
                         [](char got, char posted) { return got == posted || got == '\0'; });
}
