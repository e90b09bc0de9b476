// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMap>
#include <QStringList>
#include <QXmlDefaultHandler>

#include <optional>

#include "queue/inzbitem.h"

class NzbFile;
struct SavedNzb;

/// One job of the queue: the files of one .nzb, and the handler that reads them from its XML.
class Nzb final : public INzbItem, public QXmlDefaultHandler {
    Q_OBJECT

public:
    /// @param folder  the download folder, below which the job's own folder lies
    /// @param nzbFile  path of the NZB, plain or gzip-compressed; empty makes an empty job
    /// @throws std::runtime_error  with a text for the user when the NZB cannot be opened, or
    ///     cannot be parsed and held no file before the fault
    Nzb(QObject *parent, const QString &folder, const QString &nzbFile);

    [[nodiscard]] QString name() const override { return name_; }
    [[nodiscard]] quint64 size() const override;
    [[nodiscard]] QString status() const override;
    [[nodiscard]] bool isPaused() const override;
    void setPaused(bool paused) override;

    bool startElement(const QString &namespaceURI, const QString &localName, const QString &qName,
                      const QXmlAttributes &attributes) override;
    bool endElement(const QString &namespaceURI, const QString &localName,
                    const QString &qName) override;
    bool characters(const QString &text) override;

    [[nodiscard]] const QList<NzbFile *> &allFiles() const { return files; }
    [[nodiscard]] int fileCount() const { return static_cast<int>(files.size()); }
    /// @p index must be at least 0 and less than fileCount().
    [[nodiscard]] NzbFile *fileAt(int index) const { return files.at(index); }
    /// -1 for a file that is not, or no longer, in the job.
    [[nodiscard]] int indexOf(NzbFile *file) const { return static_cast<int>(files.indexOf(file)); }
    void moveFile(int from, int to);
    /// @param order  the present row for each new one
    void reorderFiles(const QList<int> &order);

    void setName(const QString &name) { name_ = name; }
    /// Overrides the computed status text; an empty text ends the override.
    void setStatus(const QString &status) { status_ = status; }
    /// The job's own folder.
    [[nodiscard]] QString folder() const;
    /// The folder around it: the download folder that was set when the job was made.
    [[nodiscard]] QString downloadFolder() const { return folder_; }
    /// Files that post-processing made: name relative to folder(), and size in bytes.
    [[nodiscard]] QMap<QString, quint64> &extractedFiles() { return extractedFiles_; }
    void addExtractedFile(const QString &file, quint64 bytesExtracted)
    {
        extractedFiles_.insert(file, bytesExtracted);
    }

    /// What the NZB tells of the passwords of the job's archives, in the order in which they are to
    /// be tried. Neither logged nor shown.
    [[nodiscard]] const QStringList &passwords() const { return passwords_; }

    /// Takes @p file out of the job and deletes it, unless a connection still holds one of its
    /// articles: then it lives on as a child of the job until that article has come back.
    void removeFile(NzbFile *file);
    /// True while a connection holds an article of this job, of a removed file too.
    [[nodiscard]] bool hasActiveSegments() const;
    /// True when the job is damaged. A PAR2 file that is held back does not count, since it may
    /// never be needed.
    [[nodiscard]] bool hasIncompleteFiles() const;
    /// True when nothing is left to fetch: each file is finished or a paused PAR2 file.
    [[nodiscard]] bool isComplete() const;
    /// Sorts by name, with "x.rar" ahead of its old-style volumes "x.r00", "x.s12", "x.001".
    void sortFiles();
    /// For the queue file.
    [[nodiscard]] SavedNzb saved() const;

    /// Cuts one ".nzb" off the end, in any case, and trims white space.
    [[nodiscard]] static QString cleanName(const QString &name);

private:
    void readNzb(const QString &nzbFile);
    void takeName(const QString &nzbFile);
    void addPasswords(const QString &lines);
    void startFile(const QXmlAttributes &attributes);
    void startExtractedFile(const QXmlAttributes &attributes);

    QString name_;
    QString folder_;
    QString status_;
    QList<NzbFile *> files;
    QMap<QString, quint64> extractedFiles_;
    QStringList passwords_;
    std::optional<QString> metaPassword; ///< while its element is read
    int currentSegmentNumber = 0;
    int currentSegmentBytes = 0;
};
