// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

/// Turns the body of one article into bytes on disk. There is one object for each article. Lives on
/// the GUI thread.
class AbstractDecoder : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AbstractDecoder)

public:
    /// @param outputFolder  the job's folder, into which the output goes
    AbstractDecoder(const QString &outputFolder, QObject *parent);

    /// The verdict on the article; meaningful once finish() has been called.
    [[nodiscard]] virtual bool isOk() const { return ok; }
    /// Sanitised name of the output file, relative to the folder; empty until it is known.
    [[nodiscard]] virtual QString filename() const { return filename_; }
    /// The name as the article has it, in whatever encoding; empty if filename() is the same, or
    /// the article has none.
    [[nodiscard]] QByteArray postedName() const { return posted; }
    /// Decoded bytes written for this article.
    [[nodiscard]] virtual quint64 bytes() const { return bytes_; }
    [[nodiscard]] virtual bool isYenc() const { return false; }

    /// Consumes the next block of the article, cut anywhere, and may change it.
    /// @throws std::runtime_error  with a text for the user, such as when the disk is full
    /// @throws std::length_error  when a line exceeds maximalLine
    virtual void decode(QByteArray &data) = 0;
    /// Called once when the article has ended, before the results are read.
    virtual void finish() { }

    /// Removes separators, shell and drive characters, and everything outside printable ASCII. A
    /// name that would be empty or hidden becomes "invalid-name-" and the hexadecimal form of
    /// @p name. The length is not limited.
    [[nodiscard]] static QString sanitizeFilename(const QByteArray &name);

    /// A line from a server that is longer than this many bytes is an error, so that a hostile
    /// server cannot fill the memory. Replies have at most 512 (RFC 3977 3.1), lines of articles
    /// rarely 1000.
    static constexpr qsizetype maximalLine = 1024 * 1024;

protected:
    QString folder;
    QString filename_;
    QByteArray posted;
    quint64 bytes_ = 0;
    bool ok = false;
};
