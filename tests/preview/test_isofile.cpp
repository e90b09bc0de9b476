// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QTemporaryDir>
#include <QTest>

#include "preview/isofile.h"
#include "support/dvdimage.h"
#include "support/rows.h"
#include "support/seededrandom.h"

using namespace Qt::StringLiterals;

class TestIsoFile final : public QObject {
    Q_OBJECT

private slots:
    void reads_data();
    void reads();
    void grows();
    void randomImages();

private:
    QTemporaryDir dir;
};

void TestIsoFile::reads_data()
{
    // film: the first byte of each title file, in order
    const auto row = rows<qint64, QByteArray, QByteArray>();
    const qint64 somewhere = 100'001;
    const QByteArray a = dvdRecord("VTS_01_1.VOB;1", 1000, leastTitle);
    const QByteArray b = dvdRecord("VTS_02_1.VOB;1", 14000, leastTitle);
    // A title that is spoilt stands before one that is not, which must be found all the same.
    const auto spoilt = [&](const char *name, qsizetype at, char value, const char *film = "B") {
        QByteArray record = a;
        record[at] = value;
        row(name, {scannedFrom + 100, record + b, film});
    };
    row("by name, wherever they stand", {somewhere, b + "VTS_" + a, "AB"});
    row("a byte too small",
        {scannedFrom + 100, dvdRecord("VTS_01_1.VOB;1", 1000, leastTitle - 1) + b, "B"});
    row("the later of one name",
        {scannedFrom + 100, a + dvdRecord("VTS_01_1.VOB;9", 14000, leastTitle), "B"});
    row("no place", {scannedFrom + 100, dvdRecord("VTS_01_1.VOB;1", 0, leastTitle) + b, "B"});
    row("past 4 GiB",
        {scannedFrom + 100, dvdRecord("VTS_01_1.VOB;1", 0x200000 + 1000, leastTitle), "A"});
    row("past the end", {scannedFrom + 100, dvdRecord("VTS_01_1.VOB;1", 50'000, leastTitle), {}});
    row("another file",
        {scannedFrom + 100, dvdRecord("VTS_01_0.IFO;1", 1000, leastTitle) + b, "B"});
    row("a short name", {scannedFrom + 100, dvdRecord("VTS_1.VOB;1", 1000, leastTitle) + b, "B"});
    row("the shortest name", {scannedFrom + 100, dvdRecord("VTS_11.VOB;1", 1000, leastTitle), "A"});
    spoilt("places differ", 9, 1);
    spoilt("lengths differ", 17, 1);
    spoilt("interleaved", 27, 1);
    spoilt("record as long as its name", 0, 14 + 32);
    row("name at the start of the stretch", {scannedFrom, a, "A"});
    row("name a byte ahead of that", {scannedFrom - 1, a, {}});
    row("name cut by the end",
        {scannedFrom + 200 - a.size() - 40,
         a + QByteArray(0x100000 - 200, '\0') + a.left(40) + "2" + a.mid(41), "A"});
}

void TestIsoFile::reads()
{
    const auto [recordsAt, records, film] = thisRow<qint64, QByteArray, QByteArray>();
    const QString path = dir.filePath(QString::fromLatin1(QTest::currentDataTag()));
    writeAt(path, recordsAt, records);
    writeAt(path, 1000 * 2048, "A");
    writeAt(path, 14000 * 2048, "B");
    writeAt(path, 14000 * 2048 + leastTitle - 1, "\n");
    IsoFile image(path);
    QVERIFY(image.open(QIODevice::ReadOnly));
    QByteArray found;
    qint64 total = 0;
    for (QByteArray data; !(data = image.read(leastTitle)).isEmpty(); total += data.size())
        found += data.front();
    QCOMPARE(found, film);
    QCOMPARE(total, film.size() * leastTitle);
    QCOMPARE(IsoFile::containsVideo(path), !film.isEmpty());
    QFile::remove(path);
}

void TestIsoFile::grows()
{
    const QString path = dir.filePath(u"growing.iso"_s);
    writeAt(path, leastTitle - 2, "-");
    QVERIFY(!IsoFile(path).open(QIODevice::ReadOnly)); // a byte too small
    writeAt(path, leastTitle - 1, "-");
    writeAt(path, scannedFrom,
            dvdRecord("VTS_01_1.VOB;1", 12800, leastTitle)
                + dvdRecord("VTS_01_2.VOB;1", 30000, leastTitle));
    QVERIFY(!IsoFile::containsVideo(path)); // its first byte is the next one to come
    IsoFile image(path);
    QVERIFY(image.open(QIODevice::ReadOnly));
    QCOMPARE(image.read(10), QByteArray());
    QCOMPARE(image.pos(), leastTitle); // the start, which is the end as well
    writeAt(path, leastTitle, "film");
    QVERIFY(IsoFile::containsVideo(path));
    QCOMPARE(image.read(3), "fil");
    QCOMPARE(image.pos(), leastTitle + 3);
    QCOMPARE(image.read(-1), QByteArray());
    writeAt(path, 2 * leastTitle - 1, "-data");
    QCOMPARE(image.read(2 * leastTitle).size(), leastTitle - 3);
    QCOMPARE(image.pos(), QFileInfo(path).size());
    QCOMPARE(image.read(10), QByteArray());
    writeAt(path, 30000 * 2048, "two");
    QCOMPARE(image.read(10), "two");
}

void TestIsoFile::randomImages()
{
    QRandomGenerator random = seededRandom();
    const QString path = dir.filePath(u"random.iso"_s);
    QByteArray directory(0x100000, '\0');
    for (int round = 0; round < 20; ++round) {
        random.fillRange(reinterpret_cast<quint32 *>(directory.data()), directory.size() / 4);
        for (int i = 0; i < 100; ++i) {
            const QByteArray name = "VTS_0" + QByteArray::number(random.bounded(10)) + "_1.VOB;1";
            QByteArray record = dvdRecord(name, random.generate(), random.generate());
            record[random.bounded(int(record.size()))] = static_cast<char>(random.bounded(256));
            directory.replace(random.bounded(int(directory.size()) - 40), record.size(), record);
        }
        writeAt(path, leastTitle, "-");
        writeAt(path, scannedFrom, directory);
        IsoFile image(path);
        QVERIFY(image.open(QIODevice::ReadOnly));
        for (int i = 0; i < 10; ++i) {
            QVERIFY(image.read(32768).size() <= 32768);
            QVERIFY(image.pos() >= 0);
        }
    }
}

QTEST_GUILESS_MAIN(TestIsoFile)
#include "test_isofile.moc"
