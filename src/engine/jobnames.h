// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class Nzb;
class NzbFile;
struct Renaming;

/// Gives the files of one job the names that they should have, on disk and in the queue, never over
/// another file and never outside the job's folder. Each renaming is logged with its reason. A job
/// whose names are in order stays as it is. Lives on the GUI thread.
class JobNames final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(JobNames)

public:
    JobNames(Nzb *nzb, QObject *parent);

    /// A file of the job is called something that tells nothing, or the job is an archive whose
    /// names do not tell it.
    [[nodiscard]] bool areObscure() const;
    /// Orders PAR2 files that are held back and may know the names, when the names are obscure and
    /// no other PAR2 file has told them. False when there is none, or it has been tried twice.
    [[nodiscard]] bool orderPar2();
    /// Renames what the content of the files gives better names for.
    /// @param isInUse  tells of files that must keep their names
    /// @returns whether any file has been renamed
    bool takeTrueNames(const std::function<bool(const NzbFile *)> &isInUse);
    /// takeTrueNames() would rename a file, or orderPar2() order one.
    [[nodiscard]] bool hasWork() const;

    /// Gives a file that has arrived the name that its post has in another script than ASCII.
    void takePostedName(NzbFile *file);
    /// Gives the film of the job, unpacked or not, the job's name.
    void takeFilmName();

signals:
    /// The download of a PAR2 file may begin.
    void par2Ordered();
    void fileRenamed(NzbFile *file);

private:
    [[nodiscard]] QList<NzbFile *> par2ToOrder() const;
    void forgiveOrdered();
    [[nodiscard]] QList<Renaming> renamings(const QStringList &arrived) const;
    /// A file of the job has this name, or one that has been unpacked.
    [[nodiscard]] bool isTaken(const QString &name) const;
    bool rename(const Renaming &renaming);

    Nzb *nzb;
    QList<QPointer<NzbFile>> ordered;
    int orders = 0;
};
