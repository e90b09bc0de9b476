// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include "post/filecombiner.h"
#include "support/failingclose.h"
#include "support/files.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;
using Pieces = QList<QByteArray>;

class TestFileCombiner final : public QObject {
    Q_OBJECT

private slots:
    void init() { folder = std::make_unique<QTemporaryDir>(); }
    void gaps_data();
    void gaps();
    void joins_data();
    void joins();
    void refusingDisk_data();
    void refusingDisk();
    void sparse();

private:
    QString at(const QString &name) const { return folder->filePath(name); }
    /// Writes "x.001" and so on, all but null ones, and adds them, the last first.
    void addPieces(FileCombiner &combiner, const Pieces &contents, int firstNumber = 1) const
    {
        for (qsizetype i = contents.size(); i-- > 0;) {
            const QString path = at(u"x.%1"_s.arg(firstNumber + i, 3, 10, QLatin1Char('0')));
            if (!contents.at(i).isNull())
                writeFile(path, contents.at(i));
            combiner.addFile(path);
        }
    }

    std::unique_ptr<QTemporaryDir> folder;
};

void TestFileCombiner::gaps_data()
{
    const auto row = rows<QStringList, bool>();
    row("none", {QStringList{}, true});
    row("whole, unsorted", {QStringList{u"/x.002"_s, u"/x.001"_s}, false});
    row("from zero", {QStringList{u"/x.000"_s, u"/x.002"_s}, true});
    row("hole", {QStringList{u"/x.001"_s, u"/x.003"_s}, true});
    row("judged by its ends", {QStringList{u"/x.001"_s, u"/x.001b"_s, u"/x.003"_s}, false});
    row("no extension", {QStringList{u"/x"_s}, true});
}

void TestFileCombiner::gaps()
{
    const auto [pieces, expected] = thisRow<QStringList, bool>();
    FileCombiner combiner(nullptr, nullptr);
    for (const QString &piece : pieces)
        combiner.addFile(piece);
    QCOMPARE(combiner.hasGaps(), expected);
}

void TestFileCombiner::joins_data()
{
    // earlier: output that is there already
    const auto row = rows<Pieces, QByteArray, QByteArray, QStringList, QString>();
    row("one", {{"only"}, {}, "only", {}, {}});
    row("empty ones", {{"", "a", "", "b"}, {}, "ab", {}, {}});
    const QByteArray b(32'768, 'b');
    row("about the size of the buffer", {{"a", b, b + 'c', "d"}, {}, 'a' + b + b + "cd", {}, {}});
    row("missing piece",
        {{"one", {}, "three"}, {}, "one", {u"x.003"_s}, u"Error opening file: %1.002"_s});
    row("output of the right size", {{"one", "two"}, "123456", "123456", {}, {}});
    const QString exists = u"Output filename '%1' already exists"_s;
    row("shorter output", {{"one", "two"}, "123", "123", {u"x.001"_s, u"x.002"_s}, exists});
    row("empty output", {{"one", "two"}, "", "", {u"x.001"_s, u"x.002"_s}, exists});
}

void TestFileCombiner::joins()
{
    const auto [pieces, earlier, content, left, error] =
        thisRow<Pieces, QByteArray, QByteArray, QStringList, QString>();
    FileCombiner combiner(nullptr, nullptr);
    QSignalSpy done(&combiner, &FileCombiner::processingComplete);
    QSignalSpy failed(&combiner, &FileCombiner::processingError);
    addPieces(combiner, pieces);
    QFile::setPermissions(at(u"x.001"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (!earlier.isNull())
        writeFile(at(u"x"_s), earlier);
    combiner.run();
    QCOMPARE(done.size() + failed.size(), 1);
    const QVariantList said = error.isEmpty() ? done.first() : failed.first();
    QCOMPARE(said.at(1).toString(), at(u"x"_s));
    if (!error.isEmpty())
        QCOMPARE(said.at(2).toString(), error.arg(at(u"x"_s)));
    QCOMPARE(contentsOf(at(u"x"_s)), content);
    QCOMPARE(QDir(folder->path()).entryList(QDir::Files), QStringList{u"x"_s} + left);
    // The first piece is renamed and not copied.
    QCOMPARE(QFileInfo(at(u"x"_s)).isExecutable(), earlier.isNull());
}

void TestFileCombiner::refusingDisk_data()
{
    const auto row = rows<bool>();
    row("full", {false});
    row("quota that tells when the file is closed", {true});
}

void TestFileCombiner::refusingDisk()
{
    const auto [atClose] = thisRow<bool>();
    FileCombiner combiner(nullptr, nullptr);
    QSignalSpy failed(&combiner, &FileCombiner::processingError);
    const FailingClose quota(atClose ? "/x" : nullptr);
    if (atClose)
        writeFile(at(u"x.001"_s), "one");
    else // the first piece, renamed, is a link to a device that is always full
        QVERIFY(QFile::link(u"/dev/full"_s, at(u"x.001"_s)));
    addPieces(combiner, {{}, "two"});
    combiner.run();
    QCOMPARE(failed.size(), 1);
    QVERIFY(failed.first().at(2).toString().startsWith(u"Error writing to file: "_s));
    QCOMPARE(contentsOf(at(u"x.002"_s)), "two");
}

void TestFileCombiner::sparse()
{
    FileCombiner combiner(nullptr, nullptr);
    combiner.setSparseOutput(true);
    addPieces(combiner, {"two", "3"}, 2);
    QVERIFY(QFile::link(at(u"outside"_s), at(u"x"_s)));
    combiner.run(); // does not follow the link
    QVERIFY(!QFile::exists(at(u"outside"_s)));
    QVERIFY(QFile::remove(at(u"x"_s)));
    combiner.run();
    QCOMPARE(contentsOf(at(u"x"_s)), QByteArray("\0\0\0two\0\0\0003", 10));
}

QTEST_GUILESS_MAIN(TestFileCombiner)
#include "test_filecombiner.moc"
