// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The search for films in a DVD image, and their reading. The input is the stretch that is looked
// through. One that starts with 'm' or 'M' has the numbers of its directory records mended, since
// each is written in both byte orders, which mutations would hardly keep.
#include <QFile>

#include <algorithm>

#include "preview/isofile.h"
#include "support.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 scanStart = 34816;
constexpr qint64 smallest = 25 * 1024 * 1024;
constexpr qsizetype nameAt = 33;

/// Copies the number at @p at, the less significant bytes first, in the other order behind it.
void mirror(QByteArray &records, qsizetype at)
{
    std::reverse_copy(records.cbegin() + at, records.cbegin() + at + 4, records.begin() + at + 4);
}

QByteArray mended(QByteArray records)
{
    for (qsizetype name = records.indexOf("VTS_", nameAt); name >= 0;
         name = records.indexOf("VTS_", name + 1)) {
        mirror(records, name - nameAt + 2);
        mirror(records, name - nameAt + 10);
    }
    return records;
}

void readFilms(const QByteArray &stretch)
{
    IsoFile film(writeScratch(u"film.iso"_s, QByteArray(scanStart, '\0') + stretch));
    require(QFile::resize(film.fileName(), smallest + 1024 * 1024), "room for the image");
    require(film.open(QIODevice::ReadOnly | QIODevice::Unbuffered), "an image that opens");
    for (int i = 0; i < 3; ++i) {
        require(film.read(100).size() <= 100, "no more than was asked for");
        require(film.pos() >= 0 && film.pos() <= film.size(), "a position in the image");
    }
}

const Target target("isofile", [](const QByteArray &input) {
    const bool mend = input.startsWith('m') || input.startsWith('M');
    const QByteArray stretch = mend ? mended(input.sliced(1)) : input;
    const QMap<QByteArray, DvdTitle> titles = dvdTitles(stretch);
    for (auto title = titles.cbegin(); title != titles.cend(); ++title) {
        require(title.key().startsWith("VTS_") && title.key().endsWith(".VOB")
                    && stretch.contains(title.key()),
                "the name of a title file");
        require(title->sector != 0 && title->size >= smallest, "a title file that is large");
    }
    if (!titles.isEmpty())
        readFilms(stretch);
});

} // namespace
