// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include "transfer/abstractdecoder.h"

#include <QByteArray>
#include <QByteArrayView>

class QFile;

/// Decodes one yEnc article straight into the final file, at the offset its "=ypart" line names.
///
/// The parts of a file may come in any order and over several connections at once: each decoder
/// opens the file anew and writes its own range. A wrong size or checksum leaves isOk() false and
/// the bytes on disk; only failures to write are thrown. A long chunk is processed in pieces, each
/// written as if it had come alone.
class YencDecoder final : public AbstractDecoder {
    Q_OBJECT

public:
    /// @param outputFolder  the folder to write into, which must exist
    YencDecoder(const QString &outputFolder, QObject *parent);

    [[nodiscard]] bool isYenc() const override { return true; }
    void decode(QByteArray &data) override;

private:
    enum class Phase { BeforeBegin = 1, Body, AfterEnd };

    [[nodiscard]] bool continuesOpenLine(const QByteArray &data);
    void keepForNextBlock(QByteArrayView rest);
    void walk(QByteArray &data);
    [[nodiscard]] qsizetype walkBlock(const QByteArray &data, qsizetype at, qsizetype blockEnd);
    [[nodiscard]] qsizetype judgeLineStart(QByteArray &data, qsizetype lf);
    [[nodiscard]] qsizetype handleControlLine(QByteArray &data, qsizetype lf, qsizetype lineEnd);
    [[nodiscard]] bool handleBegin(QByteArrayView line);
    void takeName(const QByteArray &name);
    void handlePart(QByteArrayView line);
    void handleEnd(QByteArrayView line);
    void openFile();
    void closeFile();
    void emptyOutput();
    void writeDecoded();

    QByteArray outputBuffer;
    qsizetype decodedSize = 0; // bytes in outputBuffer that are not yet written
    QByteArray leftover{"\n"}; // the first line counts as following an LF
    Phase phase = Phase::BeforeBegin;
    QFile *file = nullptr;
    quint32 crc = 0xFFFFFFFF;
};
