// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "support/case.h"

class Cases final : public QObject {
    Q_OBJECT

private slots:
    void test_data()
    {
        QTest::addColumn<std::size_t>("number");
        for (std::size_t i = 0; i < Case::all().size(); ++i)
            QTest::newRow(Case::all()[i].first.constData()) << i;
    }
    void test()
    {
        QFETCH(std::size_t, number);
        Case::all()[number].second();
    }
};

QTEST_MAIN(Cases)
#include "case.moc"
