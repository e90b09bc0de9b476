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

    /// Whether a file of the job has a name that tells nothing, or its archives have names that do
    /// not show what they are or what belongs together.
    [[nodiscard]] bool areObscure() const;
    /// Orders PAR2 files that are held back and may know the names, if the names are obscure and no
    /// PAR2 file that has arrived tells them. False if there is none to order, or after two tries.
    [[nodiscard]] bool orderPar2();
    /// Renames the files for which their content gives better names.
    /// @param isInUse  whether a file of the job must keep its name
    /// @returns whether any file has been renamed
    bool takeTrueNames(const std::function<bool(const NzbFile *)> &isInUse);
    /// Whether takeTrueNames() would rename a file, or orderPar2() order one.
    [[nodiscard]] bool hasWork() const;

    /// Gives a file that has arrived the name that its post has for it, see postedName().
    void takePostedName(NzbFile *file);
    /// Gives the film of the job, unpacked or not, the job's name.
    void takeFilmName();

signals:
    /// The download of a PAR2 file may begin.
    void par2Ordered();
    /// Only for files that the job lists.
    void fileRenamed(NzbFile *file);

private:
    [[nodiscard]] QList<NzbFile *> par2ToOrder() const;
    void forgiveOrdered();
    [[nodiscard]] QList<Renaming> renamings(const QStringList &arrived) const;
    /// Whether a file of the job, or one that has been unpacked from it, has this name.
    [[nodiscard]] bool isTaken(const QString &name) const;
    bool rename(const Renaming &renaming);

    Nzb *nzb;
    QList<QPointer<NzbFile>> ordered; ///< by orderPar2()
    int orders = 0; ///< how often it has ordered any
};
