// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The search for films in a DVD image. The input is the stretch that is looked through. One that
// starts with 'm' has the numbers of its directory records mended, since each is written in both
// byte orders, which mutations would hardly keep; behind 'M' it also becomes part of an image that
// is read if there is a title, which takes longer.
#include <QFile>

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

#include "preview/isofile.h"
#include "support.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 scanStart = 34816;
constexpr qint64 smallest = 25 * 1024 * 1024;
constexpr qint64 imageSize = smallest + 1024 * 1024;
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

class Image final {
    Q_DISABLE_COPY_MOVE(Image)

public:
    Image() { resize(imageSize); }
    ~Image() { ::close(fd); }

    void fill(const QByteArray &content) const
    {
        require(pwrite(fd, content.constData(), size_t(content.size()), scanStart)
                    == content.size(),
                "room for the input");
    }

    void resize(qint64 size) const { require(ftruncate(fd, size) == 0, "room for the image"); }

    [[nodiscard]] QByteArray at(qint64 offset, qsizetype size) const
    {
        QByteArray content(size, '\0');
        content.truncate(pread(fd, content.data(), size_t(size), offset));
        return content;
    }

    const QString path = scratchFolder() + u"/film.iso"_s;

private:
    int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
};

/// Returns false at the end of what is there.
bool readSome(IsoFile &film, const Image &image, qint64 size, qint64 most)
{
    const QByteArray data = film.read(most);
    require(data.size() <= most, "no more than was asked for");
    const qint64 position = film.pos();
    require(position >= data.size() && position <= size, "a position in the image");
    if (position != size)
        require(data == image.at(position - data.size(), data.size()), "what lies in the image");
    return !data.isEmpty();
}

/// Returns whether there is a title.
bool checkScan(const QByteArray &stretch)
{
    const QMap<QByteArray, DvdTitle> titles = dvdTitles(stretch);
    for (auto title = titles.cbegin(); title != titles.cend(); ++title) {
        require(title.key().startsWith("VTS_") && title.key().endsWith(".VOB")
                    && stretch.contains(title.key()),
                "the name of a title file");
        require(title->sector != 0 && title->size >= smallest, "a title file that is large");
    }
    return !titles.isEmpty();
}

void checkReading(const QByteArray &stretch)
{
    static const Image image;
    image.fill(stretch);
    const bool video = IsoFile::containsVideo(image.path);
    IsoFile film(image.path);
    require(film.open(QIODevice::ReadOnly | QIODevice::Unbuffered), "an image that opens");
    require(readSome(film, image, imageSize, 100) == video, "film where it was announced");
    readSome(film, image, imageSize, 100);
    image.resize(imageSize + 4096);
    readSome(film, image, imageSize + 4096, 100);
    image.resize(imageSize);
    image.fill(QByteArray(stretch.size(), '\0'));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const char mode = input.isEmpty() ? 'm' : input[0];
    if (mode == 'm' || mode == 'M')
        input = mended(input.sliced(std::min(input.size(), qsizetype(1))));
    if (checkScan(input) && mode == 'M')
        checkReading(input);
    return 0;
}
