// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/case.h"

class Cases final : public QObject {
    Q_OBJECT

private slots:
    void test_data()
    {
        QTest::addColumn<qsizetype>("number");
        for (qsizetype i = 0; i < Case::all.size(); ++i)
            QTest::newRow(Case::all[i].first.constData()) << i;
    }
    void test()
    {
        QFETCH(qsizetype, number);
        Case::all[number].second();
    }
};

QTEST_MAIN(Cases)
#include "case.moc"
