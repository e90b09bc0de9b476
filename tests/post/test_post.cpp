// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What the engine's stories do not reach of the post-processors: odd pieces, odd answers of par2.
#include <QPointer>

#include <csignal>

#include "post/filecombiner.h"
#include "post/par2process.h"
#include "queue/filenames.h"
#include "queue/nzb.h"
#include "support/case.h"
#include "support/failingclose.h"
#include "support/programs.h"

namespace {

const Case firstVolume("first volumes", [] {
    const QString first = "a.rar a.b.rar a.part1.rar a.PART001.RAR .part1.rar .rar";
    QStringList names =
        QString(first + " a.part2.rar a.part11.rar a.part.rar a.part1x.rar a.r00").split(' ');
    names.removeIf([](const QString &name) { return !isFirstRarVolume(name); });
    QCOMPARE(names.join(' '), first);
});

struct Join {
    const char *name;
    QString files; ///< by extension; "full" is a link to a disk that is full, "-" is not there
    QString end; ///< what is said, and the files
    bool sparse = false;
    const char *refused = nullptr; ///< when it is closed
};
const QString wide(40'000, 'b'), exists = "Output filename 'x' already exists ";
const Join joins[] = {
    {"one", ".001=only", "x=only"},
    {"empty ones", ".001= .002=a .003= .004=b", "x=ab"},
    {"wider than the buffer", ".001=a .002=" + wide + "c", "x=a" + wide + "c"},
    {"from zero", ".000=a .001=b", "gaps x=ab"},
    {"a hole", ".001=a .003=b", "gaps x=ab"},
    {"judged by its ends", ".001=a .001b=b .003=c", "x=abc"},
    {"no piece of that name", ".001=a .002=- .003=c", "Error opening file: x.002 x=a x.003=c"},
    {"output of the right size", "=1234 .001=ab .002=cd", "x=1234"},
    {"shorter output", "=123 .001=ab .002=cd", exists + "x=123 x.001=ab x.002=cd"},
    {"empty output", "= .001=ab", exists + "x= x.001=ab"},
    {"full disk", ".001=full .002=a", "Error writing to file: Unknown error x.002=a"},
    {"quota", ".001=a .002=b .003=c",
     "Error writing to file: Disk quota exceeded x=ab x.002=b x.003=c", false, "/x"},
    {"sparse", ".002=two .003=3", "gaps x=___two___3", true},
};
const Case join("join", joins, [](const Join &row) {
    const QTemporaryDir folder;
    QString said;
    FileCombiner combiner(nullptr, nullptr);
    combiner.setSparseOutput(row.sparse);
    const auto hear = [&](Nzb *, const QString &file, const QString &error) {
        QCOMPARE(file, folder.filePath("x"));
        said += error + ' ';
    };
    QObject::connect(&combiner, &FileCombiner::processingError, hear);
    QObject::connect(&combiner, &FileCombiner::processingComplete,
                     [&](Nzb *nzb, const QString &file) { hear(nzb, file, {}); });
    for (const QString &file : row.files.split(' ')) {
        const QString path = folder.filePath("x" + file.section('=', 0, 0)),
                      text = file.section('=', 1);
        if (text == "full")
            QVERIFY(QFile::link("/dev/full", path));
        else if (text != "-")
            writeFile(path, text.toUtf8());
        if (!file.startsWith('='))
            combiner.addFile(path);
    }
    const QString gaps = combiner.hasGaps() ? "gaps " : "";
    const FailingClose quota(row.refused);
    combiner.run();
    for (const QString &name :
         QDir(folder.path()).entryList({"x*"}, QDir::Files | QDir::NoSymLinks))
        said += name + '=' + contentsOf(folder.filePath(name)).replace('\0', '_') + ' ';
    QCOMPARE(QString(gaps + said.remove(folder.path() + "/")).simplified(), row.end);
});

/// With a script in the place of the program, in a folder whose name a shell, or a program's option
/// reader, could stumble over.
struct Pass final : Par2Process {
    Pass(const QString &folder, const QStringList &volumes, const QByteArray &script)
        : Par2Process(nullptr, volumes, nullptr, {"/none", programIn(folder, script), "/none2"})
    {
        const auto on = [&](auto signal, auto text) {
            connect(this, signal, [=, this](Nzb *, const auto &...what) {
                said << QString(text(what...)).remove(folder + '/');
                if (said.last() == deletedAt)
                    delete this;
            });
        };
        on(&Par2Process::repairComplete, [] { return "repaired"; });
        on(&Par2Process::nothingToRepair, [] { return "nothing"; });
        on(&Par2Process::needMoreBlocks,
           [](int number, auto set) { return QString("%1 for %2").arg(number).arg(set); });
        on(&Par2Process::passEnded, [](bool answered) { return answered ? "end" : "unanswered"; });
    }
    static QString programIn(const QString &folder, const QByteArray &script)
    {
        const QString path = writeFile(folder + "/program", "#!/bin/sh\n" + script);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    QStringList said;
    QString deletedAt;
};

struct Answer {
    const char *name; // the volumes
    QByteArray lines; ///< of the script
    QString said;
};
const QByteArray zeros = "head -c 262144 /dev/zero",
                 known = "case \"$3\" in *vol0) echo All files are correct;;\n"
                         "*vol1) echo Main packet not found >&2;; *vol2) echo Repair "
                         "complete;;\n*vol4) echo You need 7;; esac";
const Answer answers[] = {
    {"x.vol", "echo 'You need 3'; echo 'Repair complete!\n'", "repaired, end"},
    {"x.vol", "echo ' Repair complete.'", "unanswered"},
    {"x.vol", "printf '\\r\\nRep'; printf 'air comp' >&2; printf lete; exit 3", "repaired, end"},
    {"x.vol", "echo 'You need  3'", "0 for x, end"},
    {"x.vol", "echo 'All files are correct'; kill -9 $$", "nothing, end"},
    {"x.vol", zeros + "; echo; echo Repair complete", "repaired, end"},
    {"x.vol", "echo Repair complete; " + zeros, "unanswered"},
    {"x.vol", "printf xRepair; printf ' complete'; head -c 262129 /dev/zero", "unanswered"},
    {"main.par2 other.VOL00+1.PAR2", known, "unanswered"},
    {"a.vol1 a.vol0", known, "nothing, end"},
    {"a.vol1 b.vol0", known, "1 for a, nothing, end"},
    {"a.vol1 b.vol2", known, "1 for a, end"},
    {"b.vol2 a.vol2", known, "repaired, end"},
    {"a.vol2 b.vol0", known, "nothing, end"},
    {"a.vol4 b.vol0", known, "7 for a, end"},
    {"a.vol2 b.vol3", known, "unanswered"},
    {"no/x.vol0 no/y.vol0", known, "unanswered"},
};
const QString oddFolder = QDir::tempPath() + "/-q 'x;$(touch y)*? XXXXXX";

const Case answer("par2", answers, [](const Answer &row) {
    const QTemporaryDir folder(oddFolder);
    const QString corrupt = writeFile(folder.filePath("a.vol1"));
    QStringList volumes;
    for (const QString &volume : QString(row.name).split(' '))
        volumes << folder.filePath(volume);
    Pass pass(folder.path(), volumes, row.lines);
    pass.startNextGroup();
    QTRY_VERIFY(pass.said.contains("end") || pass.said.contains("unanswered"));
    QCOMPARE(pass.said.join(", "), row.said);
    QCOMPARE(QFile::exists(corrupt), !volumes.contains(corrupt));
});

const Case deletion("par2 is deleted, in a slot or while it runs", [] {
    const QTemporaryDir folder(oddFolder);
    const QString volume = folder.filePath("a.vol");
    const std::pair<QByteArray, QString> ends[] = {{"Repair complete", "repaired"},
                                                   {"All files are correct", "nothing"},
                                                   {"You need 1", "1 for a"}};
    for (const auto &[line, said] : ends) {
        const QPointer<Pass> pass(new Pass(folder.path(), {volume}, "echo " + line));
        pass->deletedAt = said;
        pass->startNextGroup();
        QTRY_VERIFY(!pass);
    }
    auto pass = std::make_unique<Pass>(
        folder.path(), QStringList(volume),
        "printf '%s\\n' $$ \"$@\" >new; cat; mv new started; exec tail -f /dev/null");
    pass->startNextGroup();
    const QString started = folder.filePath("started");
    QTRY_VERIFY(QFile::exists(started));
    const QByteArrayList lines = contentsOf(started).split('\n');
    QCOMPARE(lines.mid(1), QByteArrayList({"r", "-q", "./a.vol", "*", ""}));
    const int pid = lines.first().toInt();
    QVERIFY(pid > 0 && kill(pid, 0) == 0);
    bool told = false; // which nobody may be then
    QObject::connect(pass.get(), &Par2Process::passEnded, [&] { told = true; });
    pass.reset();
    QVERIFY(kill(pid, 0) != 0 && !told);
});

} // namespace
