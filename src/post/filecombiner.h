// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <QThread>

class Nzb;
class QFile;
class QIODevice;

/// Joins a numbered series of files into one and deletes the pieces.
///
/// The output is named after the first piece, without its last extension. Use one object for each
/// series: fill it with addFile(), then call either startProcessing(), which reports through queued
/// signals, or run(), which works on the calling thread. A join cannot be cancelled.
class FileCombiner final : public QThread {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileCombiner)
    Q_MOC_INCLUDE("queue/nzb.h") // a queued signal needs the whole type

public:
    /// @param job  handed back in the signals, never looked into; may be null
    FileCombiner(Nzb *job, QObject *parent);
    ~FileCombiner() override { finish(); }

    /// @param path  full path of a piece
    void addFile(const QString &path) { parts << path; }
    /// True unless the first piece is number 1 and the number of the last one is the count of
    /// pieces.
    [[nodiscard]] bool hasGaps();
    void startProcessing() { start(QThread::LowPriority); }
    /// Blocks until the thread has ended, and returns the full path of the output.
    QString finish();
    /// Places pieces at multiples of the first piece's size instead of one after the other.
    void setSparseOutput(bool sparse) { sparseOutput = sparse; }

    void run() override;

signals:
    /// @p file is the full path of the output, empty when there was no piece.
    void processingComplete(Nzb *nzb, QString file);
    /// Nothing is rolled back: pieces already joined are gone, and the unfinished output stays.
    void processingError(Nzb *nzb, QString file, QString error);

private:
    void finishEarlierRun();
    [[nodiscard]] bool join();
    [[nodiscard]] bool takeFirstPart(QFile &output);
    [[nodiscard]] bool moveInto(QFile &output, const QString &part);
    [[nodiscard]] bool appendFile(const QString &source, QIODevice *output);
    void fail(const QString &error);

    bool sparseOutput = false;
    Nzb *nzb = nullptr;
    QString outputName;
    QStringList parts;
    int firstNumber = 0;
    qint64 pieceSize = 0;
};
