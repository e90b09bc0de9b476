// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMap>
#include <QStringList>

class QXmlStreamWriter;

/// What the queue file tells of a file of a job. A copy made in no time, as it shares texts and
/// articles with the file until that changes; so it may be written on another thread.
struct SavedFile {
    quint64 size;
    quint64 completed;
    QString subject;
    QString filename;
    int parts;
    int completedparts;
    int place;
    bool paused;
    bool yenc;
    bool ordered;
    QMap<int, QString> activeSegments;
    QMap<int, QString> pendingSegments;

    /// Writes the element, which lists what is still to be fetched.
    void saveXml(QXmlStreamWriter &xml) const;
};

/// The same of a job.
struct SavedNzb {
    QString name;
    QStringList passwords;
    QList<SavedFile> files;
    QMap<QString, quint64> extractedFiles;

    void saveXml(QXmlStreamWriter &xml) const;
};
