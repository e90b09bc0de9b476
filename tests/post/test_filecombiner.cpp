// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include "post/filecombiner.h"
#include "queue/nzb.h"

using namespace Qt::StringLiterals;

class TestFileCombiner final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void gaps_data();
    void gaps();
    void joins_data();
    void joins();
    void joinsInThread();
    void outputExists_data();
    void outputExists();
    void missingPiece();
    void fullDisk();
    void linkInThePlaceOfTheOutput();
    void sparse();

private:
    QString at(const QString &name) const { return folder->filePath(name); }
    void write(const QString &name, const QByteArray &content) const;
    QByteArray read(const QString &name) const;
    QStringList listing() const { return QDir(folder->path()).entryList(QDir::Files); }
    void addPieces(FileCombiner &combiner, const QList<QByteArray> &contents) const;

    std::unique_ptr<QTemporaryDir> folder;
};

void TestFileCombiner::init() { folder = std::make_unique<QTemporaryDir>(); }

void TestFileCombiner::write(const QString &name, const QByteArray &content) const
{
    QFile file(at(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QByteArray TestFileCombiner::read(const QString &name) const
{
    QFile file(at(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "cannot be opened";
}

/// Writes "x.001" and so on, and adds them, the last first.
void TestFileCombiner::addPieces(FileCombiner &combiner, const QList<QByteArray> &contents) const
{
    for (qsizetype i = contents.size(); i > 0; --i) {
        const QString name = u"x.%1"_s.arg(i, 3, 10, QLatin1Char('0'));
        write(name, contents.at(i - 1));
        combiner.addFile(at(name));
    }
}

void TestFileCombiner::gaps_data()
{
    QTest::addColumn<QStringList>("pieces");
    QTest::addColumn<bool>("expected");

    QTest::newRow("none") << QStringList{} << true;
    QTest::newRow("whole, unsorted") << QStringList{u"/x.002"_s, u"/x.001"_s} << false;
    QTest::newRow("one") << QStringList{u"/x.001"_s} << false;
    QTest::newRow("from zero") << QStringList{u"/x.000"_s, u"/x.001"_s} << true;
    QTest::newRow("hole") << QStringList{u"/x.001"_s, u"/x.003"_s} << true;
    QTest::newRow("judged by its ends")
        << QStringList{u"/x.001"_s, u"/x.001b"_s, u"/x.003"_s} << false;
    QTest::newRow("no digits") << QStringList{u"/x.rar"_s} << true;
    QTest::newRow("no extension") << QStringList{u"/x"_s} << true;
}

void TestFileCombiner::gaps()
{
    QFETCH(QStringList, pieces);
    FileCombiner combiner(nullptr, nullptr);
    for (const QString &piece : pieces)
        combiner.addFile(piece);
    QTEST(combiner.hasGaps(), "expected");
}

void TestFileCombiner::joins_data()
{
    QTest::addColumn<QList<QByteArray>>("pieces");

    QTest::newRow("one") << QList<QByteArray>{"only"};
    QTest::newRow("three") << QList<QByteArray>{"one", "two", "three"};
    QTest::newRow("empty ones") << QList<QByteArray>{"", "a", "", "b"};
    QTest::newRow("about the size of the buffer")
        << QList<QByteArray>{"a", QByteArray(32'768, 'b'), QByteArray(32'769, 'c')};
}

void TestFileCombiner::joins()
{
    QFETCH(QList<QByteArray>, pieces);
    FileCombiner combiner(nullptr, nullptr);
    QSignalSpy done(&combiner, &FileCombiner::processingComplete);
    addPieces(combiner, pieces);
    QFile::setPermissions(at(u"x.001"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    combiner.run();
    QCOMPARE(done.size(), 1);
    QCOMPARE(done.first().at(1).toString(), pieces.isEmpty() ? QString() : at(u"x"_s));
    if (pieces.isEmpty())
        return;
    QCOMPARE(listing(), QStringList{u"x"_s});
    QCOMPARE(read(u"x"_s), pieces.join());
    QVERIFY(QFileInfo(at(u"x"_s)).isExecutable()); // the first piece, renamed and not copied
}

void TestFileCombiner::joinsInThread()
{
    Nzb job(nullptr, QString(), QString());
    FileCombiner combiner(&job, nullptr);
    Nzb *reported = nullptr;
    connect(&combiner, &FileCombiner::processingComplete, this, [&](Nzb *nzb, const QString &file) {
        QCOMPARE(QThread::currentThread(), thread());
        QCOMPARE(file, at(u"x"_s));
        reported = nzb;
    });
    addPieces(combiner, {"one", "two"});
    combiner.startProcessing();
    QTRY_COMPARE(reported, &job);
    QVERIFY(combiner.wait());
    QCOMPARE(read(u"x"_s), "onetwo");
}

void TestFileCombiner::outputExists_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QStringList>("left");

    const QStringList pieces{u"x.001"_s, u"x.002"_s};
    const QString error = u"Output filename '%1' already exists"_s;
    QTest::newRow("of the size of the pieces")
        << QByteArray("123456") << QString() << QStringList();
    QTest::newRow("shorter") << QByteArray("123") << error << pieces;
    QTest::newRow("empty") << QByteArray() << error << pieces;
}

void TestFileCombiner::outputExists()
{
    QFETCH(QByteArray, output);
    QFETCH(QString, error);
    QFETCH(QStringList, left);
    FileCombiner combiner(nullptr, nullptr);
    QSignalSpy done(&combiner, &FileCombiner::processingComplete);
    QSignalSpy failed(&combiner, &FileCombiner::processingError);
    addPieces(combiner, {"one", "two"});
    write(u"x"_s, output);
    combiner.run();
    QCOMPARE(done.size(), error.isEmpty() ? 1 : 0);
    QCOMPARE(failed.size(), error.isEmpty() ? 0 : 1);
    if (!failed.isEmpty())
        QCOMPARE(failed.first().at(2).toString(), error.arg(at(u"x"_s)));
    QCOMPARE(listing(), QStringList{u"x"_s} + left);
    QCOMPARE(read(u"x"_s), output);
}

void TestFileCombiner::missingPiece()
{
    FileCombiner combiner(nullptr, nullptr);
    QSignalSpy done(&combiner, &FileCombiner::processingComplete);
    QSignalSpy failed(&combiner, &FileCombiner::processingError);
    addPieces(combiner, {"one", "two", "three"});
    QVERIFY(QFile::remove(at(u"x.002"_s)));
    combiner.run();
    QCOMPARE(done.size(), 0);
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed.first().at(1).toString(), at(u"x"_s));
    QCOMPARE(failed.first().at(2).toString(), u"Error opening file: "_s + at(u"x.002"_s));
    QCOMPARE(listing(), QStringList({u"x"_s, u"x.003"_s}));
}

// The first piece, renamed, is a link to a device that is always full.
void TestFileCombiner::fullDisk()
{
    FileCombiner combiner(nullptr, nullptr);
    QSignalSpy failed(&combiner, &FileCombiner::processingError);
    QVERIFY(QFile::link(u"/dev/full"_s, at(u"x.001"_s)));
    write(u"x.002"_s, "two");
    combiner.addFile(at(u"x.001"_s));
    combiner.addFile(at(u"x.002"_s));
    combiner.run();
    QCOMPARE(failed.size(), 1);
    QVERIFY(failed.first().at(2).toString().startsWith(u"Error writing to file: "_s));
    QCOMPARE(read(u"x.002"_s), "two");
}

void TestFileCombiner::linkInThePlaceOfTheOutput()
{
    const QTemporaryDir outside;
    for (const bool sparsely : {false, true}) {
        FileCombiner combiner(nullptr, nullptr);
        combiner.setSparseOutput(sparsely);
        QVERIFY(QFile::link(outside.filePath(u"new"_s), at(u"y"_s)));
        write(u"y.002"_s, "two");
        combiner.addFile(at(u"y.002"_s));
        combiner.run();
        QVERIFY(!QFileInfo::exists(outside.filePath(u"new"_s)));
        QFile::remove(at(u"y"_s));
    }
}

void TestFileCombiner::sparse()
{
    FileCombiner combiner(nullptr, nullptr);
    combiner.setSparseOutput(true);
    write(u"x.002"_s, "two");
    write(u"x.003"_s, "3");
    combiner.addFile(at(u"x.002"_s));
    combiner.addFile(at(u"x.003"_s));
    combiner.run();
    QCOMPARE(listing(), QStringList{u"x"_s});
    QCOMPARE(read(u"x"_s), QByteArray("\0\0\0two\0\0\0"
                                      "3",
                                      10));
}

QTEST_GUILESS_MAIN(TestFileCombiner)
#include "test_filecombiner.moc"
