// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "queue/jobpath.h"

using namespace Qt::StringLiterals;

class TestJobPath final : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void inside_data();
    void inside();
    void folderBehindLink();
    void folderThatIsMissing();
    void relativeFolder();

private:
    QString at(const QString &relative) const { return root.filePath(relative); }
    void makeFile(const QString &relative) const;
    void link(const QString &relative, const QString &target) const;

    QTemporaryDir root;
};

void TestJobPath::makeFile(const QString &relative) const
{
    QFile file(at(relative));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void TestJobPath::link(const QString &relative, const QString &target) const
{
    QVERIFY(QFile::link(target, at(relative)));
}

void TestJobPath::initTestCase()
{
    QVERIFY(QDir().mkpath(at(u"job/sub"_s)));
    QVERIFY(QDir().mkpath(at(u"job2"_s)));
    makeFile(u"outside"_s);
    makeFile(u"job2/file"_s);
    makeFile(u"job/file"_s);
    link(u"job/toSub"_s, at(u"job/sub"_s));
    link(u"job/toSibling"_s, at(u"job2"_s));
    link(u"job/toOutside"_s, at(u"outside"_s));
    link(u"job/toJob"_s, at(u"job"_s));
    link(u"job/dangling"_s, at(u"nowhere"_s));
    link(u"job/danglingInside"_s, at(u"job/new"_s));
    link(u"job/loop"_s, at(u"job/loop"_s));
    link(u"linkToJob"_s, at(u"job"_s));
}

void TestJobPath::inside_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("expected");

    const auto row = [](const char *name, const QString &path, bool expected) {
        QTest::newRow(name) << path << expected;
    };
    row("existing file", u"job/file"_s, true);
    row("new file", u"job/new"_s, true);
    row("new file in a new folder", u"job/a/b/new"_s, true);
    row("dots at the start of a name", u"job/..name"_s, true);
    row("through a link to a folder inside", u"job/toSub/new"_s, true);
    row("through a link to the folder itself", u"job/toJob/new"_s, true);
    row("from outside by a link", u"linkToJob/new"_s, true);
    row("dot-dot that stays inside", u"job/sub/../new"_s, true);
    row("back into the folder", u"job2/../job/new"_s, true);

    row("the folder", u"job"_s, false);
    row("the folder with a slash", u"job/"_s, false);
    row("the folder by a link in it", u"job/toJob"_s, false);
    row("the folder by dot-dot", u"job/sub/.."_s, false);
    row("parent", u"job/.."_s, false);
    row("file of the parent", u"job/../outside"_s, false);
    row("new file of the parent", u"job/../new"_s, false);
    row("dot-dot behind a new folder", u"job/a/../../new"_s, false);
    row("name that begins alike", u"job2/file"_s, false);
    row("link to a file outside", u"job/toOutside"_s, false);
    row("through a link to a folder outside", u"job/toSibling/new"_s, false);
    row("dot-dot behind a link to outside", u"job/toSibling/../new"_s, false);
    row("dangling link", u"job/dangling"_s, false);
    row("dangling link with a slash", u"job/dangling/"_s, false);
    row("through a dangling link", u"job/dangling/new"_s, false);
    row("dangling link to a name inside", u"job/danglingInside"_s, false);
    row("link to itself", u"job/loop"_s, false);
    row("null character", u"job/file"_s + QChar::Null, false);
    row("longer than the system takes", u"job/"_s + u"a/"_s.repeated(1'000'000), false);
}

void TestJobPath::inside()
{
    QFETCH(QString, path);
    QFETCH(bool, expected);
    QCOMPARE(isInsideFolder(at(u"job"_s), at(path)), expected);
}

void TestJobPath::folderBehindLink()
{
    QVERIFY(isInsideFolder(at(u"linkToJob"_s), at(u"linkToJob/new"_s)));
    QVERIFY(isInsideFolder(at(u"linkToJob"_s), at(u"job/file"_s)));
    QVERIFY(!isInsideFolder(at(u"linkToJob"_s), at(u"linkToJob"_s)));
}

void TestJobPath::folderThatIsMissing()
{
    QVERIFY(!isInsideFolder(at(u"missing"_s), at(u"missing/new"_s)));
    QVERIFY(!isInsideFolder(QString(), at(u"job/file"_s)));
    QVERIFY(!isInsideFolder(at(u"job"_s), QString()));
    QVERIFY(isInsideFolder(u"/"_s, at(u"job/file"_s)));
}

void TestJobPath::relativeFolder()
{
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(root.path()));
    QVERIFY(isInsideFolder(u"job"_s, u"job/new"_s));
    QVERIFY(!isInsideFolder(u"job"_s, u"new"_s));
    QVERIFY(QDir::setCurrent(before));
}

QTEST_GUILESS_MAIN(TestJobPath)
#include "test_jobpath.moc"
