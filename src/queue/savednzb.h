// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMap>
#include <QStringList>

class QXmlStreamWriter;

/// What the queue file tells of a file of a job. The copy is cheap, since it shares texts and lists
/// of articles with the NzbFile until that changes, and it may be written on another thread.
struct SavedFile {
    quint64 size = 0; ///< in bytes
    quint64 completed = 0; ///< bytes that have arrived
    QString subject;
    QString filename; ///< the present one
    int parts = 0; ///< articles that the subject line announces
    int completedparts = 0; ///< articles that were decoded well
    int place = 0; ///< see NzbFile::place()
    bool paused = false;
    bool yenc = false;
    bool ordered = false; ///< see NzbFile::isOrdered()
    QMap<int, QString> activeSegments; ///< message ids by article number, from 1 on
    QMap<int, QString> pendingSegments; ///< the same

    /// Writes the file's element, with the articles that are still to be fetched.
    void saveXml(QXmlStreamWriter &xml) const;
};

/// What the queue file tells of a job. The copy is as cheap as that of its files.
struct SavedNzb {
    QString name;
    QStringList passwords;
    QList<SavedFile> files;
    QMap<QString, quint64> extractedFiles; ///< sizes in bytes, by name

    /// Writes the job's element, with those of its files.
    void saveXml(QXmlStreamWriter &xml) const;
};
