// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <map>
#include <memory>

class JobWork;
class Nzb;
class NzbFile;
class Queue;
class Settings;

/// Everything that follows when files and jobs have arrived. For each job with such work it has a
/// JobWork, which decides for that job. Lives on the GUI thread.
class PostProcessor final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PostProcessor)

public:
    /// @param queue,settings  must outlive the object
    PostProcessor(Queue &queue, const Settings &settings, QObject *parent = nullptr);
    /// Blocks until no archive is being unpacked and no file is being joined.
    ~PostProcessor() override;

    /// True while a repair, an extraction or a join is under way.
    [[nodiscard]] bool isBusy() const;
    /// True when the job has something on disk and no article under way.
    [[nodiscard]] bool canRepairAndUnpack(const Nzb *nzb) const;
    /// Repeats the post-processing of a job with the files on disk. No effect unless
    /// canRepairAndUnpack().
    void repairAndUnpack(Nzb *nzb);
    void setRarPassword(Nzb *nzb, const QString &password);
    /// Blocks until nothing writes in the job's folder any more, and the job knows all its files.
    /// @param atOnce  even within an archive
    void endProcessing(Nzb *nzb, bool atOnce = false);
    /// Resumes jobs that were read from the queue file, one after another.
    void resumeLater(const QList<Nzb *> &jobs);

public slots:
    /// The last article of @p nzbfile has been decoded, under the name @p filename.
    void finishFile(NzbFile *nzbfile, const QString &filename);
    /// The last article that @p nzbfile has waited for is not on the server. Deliberate: the job is
    /// processed only if the file is a PAR2 file that was to tell names. Any other job fails here
    /// if it waits for nothing else.
    void noteMissing(NzbFile *nzbfile);
    void splitCombinerError(Nzb *nzb, const QString &file, const QString &error);
    /// For a box. @p needed is in bytes.
    void rarLowDiskspace(quint64 needed);
    void archiveLowDiskspace(quint64 needed);

signals:
    void error(int code, QString msg);
    void notice(int code, QString msg);
    void fileComplete(NzbFile *file);
    void nzbComplete(Nzb *nzb);
    void nzbFailed(Nzb *nzb, QString reason);
    /// The job has another status text, and nothing else has changed.
    void statusChanged(Nzb *nzb);
    /// Files have got other names, which the queue file does not know yet.
    void filesRenamed();
    /// The file has got another name.
    void downloadProgresses(NzbFile *file);
    void passwordNeeded(Nzb *nzb, QString rarfile);
    /// The download of a PAR2 file may begin.
    void volumeOrdered();

private:
    [[nodiscard]] JobWork &workOf(Nzb *nzb);
    void joinParts(const NzbFile *nzbfile) const;
    void processLater(Nzb *nzb);
    void resumeNext();

    Queue &queue;
    const Settings &settings;
    std::map<const Nzb *, std::unique_ptr<JobWork>> work;
    QList<QPointer<Nzb>> toResume; ///< jobs that were read from the queue file
    QPointer<Nzb> resumed; ///< the one that is being processed
    QTimer resumeTimer;
};
