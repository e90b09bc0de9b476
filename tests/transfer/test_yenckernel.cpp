// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "transfer/yenckernel.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <vector>

#include "transfer/yencreference.h"

using Bytes = std::vector<uchar>;

class TestYencKernel : public QObject {
    Q_OBJECT

private slots:
    void agreesWithReference_data();
    void agreesWithReference();

private:
    void compareWalks(const Bytes &in, YencKernel kernel);
};

// A walk over all of `in`, which at each stop goes on one byte later. Buffers are exactly as large
// as they must be, for the address sanitizer.
void TestYencKernel::compareWalks(const Bytes &in, YencKernel kernel)
{
    for (size_t at = 0; at < in.size(); ++at) {
        const auto rest = std::span(in).subspan(at);
        Bytes expected(rest.size());
        Bytes out(rest.size());
        const YencProgress wanted = referenceWalk(rest, expected);
        const YencProgress done = walkYenc(rest, out, kernel);
        QCOMPARE(done.consumed, wanted.consumed);
        QCOMPARE(done.produced, wanted.produced);
        expected.resize(wanted.produced);
        out.resize(done.produced);
        QCOMPARE(out, expected);
        at += wanted.consumed;
    }
}

void TestYencKernel::agreesWithReference_data()
{
    QTest::addColumn<int>("kernel");
    QTest::addColumn<int>("specialsPerThousand");
    const std::pair<const char *, YencKernel> kernels[] = {
        {"bytes", YencKernel::Bytes}, {"ssse3", YencKernel::Ssse3}, {"avx2", YencKernel::Avx2}};
    for (const auto &[name, kernel] : kernels) {
        for (const int specials : {5, 50, 300, 900})
            QTest::addRow("%s, %d special bytes in 1000", name, specials)
                << int(kernel) << specials;
    }
}

void TestYencKernel::agreesWithReference()
{
    QFETCH(const int, kernel);
    QFETCH(const int, specialsPerThousand);
    if (!isSupported(YencKernel(kernel)))
        QSKIP("this processor cannot run it");

    const auto seed = QRandomGenerator::system()->generate();
    qInfo("seed %u", seed);
    QRandomGenerator random(seed);
    constexpr std::array<uchar, 10> specials = {'\r', '\n', '\n', '=', '=', '.', '.', 'y', 'y', 0};
    for (int round = 0; round < 3000; ++round) {
        Bytes in(random() % 300);
        std::generate(in.begin(), in.end(), [&] {
            const bool special = int(random() % 1000) < specialsPerThousand;
            return special ? specials[random() % specials.size()] : uchar(random());
        });
        compareWalks(in, YencKernel(kernel));
        if (QTest::currentTestFailed())
            return;
    }
}

QTEST_GUILESS_MAIN(TestYencKernel)
#include "test_yenckernel.moc"
