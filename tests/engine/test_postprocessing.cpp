// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What becomes of jobs that have arrived, and of those that meet with a mishap: with the real
// programs and the real library.
#include "story.h"
#include "support/case.h"

namespace {

/// What is odd about a job, what befalls it, and what is found in the end. p1, p2 and p3 are the
/// volumes of a set; FAILED tells that one of them is damaged, which shows at the film's end.
const char *const stories = R"(
no unpacking wanted | rarHandling=disabled; rar; file a.001; run | Finished: a.001 p1 p2 p3
no repair wanted | autoPAR2=false; rarHandling=after; rar; lose p2 3; file a.001; run
    | Finished incomplete: a.001 p1 p2? p3
and mended by hand | autoPAR2=false; rar; lose p2 3; run; hear p3; idle; mend p2; anew
    | Finished: +film
fails while the rest arrives | rar; spoil p2 5; pieces joined; file z; hold z; run; find FAILED:;
    release | FAILED: +joined p1 p2? p3 z
fails when all is there | rarHandling=after; rar; spoil p2 5; run | FAILED: p1 p2? p3
before the rest is there | rar; file z; hold z; run; hear p1; rarHandling=disabled; gone p3; held z;
    release | Finished: +film z
two archives | rarHandling=after; rar; member ok; run | Finished: +film +first +last +ok
deleted while it sleeps | rar; hold p3; when p1: delete; run | left
erased while it sleeps | rar; hold p3; when p1: erase; run | nothing left
erased at the password | rar -m0,-hpsecret; when password: erase; run | nothing left
the end at the password | rar -m0,-hpsecret; when password: quit; run | left
erased while it is unpacked | rarHandling=after; rar; when starting unrar: erase; run | nothing left
the end while it is unpacked | rarHandling=after; rar; when starting unrar: quit; run | left
the end while it is joined | pieces film; when combining files: quit; run | left
deleted while it is repaired | rar; par2 12; lose p2 3; when Repairing: delete; run | left
erased while it is repaired | rar; par2 12; lose p2 3; when Repairing: erase; run | nothing left
the end while it is repaired | rar; par2 12; lose p2 3; when Repairing: quit; run | left
too large | huge; run | Not unpacked: not enough disk spaceRAR processing suspended. Not enough disk
    space to extract 1099511627776 MB file: +first x.rar
solid | rar -m5,-s,-v30k; run | Finished: +film
a name too long | member n 2000; run | Error extracting RAR: set.rar: +first set.rar
a name of its volumes | member set.rar; run | Error extracting RAR: set.rar: +first set.rar
no archive | rar; short p1 1; run | Error extracting RAR: p1: p1? p2 p3
the second is short | rar; short p2 3; run | Error extracting RAR: p2: p1 p2? p3
placed by hand | rar; omit p2; omit p3; hold p1; run; held p1; mend p2; mend p3; release
    | Finished: +film
a socket | rar; omit p2; hold p1; run; held p1; socket p2; release
    | Error extracting RAR: p2: p1 p2? p3
locked, and its password | rar -m1,-v30k,-hpgeheim ß; run; password geheim ß | Finished: +film
locked, declined password | rar -m0,-hpsecret; run; password | Not unpacked: no password: x.rar
names come with articles | threads=1; networkRetry=0; rar; hide p1 9; hide p2 9; hide p3 4; cut p2
    1; run | Finished: +film
series | pieces a; pieces b; pieces gap 2; when combining files: look; run
    | Finished: +a +b gap.002 gap.003
anew while it is joined | pieces a; pieces b; when combining files: anew; run | Finished: +a +b
anew while it is unpacked | rarHandling=after; rar; when starting unrar: anew; run | Finished: +film
a file named like what par2 puts aside | rar; par2 12; file p2.1; lose p2 3; run
    | Repaired: +film p2.1 2 par2
repaired, then unpacked | rarHandling=after; rar; par2 12; lose p2 3; run | Repaired: +film 2 par2
all volumes at once | pausePAR2=false; rar; par2 12; lose p2 3; run | Repaired: +film 5 par2
asks twice | rar; par2 12; lose p1 2; lose p2 3; run | Repaired: +film 3 par2
comes during the repair | rar; par2 12; lose p2 3; when Repairing: linger x.vol01+2.par2; run
    | Repaired: +film 2 par2
no volumes | rar; lose p2 3; run; find Damaged beyond repair:; mend p2; anew | Finished: +film
too few blocks | rar; par2 2; lose p2 3; run | Damaged beyond repair: film? p1 p2? p3 2 par2
an answer that nobody knows | rar; par2 1; riddle; lose p2 3; run
    | Damaged: repair failed: film? p1 p2? p3 1 par2
a damaged note | rar -m5,-v20k; file aa; par2 12; lose aa 2; run | Repaired: aa +film 2 par2
behind a set that is unpacked | rar -m5,-v20k; file zz; par2 12; lose zz 2; hold zz; run;
    find +film; release | Repaired: +film zz 2 par2
before it is unpacked | rarHandling=after; rar -m5,-v20k; file aa; par2 12; lose aa 2; run
    | Repaired: aa +film 2 par2
with too few blocks | rar -m5,-v20k; file zz; par2 2; lose zz 2; hold x.vol1+1.par2; run; held
    x.vol1+1.par2; find Damaged beyond repair: +film p1 p2 p3 zz? 1 par2; release
    | Damaged beyond repair: +film zz? 2 par2
a volume that the NZB lacks | rar; par2 25; omit p2; run; find Error extracting RAR: p2:; anew
    | Repaired: +film 5 par2
the first one | rar; par2 25; omit p1; run; hear complete; anew | Repaired: +film 5 par2
repaired after it has failed | file yy; par2 5; rar; spoil p2 5; lose yy 2; hold yy; run; find
    FAILED:; release; hear Repairing | FAILED: p1 p2? p3 yy 2 par2
names that say nothing | rarHandling=disabled; rar; par2 25; rename; lose 1 2; run; hear complete;
    find Repaired: p1 p2 p3 3 par2; anew | Finished: +film 3 par2
a new start finds an archive | rarHandling=disabled; rar; run; hear complete; rarHandling=during;
    restart | Finished: +film
pieces | rarHandling=disabled; pieces a; run; hear complete; rarHandling=during; restart
    | Finished: +a
damage | rarHandling=disabled; autoPAR2=false; rar; par2 25; lose p2 3; run; hear complete;
    rarHandling=during; autoPAR2=true; restart | Repaired: +film 2 par2
a damaged note beside an archive | rarHandling=disabled; autoPAR2=false; file a; rar; lose a 3; run;
    hear complete; rarHandling=during; restart | Finished incomplete: a? +film
the last article is missing | threads=1; rar; par2 25; lose p3 4; run; idle; anew
    | Repaired: +film 2 par2
wrong password | rar -m0,-psecret; run; password wrong; find Error extracting RAR: x.rar:; anew;
    password secret | Finished: +film
declined password | rar -m0,-psecret; run; password; find Not unpacked: no password:; anew; password
    secret | Finished: +film
asked for the password | rar -m0,-psecret; run; hear password; anew; password secret
    | Finished: +film
damaged, though each article was fine | rar; par2 25; spoil p2 5; run; find FAILED:; anew
    | Repaired: +film 2 par2
a file that no set covers | autoPAR2=false; rar; par2 25; file zz; lose p2 3; lose zz 2; run; hear zz;
    idle; anew | Finished incomplete: +film p1 p2 p3 zz? 2 par2
one of two sets is in order | rar; par2 25; also other 2; lose p1 1; run; find Damaged beyond
    repair:; anew | Finished: +film other 4 par2
and is unpacked already | pausePAR2=false; rar -m5,-v20k; par2 12; also other 5; lose other 2; run;
    find Damaged beyond repair:; anew | Finished: +film other 9 par2
an article never comes | networkRetry=1; rar; par2 25; refuse p2 3; run; hear p1; hear p3; pause p2;
    idle; anew | Repaired: +film 2 par2
removed while it is refused | networkRetry=1; file a; file b; refuse b 1; run; hear a; idle; remove
    b | Finished: a b?
removed under way | file a; file b; hold b; run; hear a; held b; remove b; release | Finished: a b
removed, missing | file a; file b; lose b 1; hold b; run; hear a; held b; remove b; release
    | Finished: a b?
removed, and cut | networkRetry=0; file a; file b; cut b 1; hold b; run; hear a; held b; remove b;
    release | Finished: a b?
folder gone between articles | threads=1; file a; file b; hold b; run; held b; close; vanish;
    release | Damaged beyond repair: b
folder gone under way | threads=1; file a; file b; hold b; run; held b; vanish; release
    | Damaged beyond repair: b
)";

const bool told = (tell(stories), true);

const Case hostile("old volumes, with members that lead outside", [] {
    World t;
    const QByteArray away = QFile::encodeName(outside);
    QList<Rar4Member> members{{"link", "film", 0120777},
                              {"link", away, 0120777, {}, true},
                              {"film", film},
                              {"made", "", 040755, {}, true}};
    for (const char *bad :
         {"../outside", "..\\outside", "\\outside", "made/../../outside", "new/../../outside",
          "c:outside", "a.txt", "", "away/outside", away.constData()})
        members << Rar4Member{bad, "x"};
    members << Rar4Member{"made/größe", "x"};
    t.add(rar4Set("x", members, 30'000));
    t.play("run; link away");
    t.ends("Finished: away? +film +made/größe");
});

const Case ordered("a volume that a repair asks for is not held back again", [] {
    World t;
    t.play(
        "rar; par2 12; lose x.part2.rar 3; hold x.vol00+1.par2; run; held x.vol00+1.par2; restart");
    QVERIFY(t.fileOf(t.job, "x.vol00+1.par2")->isOrdered());
    QVERIFY(!t.fileOf(t.job, "x.vol01+2.par2")->isOrdered());
});

const Case padded("what stands around a message id is stored, but not sent", [] {
    EngineFixture t;
    const QByteArray xml = "<file subject='a.b'><segment number='1'>\n \ta@b \n</segment></file>";
    t.engine->addNZB(writeFile(t.dir.filePath("demo.nzb"), "<nzb>" + xml + "</nzb>"));
    t.engine->saveQueue();
    QTRY_COMPARE(t.requested(), QList<QByteArray>{"a@b"});
    Marlowick next(nullptr);
    next.loadQueue(QString());
    int number = 0;
    QCOMPARE(next.queue()->first()->fileAt(0)->nextSegment(&number), "\n \ta@b \n");
});

} // namespace
