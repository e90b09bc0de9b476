// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "queue/jobpath.h"
#include "support/files.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

class TestJobPath final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QDir().mkpath(at(u"job/sub"_s)));
        QVERIFY(QDir().mkpath(at(u"job2"_s)));
        for (const QString &name : {u"outside"_s, u"job2/file"_s, u"job/file"_s})
            writeFile(at(name));
        const std::pair<QString, QString> links[] = {
            {u"job/toSub"_s, u"job/sub"_s},     {u"job/toSibling"_s, u"job2"_s},
            {u"job/toOutside"_s, u"outside"_s}, {u"job/toJob"_s, u"job"_s},
            {u"job/dangling"_s, u"nowhere"_s},  {u"job/danglingInside"_s, u"job/new"_s},
            {u"job/loop"_s, u"job/loop"_s},     {u"linkToJob"_s, u"job"_s}};
        for (const auto &[name, target] : links)
            QVERIFY(QFile::link(at(target), at(name)));
        QVERIFY(QDir::setCurrent(root.path()));
    }
    void inside_data();
    void inside();
    void oddFolders();

private:
    QString at(const QString &relative) const { return root.filePath(relative); }

    QTemporaryDir root;
};

void TestJobPath::inside_data()
{
    const auto row = rows<QString, bool>();
    row("existing file", {u"job/file"_s, true});
    row("new file in a new folder", {u"job/a/b/new"_s, true});
    row("dots at the start of a name", {u"job/..name"_s, true});
    row("through a link to a folder inside", {u"job/toSub/new"_s, true});
    row("from outside by a link", {u"linkToJob/new"_s, true});
    row("back into the folder", {u"job2/../job/new"_s, true});

    row("the folder with a slash", {u"job/"_s, false});
    row("the folder by a link in it", {u"job/toJob"_s, false});
    row("the folder by dot-dot", {u"job/sub/.."_s, false});
    row("file of the parent", {u"job/../outside"_s, false});
    row("new file of the parent", {u"job/../new"_s, false});
    row("dot-dot behind a new folder", {u"job/a/../../new"_s, false});
    row("name that begins alike", {u"job2/file"_s, false});
    row("link to a file outside", {u"job/toOutside"_s, false});
    row("through a link to a folder outside", {u"job/toSibling/new"_s, false});
    row("dot-dot behind a link to outside", {u"job/toSibling/../new"_s, false});
    row("dangling link", {u"job/dangling"_s, false});
    row("through a dangling link", {u"job/dangling/new"_s, false});
    row("dangling link to a name inside", {u"job/danglingInside"_s, false});
    row("link to itself", {u"job/loop"_s, false});
    row("null character", {u"job/file"_s + QChar::Null, false});
    row("longer than the system takes", {u"job/"_s + u"a/"_s.repeated(1'000'000), false});
}

void TestJobPath::inside()
{
    const auto [path, expected] = thisRow<QString, bool>();
    for (const QString &folder : {u"job"_s, at(u"job"_s), at(u"linkToJob"_s)}) {
        QCOMPARE(isInsideFolder(folder, path), expected);
        QCOMPARE(isInsideFolder(folder, at(path)), expected);
    }
}

void TestJobPath::oddFolders()
{
    QVERIFY(!isInsideFolder(u"missing"_s, u"missing/new"_s));
    QVERIFY(!isInsideFolder(QString(), u"job/file"_s));
    QVERIFY(!isInsideFolder(u"job"_s, QString()));
    QVERIFY(isInsideFolder(u"/"_s, u"job/file"_s));
}

QTEST_GUILESS_MAIN(TestJobPath)
#include "test_jobpath.moc"
