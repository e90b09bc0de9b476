// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/crc32.h"

#include <QRandomGenerator>
#include <QTest>

#include <vector>
#include <zlib.h>

class TestCrc32 : public QObject {
    Q_OBJECT

private slots:
    void agreesWithZlib();
};

void TestCrc32::agreesWithZlib()
{
    const auto seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    for (int round = 0; round < 20000; ++round) {
        // Unaligned, too, and exactly as large as it must be, for the address sanitizer.
        std::vector<uchar> buffer(1 + random() % 400);
        for (uchar &byte : buffer)
            byte = uchar(random());
        const auto data = std::span(buffer).subspan(std::min<size_t>(random() % 16, buffer.size()));
        const quint32 start = random();
        const quint32 expected = ~quint32(crc32(~start, data.data(), uInt(data.size())));
        QCOMPARE(updateCrc32(start, data), expected);
        QCOMPARE(updateCrc32ByTables(start, data), expected);
        if (canFoldCrc32())
            QCOMPARE(updateCrc32ByFolding(start, data), expected);
    }
}

QTEST_GUILESS_MAIN(TestCrc32)
#include "test_crc32.moc"
