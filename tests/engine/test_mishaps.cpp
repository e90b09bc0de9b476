// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// What goes wrong in a user's daily life, and what has become of the jobs in the end.
#include <QAbstractItemModelTester>
#include <QDir>
#include <QTreeView>

#include <stdexcept>

#include "enginefixture.h"
#include "queue/nzbmodel.h"
#include "support/case.h"

using namespace Qt::StringLiterals;

namespace {

struct Backup {
    const char *name;
    const char *document; ///< null: there is none
    const char *shown;
};
const Backup backups[] = {
    {"none", nullptr, ""},
    {"empty", "", ""},
    {"no jobs", "<qzb/>", ""},
    {"good", "<qzb><nzb name='a'/><nzb name='b'/></qzb>", "ab"},
    {"cut inside a job", "<qzb><nzb name='a'/><nzb name='b'><file>", "ab"},
};

void showsBackup(const Backup &row)
{
    EngineFixture t;
    NzbModel model(nullptr, t.engine.get());
    const QAbstractItemModelTester tester(&model);
    QTreeView view;
    view.setModel(&model);
    const auto shown = [&] {
        QString names;
        for (QModelIndex i = view.indexAt({}); i.isValid(); i = view.indexBelow(i))
            names += i.data().toString();
        return names;
    };
    const QString path = t.dir.filePath(u"Marlowick/queue.qzb"_s);
    writeFile(path, "<qzb><nzb name='x'/><nzb name='y'><file>");
    if (row.document)
        writeFile(path + ".old"_L1, row.document);
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, t.engine->loadQueue(QString()));
    QCOMPARE(shown(), u"xy"_s);
    try {
        t.engine->loadBackup();
    } catch (const std::runtime_error &) {
    }
    QCOMPARE(shown(), QString::fromLatin1(row.shown));
}
const Case a("the view holds what a damaged queue's backup does", backups, showsBackup);

struct Removal {
    const char *name;
    Reply reply; ///< to each article of the file that is removed
    bool held; ///< it is under way when the file goes
};
const Removal removals[] = {
    {"refused for ever", Reply::code("451 no"), false},
    {"arrives behind it", Reply::ordinary(), true},
    {"is missing", Reply::code("430 no"), true},
    {"connection cut", Reply::ordinary().cutAfter(500), true},
};

void processesWithoutRemoved(const Removal &row)
{
    EngineFixture t;
    t.set("networkRetry", 1);
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 2000), 1000);
    const QByteArray id = post.addYenc(u"gone.bin"_s, "x").id(1);
    t.server->script(When::body(id), row.reply);
    if (row.held)
        t.server->hold(id);
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.completedFiles, QStringList{u"film.bin"_s});
    QTRY_VERIFY(t.requested().contains(id) && (row.held || !nzb->hasActiveSegments()));
    t.engine->deleteItem(nzb->fileAt(1));
    t.server->releaseAll();
    QTRY_COMPARE(t.completedJobs, QStringList{u"demo"_s});
    QTRY_COMPARE(t.engine->connectionCount(), 0);
    QCOMPARE(t.completedJobs.size(), 1);
}
const Case b("a job goes on without a file that is removed", removals, processesWithoutRemoved);

struct Folder {
    const char *name;
    bool underWay; ///< it goes behind the request for the article
    bool restart; ///< with another download folder
};
const Folder folders[] = {
    {"removed between articles", false, false},
    {"removed while an article is under way", true, false},
    {"download folder changed", false, true},
};

void makesFolderAnew(const Folder &row)
{
    EngineFixture t;
    t.set("threads", 1);
    Post post;
    post.addYenc(u"done.bin"_s, "x");
    PostedFile &film = post.addYenc(u"film.bin"_s, randomBytes(1, 3000), 1000);
    t.server->hold(film.id(1));
    Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.server->waiting(), QList{film.id(1)});
    if (!row.underWay)
        t.engine->closeAllConnections();
    QVERIFY(QDir(nzb->folder()).removeRecursively());
    if (row.restart) {
        t.engine->saveQueue();
        t.engine = std::make_unique<Marlowick>(nullptr);
        t.set("downloadFolder", t.dir.path());
        t.engine->loadQueue(QString());
        nzb = t.engine->queue()->first();
    }
    t.server->releaseAll();
    t.engine->startToDownloadQueue();
    QTRY_COMPARE(nzb->status(), u"Finished incomplete"_s); // for what had been there
    QVERIFY(nzb->fileAt(0)->isIncomplete() && !nzb->fileAt(1)->isIncomplete());
    QCOMPARE(contentsOf(nzb->folder() + "/film.bin"_L1), film.data);
    QCOMPARE(t.errors, QStringList());
}
const Case c("the folder of a job is made anew", folders, makesFolderAnew);

const Case d("a held-back volume that lists too few segments is no damage", [] {
    EngineFixture t;
    t.set("autoPAR2", true), t.set("pausePAR2", true);
    Post post;
    post.addYenc(u"film.bin"_s, "x");
    post.addYenc(u"film.vol0+1.par2"_s, randomBytes(1, 2000), 1000).segment(2).inNzb = false;
    const Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.completedJobs, QStringList{u"demo"_s});
    QCOMPARE(nzb->status(), u"Finished"_s);
    QVERIFY(nzb->fileAt(1)->hasPendingSegments());
});

const Case e("what stands around a message id is stored, but not sent", [] {
    EngineFixture t;
    const QByteArray xml = "<file subject='a.b'><segment number='1'>\n \ta@b \n</segment></file>";
    t.engine->addNZB(writeFile(t.dir.filePath(u"demo.nzb"_s), "<nzb>" + xml + "</nzb>"));
    t.engine->saveQueue();
    QTRY_COMPARE(t.requested(), QList<QByteArray>{"a@b"});
    Marlowick next(nullptr);
    next.loadQueue(QString());
    int number = 0;
    QCOMPARE(next.queue()->first()->fileAt(0)->nextSegment(&number), u"\n \ta@b \n"_s);
});

const Case f("a volume that a repair asks for is not held back again", [] {
    EngineFixture t;
    t.set("autoPAR2", true), t.set("pausePAR2", true);
    Post post;
    post.addYenc(u"film.bin"_s, randomBytes(1, 2000), 1000).segment(1).onServer = false;
    for (const QString &name : {u"film.vol0+1.par2"_s, u"film.vol1+2.par2"_s})
        t.server->hold(post.addYenc(name, "x").id(1));
    const Nzb *nzb = t.start(post);
    QTRY_COMPARE(t.server->waiting(), QList{post.file(1).id(1)});
    t.engine->pauseAll();
    t.engine->closeAllConnections();
    t.engine->saveQueue();
    Marlowick next(nullptr);
    next.loadQueue(QString());
    for (const Nzb *job : {nzb, const_cast<const Nzb *>(next.queue()->first())}) {
        QVERIFY(job->fileAt(1)->isOrdered() && job->fileAt(1)->isPaused());
        QVERIFY(!job->fileAt(2)->isOrdered());
    }
});

} // namespace
