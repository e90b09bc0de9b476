// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include "transfer/abstractdecoder.h"

#include <QByteArray>
#include <QByteArrayView>
#include <array>

class QFile;

/// Decodes one uuencoded article into a temporary file of its own, since such an article carries no
/// offset. The file is called like the final one, with ".uu" and six digits of the article's
/// number.
///
/// Neither a file that cannot be written nor a missing "begin" line counts as an error: isOk() is
/// false only after a corrupt line, which ends the decoding.
class UUDecoder final : public AbstractDecoder {
    Q_OBJECT

public:
    /// @param outputFolder  the folder to write into, which must exist
    /// @param name          name of the final file; the one in the article is not used
    /// @param articleNumber number of the article within the file, from 1; only the first one has
    ///                      a "begin" line, which must come as a block of its own
    UUDecoder(const QString &outputFolder, const QString &name, int articleNumber, QObject *parent);

    void decode(QByteArray &data) override;
    void finish() override;

    /// True for the "begin" line of a first article, line end included.
    [[nodiscard]] static bool isBeginLine(const QByteArray &line);

private:
    // Deliberate: keeps its bytes from line to line. Where a line leaves out its last group, the
    // bytes of an earlier line are written once more.
    using Output = std::array<char, 48>;

    void openFile();
    void decodeLine(QByteArrayView line, Output &output);
    void markCorrupt(QByteArrayView line, int count, int expected);

    QByteArray lineBuffer;
    QString tempSuffix;
    int seqnr;
    bool finished = false;
    QFile *file = nullptr;
};
