// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/crc32.h"

#include <QTest>

#include <vector>
#include <zlib.h>

#include "support/seededrandom.h"

class TestCrc32 : public QObject {
    Q_OBJECT

private slots:
    void agreesWithZlib();
};

void TestCrc32::agreesWithZlib()
{
    QRandomGenerator random = seededRandom();
    for (int round = 0; round < 20000; ++round) {
        // Unaligned, too, and exactly as large as it must be, for the address sanitizer.
        std::vector<uchar> buffer(16 + random() % 400);
        std::generate(buffer.begin(), buffer.end(), std::ref(random));
        const auto data = std::span(buffer).subspan(random() % 17);
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
