// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <QMap>

#include "preview/dvdtitles.h"

/// The film of a DVD image, read as one stream while the image is still growing.
///
/// It does not walk the image's file system. It reads the dvdTitles() of the first mebibyte in the
/// order of their names. read() hides the inherited one: hold it as an IsoFile.
class IsoFile final : public QFile {
    Q_DISABLE_COPY_MOVE(IsoFile)

public:
    explicit IsoFile(const QString &path, QObject *parent = nullptr);

    /// Whether a preview can start from the image at @p path: its first byte of film is on disk.
    [[nodiscard]] static bool containsVideo(const QString &path);

    /// False if the image is smaller than any that holds a film, or cannot be opened. True even if
    /// no title file was found: read() gives nothing then.
    bool open(OpenMode mode) override;
    /// Where the next byte of film lies in the image. At the end of a title file it is the image's
    /// size on disk, so that a caller who compares the two sees that everything has been read.
    [[nodiscard]] qint64 pos() const override;
    /// At most @p maxlen bytes of film. Empty when there are none at present, for instance because
    /// the next title file begins beyond the end of a growing image; a later call tries again.
    [[nodiscard]] QByteArray read(qint64 maxlen);

private:
    void nextTitle();

    QMap<QByteArray, DvdTitle> vobs; ///< titles still to be read, by name
    quint64 endPos = 0; ///< end of the current title file in the image
    quint64 curPos = 0; ///< position of the next byte in the image
};
