// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Which files of a job can be watched.
#include <QFileInfo>
#include <QSet>

#include "preview/isofile.h"
#include "preview/preview.h"
#include "queue/filenames.h"
#include "queue/jobpath.h"
#include "queue/nzb.h"
#include "queue/nzbfile.h"

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 menuSize = 25 * 1024 * 1024; // a smaller VOB file holds a menu, not a film

bool isVideo(const QString &extension)
{
    static const QSet<QString> extensions{
        u"wmv"_s,  u"vob"_s, u"vfw"_s,  u"vcd"_s,    u"ts"_s,   u"rmvb"_s, u"rm"_s,  u"rec"_s,
        u"ram"_s,  u"qt"_s,  u"ogv"_s,  u"ogm"_s,    u"ogg"_s,  u"nsv"_s,  u"nuv"_s, u"nut"_s,
        u"mqv"_s,  u"mpv"_s, u"mpg4"_s, u"mpg2"_s,   u"mpg"_s,  u"mpeg"_s, u"mp4"_s, u"mp2"_s,
        u"mov"_s,  u"mkv"_s, u"m4v"_s,  u"m2v"_s,    u"m2ts"_s, u"m2t"_s,  u"m1v"_s, u"i263"_s,
        u"h264"_s, u"flv"_s, u"fli"_s,  u"dvr-ms"_s, u"dv"_s,   u"divx"_s, u"cpk"_s, u"bin"_s,
        u"asf"_s,  u"avi"_s, u"3iv"_s,  u"3gp"_s};
    return extensions.contains(extension);
}

/// Whether the unpacked or joined file @p name, which lies at @p path, is a film.
bool isExtractedFilm(const QString &name, const QString &path, quint64 size)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const QString extension = name.mid(dot + 1).toLower();
    if (dot == 0 || !QFileInfo(path).isFile())
        return false;
    if (isVideo(extension))
        return extension != "vob"_L1 || size > menuSize;
    return extension == "iso"_L1 && IsoFile::containsVideo(path);
}

} // namespace

QMap<QString, quint64> Preview::previewableFiles(Nzb *nzb)
{
    QMap<QString, quint64> films;
    const QString folder = nzb->folder();
    for (const NzbFile *file : nzb->allFiles()) {
        const QString path = folder + u'/' + file->name();
        if (file->completedBytes() != 0
            && (isVideo(file->extension()) || isPieceExtension(file->extension()))
            && isInsideFolder(folder, path))
            films.insert(path, static_cast<quint64>(QFileInfo(path).size()));
    }
    const QMap<QString, quint64> &extracted = nzb->extractedFiles();
    for (auto it = extracted.cbegin(); it != extracted.cend(); ++it) {
        const QString path = folder + u'/' + it.key();
        if (isInsideFolder(folder, path) && isExtractedFilm(it.key(), path, it.value()))
            films.insert(path, it.value());
    }
    return films;
}
