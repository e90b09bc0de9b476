// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <stdexcept>

#include "post/par2process.h"
#include "queue/nzb.h"
#include "support/files.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;
using Counts = QList<int>;

/// With a script in the place of the program.
class ScriptedPar2 final : public Par2Process {
public:
    ScriptedPar2(Nzb *nzb, const QStringList &files, const QString &script)
        : Par2Process(nzb, files, nullptr, {u"/none"_s, script, u"/none2"_s})
    {
    }
};

class TestPar2Process final : public QObject {
    Q_OBJECT

private slots:
    /// A folder of a name that a shell, or a program's option reader, could stumble over.
    void init()
    {
        folder =
            std::make_unique<QTemporaryDir>(QDir::tempPath() + u"/-q 'x;$(touch y)*? XXXXXX"_s);
    }
    void repairs_data();
    void repairs();
    void understands_data();
    void understands();
    void followsTheSteps();
    void noProgram();
    void deletedInASlot();
    void killsTheProgram();

private:
    QString at(const QString &name) const { return folder->filePath(name); }
    QString script(const QByteArray &lines) const
    {
        const QString path = writeFile(at(u"program"_s), "#!/bin/sh\n" + lines);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
    QStringList makeSet(const QString &name, int badBlocks);
    QString eventsOf(Par2Process &par2);

    std::unique_ptr<QTemporaryDir> folder;
    QMap<QString, QByteArray> contents; // as they were before the damage
    Nzb job{nullptr, QString(), QString()};
};

/// Makes a file of 40 blocks with 6 recovery blocks in 2 volumes, then spoils some of its blocks,
/// or with -1 the volumes. Returns the volumes.
QStringList TestPar2Process::makeSet(const QString &name, int badBlocks)
{
    QByteArray content;
    for (size_t i = 0; i < 40'000; ++i)
        content += static_cast<char>(qHash(name, i) >> 7);
    contents[name] = content;
    const QString source = writeFile(at(name), content);
    const QString create = u"cd \"$0\" && par2 c -q -q -s1000 -c6 -n2 -- \"$1.par2\" \"$1\""_s;
    if (QProcess::execute(u"/bin/sh"_s, {u"-c"_s, create, folder->path(), name}) != 0)
        throw std::runtime_error("par2 cannot make the volumes");
    for (int block = 0; block < badBlocks; ++block)
        content[block * 1000 + 500] ^= 1;
    writeFile(source, content);
    QFile::remove(source + u".par2"_s);
    QStringList volumes = QDir(folder->path()).entryList({name + u".vol*"_s});
    for (QString &volume : volumes) {
        volume = at(volume);
        if (badBlocks < 0)
            writeFile(volume, "garbage");
    }
    return volumes;
}

/// Runs the whole pass.
QString TestPar2Process::eventsOf(Par2Process &par2)
{
    QStringList events;
    connect(&par2, &Par2Process::repairComplete, this, [&] { events << u"repaired"_s; });
    connect(&par2, &Par2Process::nothingToRepair, this, [&] { events << u"nothing"_s; });
    connect(&par2, &Par2Process::needMoreBlocks, this, [&](Nzb *, int number, QString name) {
        events << u"%1 for %2"_s.arg(number).arg(QDir(folder->path()).relativeFilePath(name));
    });
    Nzb *ended = nullptr;
    connect(&par2, &Par2Process::passEnded, this, [&](Nzb *nzb, bool answered) {
        events << (answered ? u"end"_s : u"unanswered"_s);
        ended = nzb;
    });
    par2.startNextGroup();
    static_cast<void>(QTest::qWaitFor([&] { return ended == &job; }, 20'000));
    QTest::qWait(0); // what came after the end would show
    return events.join(u", "_s);
}

void TestPar2Process::repairs_data()
{
    // badBlocks: of the sets "-a b" and "-b b"
    const auto row = rows<Counts, QString>();
    row("no set", {Counts{}, u"unanswered"_s});
    row("sound", {Counts{0}, u"nothing, end"_s});
    row("lacks blocks", {Counts{10}, u"4 for -a b, end"_s});
    row("corrupt volumes", {Counts{-1}, u"1 for -a b, end"_s});
    row("two repaired", {Counts{1, 6}, u"repaired, end"_s});
    row("one sound outweighs", {Counts{6, 0}, u"nothing, end"_s});
    row("lack stops", {Counts{7, 1}, u"1 for -a b, end"_s});
}

void TestPar2Process::repairs()
{
    const auto [badBlocks, events] = thisRow<Counts, QString>();
    const QStringList names = QStringList{u"-a b"_s, u"-b b"_s}.first(badBlocks.size());
    QStringList files{at(u"main.par2"_s), at(u"other.VOL00+1.PAR2"_s)};
    for (qsizetype set = names.size(); set-- > 0;)
        files << makeSet(names.at(set), badBlocks.at(set));
    Par2Process par2(&job, files, nullptr);
    QCOMPARE(eventsOf(par2), events);
    for (const QString &name : names)
        QCOMPARE(contentsOf(at(name)) == contents.value(name), badBlocks.first() <= 6);
    for (const QString &volume : files.mid(2))
        QCOMPARE(QFile::exists(volume), !badBlocks.contains(-1));
}

void TestPar2Process::understands_data()
{
    const auto row = rows<QByteArray, QString>();
    row("last line decides", {"echo 'You need 3'; echo 'Repair complete!\n'", u"repaired, end"_s});
    row("inside a line", {"echo ' Repair complete.'", u"unanswered"_s});
    row("in pieces, exit code",
        {"printf '\\r\\nRep'; printf 'air comp' >&2; printf lete; exit 3", u"repaired, end"_s});
    row("no number", {"echo 'You need  3'", u"0 for set, end"_s});
    row("crash", {"echo 'All files are correct'; kill -9 $$", u"nothing, end"_s});
    const auto zeros = [](qsizetype count) -> QByteArray {
        return "; head -c " + QByteArray::number(count) + " /dev/zero";
    };
    row("long line", {":" + zeros(2'000'000) + "; echo; echo Repair complete", u"repaired, end"_s});
    row("far back", {"echo Repair complete" + zeros(Par2Output::maxSize), u"unanswered"_s});
    row("cut line",
        {"printf x'Repair complete'" + zeros(Par2Output::maxSize - 15), u"unanswered"_s});
}

void TestPar2Process::understands()
{
    const auto [lines, events] = thisRow<QByteArray, QString>();
    ScriptedPar2 par2(&job, {at(u"set.vol0+1"_s)}, script(lines));
    QCOMPARE(eventsOf(par2), events);
}

/// The real program looks into all volumes at once, and so hides how the steps lead on.
void TestPar2Process::followsTheSteps()
{
    const QString program = script("case \"$3\" in *vol0) echo All files are correct;;\n"
                                   "*vol1) echo Main packet not found >&2;;\n"
                                   "*vol2) echo Repair complete;; esac");
    const QString corrupt = writeFile(at(u"a.vol1"_s));
    ScriptedPar2 sameSet(&job, {corrupt, at(u"a.vol0"_s)}, program);
    QCOMPARE(eventsOf(sameSet), u"nothing, end"_s);
    QVERIFY(!QFile::exists(corrupt));
    ScriptedPar2 nextSet(&job, {at(u"a.vol1"_s), at(u"b.vol0"_s)}, program);
    QCOMPARE(eventsOf(nextSet), u"1 for a, nothing, end"_s);
    ScriptedPar2 thenRepaired(&job, {at(u"a.vol1"_s), at(u"b.vol2"_s)}, program);
    QCOMPARE(eventsOf(thenRepaired), u"1 for a, end"_s);
    ScriptedPar2 thenSilent(&job, {at(u"a.vol2"_s), at(u"b.vol3"_s)}, program);
    QCOMPARE(eventsOf(thenSilent), u"unanswered"_s);
}

void TestPar2Process::noProgram()
{
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, ScriptedPar2(&job, {}, at(u"no"_s)));
    // Nor does it start where there is no folder to run in.
    Par2Process par2(&job, {at(u"no/x.vol0"_s), at(u"no/y.vol0"_s)}, nullptr);
    QCOMPARE(eventsOf(par2), u"unanswered"_s);
}

void TestPar2Process::deletedInASlot()
{
    for (const QByteArray line : {"Repair complete", "Main packet not found", "You need 1"}) {
        const QString program = script("echo " + line);
        auto *par2 = new ScriptedPar2(&job, {at(u"a.vol1"_s), at(u"b.vol1"_s)}, program);
        const QPointer<Par2Process> alive(par2);
        const auto destroy = [par2] { delete par2; };
        connect(par2, &Par2Process::repairComplete, this, destroy);
        connect(par2, &Par2Process::needMoreBlocks, this, destroy);
        par2->startNextGroup();
        QTRY_VERIFY(!alive);
    }
}

void TestPar2Process::killsTheProgram()
{
    QTemporaryDir plain;
    const QString file = plain.filePath(u"-a 'b.vol0+1.par2"_s);
    const QString program =
        script("printf '%s\\n' $$ \"$@\" >new; cat; mv new started; exec tail -f /dev/null");
    auto par2 = std::make_unique<ScriptedPar2>(&job, QStringList{file}, program);
    connect(par2.get(), &Par2Process::passEnded, this, [] { QFAIL("ended by its deletion"); });
    par2->startNextGroup();
    QTRY_VERIFY(QFile::exists(plain.filePath(u"started"_s)));
    const QList<QByteArray> lines = contentsOf(plain.filePath(u"started"_s)).split('\n');
    QCOMPARE(lines.mid(1), QList<QByteArray>({"r", "-q", file.toUtf8(), "*", ""}));
    const int pid = lines.first().toInt();
    QVERIFY(pid > 0 && kill(pid, 0) == 0);
    par2.reset();
    QVERIFY(kill(pid, 0) != 0);
}

QTEST_GUILESS_MAIN(TestPar2Process)
#include "test_par2process.moc"
