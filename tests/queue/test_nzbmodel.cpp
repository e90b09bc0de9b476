// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QAbstractItemModelTester>
#include <QBrush>
#include <QDataStream>
#include <QMimeData>
#include <QTest>
#include <QTreeView>
#include <QUrl>

#include <limits>
#include <optional>

#include "engine/enginefixture.h"
#include "queue/nzbmodel.h"
#include "support/files.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

namespace {

/// An engine that downloads nothing, and the model of its queue, watched by Qt's tester.
struct Shown {
    Shown()
    {
        fixture.set("threads", 0);
        tester.emplace(&model);
    }
    QUrl write(const QString &fileName, const QByteArray &content = "<nzb/>")
    {
        return QUrl::fromLocalFile(writeFile(fixture.dir.filePath(fileName), content));
    }
    Nzb *add(const QString &name, const QByteArray &files = {})
    {
        return engine->addNZB(write(name + ".nzb"_L1, "<nzb>" + files + "</nzb>").toLocalFile());
    }
    [[nodiscard]] QModelIndex at(const QList<int> &path) const
    {
        QModelIndex index;
        for (const int row : path)
            index = model.index(row, 0, index);
        return index;
    }
    bool drop(const QByteArray &ids, int row, const QModelIndex &parent)
    {
        QMimeData data;
        data.setData(u"application/nzbmodel.rowids"_s, ids);
        return model.dropMimeData(&data, Qt::CopyAction, row, 0, parent);
    }
    /// What the view shows when all is expanded; the names are short: "A01 B" is two jobs.
    [[nodiscard]] QString order()
    {
        view.setModel(&model);
        view.expandAll();
        QString names;
        for (QModelIndex i = model.index(0, 0); i.isValid(); i = view.indexBelow(i))
            names += (i.parent().isValid() ? u""_s : u" "_s) + i.data().toString();
        return names.trimmed();
    }

    EngineFixture fixture;
    Marlowick *engine = fixture.engine.get();
    NzbModel model{nullptr, engine};
    QTreeView view;
    std::optional<QAbstractItemModelTester> tester;
};

QByteArray file(const QByteArray &name, const QByteArray &attributes = {})
{
    return "<file subject='\"" + name + "\" (1/1)' " + attributes + "><segment number='1'>" + name
           + "</segment></file>";
}

QByteArray rowIds(std::initializer_list<std::pair<int, int>> pairs)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    for (const auto &[parent, row] : pairs)
        stream << parent << row;
    return bytes;
}

QImage picture(const QIcon &icon) { return icon.pixmap(16).toImage(); }

QImage pictureOf(const QModelIndex &index)
{
    return picture(index.data(Qt::DecorationRole).value<QIcon>());
}

} // namespace

class TestNzbModel final : public QObject {
    Q_OBJECT

private slots:
    void viewFollowsQueue();
    void showsFile_data();
    void showsFile();
    void dropsRows_data();
    void dropsRows();
    void dragSetsDownloadOrder();
    void dropsFiles();
    void updatesNameNoItem();
};

void TestNzbModel::viewFollowsQueue()
{
    Shown t;
    QCOMPARE(t.order(), QString());
    QCOMPARE(t.model.headerData(2, Qt::Horizontal), u"Status"_s);
    QCOMPARE(t.model.flags({}), Qt::ItemIsDropEnabled);
    t.add(u"A"_s, file("0", "size='100' completed='50'") + file("1", "size='100' paused='1'"));
    t.add(u"B"_s);
    QCOMPARE(t.order(), u"A01 B"_s);
    QVERIFY(!t.model.hasChildren(t.at({1})));
    QVERIFY(t.model.flags(t.at({0, 0})).testFlags(Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled));
    QCOMPARE(pictureOf(t.at({0})), picture(QIcon(u":/icons/folder.png"_s)));
    QCOMPARE(t.at({0}).siblingAtColumn(1).data(), u"200.00 B"_s); // with the paused file
    QCOMPARE(t.at({0}).siblingAtColumn(2).data(), u"50 %"_s); // without it
    QCOMPARE(t.at({0, 1}).siblingAtColumn(2).data(), u"Paused"_s);
    t.engine->deleteItem(NzbModel::itemAt(t.at({0, 0})));
    QCOMPARE(t.order(), u"A1 B"_s);
    t.engine->deleteItem(NzbModel::itemAt(t.at({0})));
    QCOMPARE(t.order(), u"B"_s);
}

void TestNzbModel::showsFile_data()
{
    const auto add = rows<QByteArray, QString, QString, bool>();
    const auto row = [&](const char *subject, const char *size, const char *sizeText,
                         const char *icon, bool red = false) {
        add(subject, {size, QString::fromLatin1(sizeText), QString::fromLatin1(icon), red});
    };
    row("\"x.rar\" (1/1)", "0", "0.00 B", "compress");
    row("\"x.r00\" (1/1)", "1023", "1023.00 B", "compress");
    row("\"x.001\" (1/1)", "1024", "1.00 KB", "compress");
    row("\"x.0r1\" (1/1)", "1048575", "1024.00 KB", "page_white");
    row("\"x.r000\" (1/1)", "1610612736", "1.50 GB", "page_white");
    row("\"upper.PAR2\" (1/1)", "5497558138880", "5.00 TB", "plugin");
    row("unquoted upper.RAR (1/1)", "9007199254740992", "8192.00 TB", "page_white");
    row("\"incomplete.mp3\" (1/2)", "1", "1.00 B", "music", true);
    row("\"x.iso\" (1/1)", "1", "1.00 B", "cd_burn");
    row("\"x.mkv\" (1/1)", "1", "1.00 B", "film");
    row("\"x.jpeg\" (1/1)", "1", "1.00 B", "picture");
}

void TestNzbModel::showsFile()
{
    const auto [size, sizeText, icon, red] = thisRow<QByteArray, QString, QString, bool>();
    Shown t;
    t.add(u"A"_s, "<file subject='" + QByteArray(QTest::currentDataTag()) + "' size='" + size
                      + "'><segment number='1'>x</segment></file>");
    const QModelIndex cell = t.at({0, 0});
    QCOMPARE(cell.siblingAtColumn(1).data().toString(), sizeText);
    QVERIFY(!pictureOf(cell).isNull());
    QCOMPARE(pictureOf(cell), picture(QIcon(u":/icons/%1.png"_s.arg(icon))));
    const QVariant brush = cell.siblingAtColumn(2).data(Qt::ForegroundRole);
    QCOMPARE(brush.isValid() && brush.value<QBrush>() == QBrush(Qt::red), red);
}

void TestNzbModel::dropsRows_data()
{
    using Path = QList<int>;
    const auto add = rows<QByteArray, int, Path, bool, QString>();
    const auto drop = [&](const char *name, const QByteArray &ids, int row, const Path &parent,
                          bool accepted, const char *order = "A0123 B45 C D") {
        add(name, {ids, row, parent, accepted, QString::fromLatin1(order)});
    };
    drop("job onto itself", rowIds({{-1, 1}}), -1, {1}, true);
    drop("job into the gap behind it", rowIds({{-1, 1}}), 2, {}, true);
    drop("job down, one too far", rowIds({{-1, 0}}), 2, {}, true, "B45 C A0123 D");
    drop("job into the empty part", rowIds({{-1, 0}}), -1, {}, true, "B45 C D A0123");
    drop("two jobs up", rowIds({{-1, 2}, {-1, 3}}), 0, {}, true, "C D A0123 B45");
    drop("two jobs down", rowIds({{-1, 0}, {-1, 1}}), -1, {}, true, "B45 D A0123 C");
    drop("last job behind the end", rowIds({{-1, 0}, {-1, 3}}), 99, {}, true, "B45 C D A0123");
    drop("file onto sibling", rowIds({{0, 0}}), -1, {0, 2}, true, "A1203 B45 C D");
    drop("file up", rowIds({{0, 3}}), 1, {0}, true, "A0312 B45 C D");
    drop("file behind the last", rowIds({{0, 1}}), 4, {0}, true, "A0231 B45 C D");
    drop("file onto its own job", rowIds({{0, 0}}), -1, {0}, false);
    drop("file onto another job's", rowIds({{0, 0}}), -1, {1, 1}, false);
    drop("job onto file", rowIds({{-1, 1}}), -1, {0, 2}, false);
    drop("into a file", rowIds({{0, 1}}), 0, {0, 0}, false);
    drop("file after job", rowIds({{-1, 3}, {0, 1}}), 0, {}, false, "D A0123 B45 C");
    drop("cut short", rowIds({{-1, 3}, {-1, 2}}).chopped(1), 0, {}, false, "D A0123 B45 C");
    drop("endless", rowIds({{-1, 0}, {-1, 0}, {-1, 0}, {-1, 0}, {-1, 0}}), 0, {}, false);
    drop("unknown parent", rowIds({{7, 0}}), -1, {0, 1}, false);
    drop("negative place", rowIds({{-1, 0}}), -5, {}, false);
    for (const int row : {4, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        drop(qPrintable(u"no such row: %1"_s.arg(row)), rowIds({{-1, row}}), 0, {}, false);
}

void TestNzbModel::dropsRows()
{
    const auto [ids, row, parent, accepted, order] =
        thisRow<QByteArray, int, QList<int>, bool, QString>();
    Shown t;
    t.add(u"A"_s, file("0") + file("1") + file("2") + file("3"));
    t.add(u"B"_s, file("4") + file("5"));
    t.add(u"C"_s);
    t.add(u"D"_s);
    const QModelIndexList all = t.model.match(t.at({0}), Qt::DisplayRole, u""_s, -1,
                                              Qt::MatchContains | Qt::MatchRecursive);
    const QList<QPersistentModelIndex> selection(all.cbegin(), all.cend());
    QCOMPARE(selection.size(), 10);
    QCOMPARE(t.drop(ids, row, t.at(parent)), accepted);
    QCOMPARE(t.order(), order);
    for (const QModelIndex index : selection) // it stays on its items
        QCOMPARE(index, t.model.index(index.row(), 0, index.parent()));
}

void TestNzbModel::dragSetsDownloadOrder()
{
    Shown t;
    t.add(u"A"_s, file("0"));
    t.add(u"B"_s, file("1") + file("2"));
    const auto dragged = [&](const QModelIndex &index) {
        const std::unique_ptr<QMimeData> data(t.model.mimeData(
            {QModelIndex(), index.siblingAtColumn(2), index, index.siblingAtColumn(1)}));
        return data->data(u"application/nzbmodel.rowids"_s);
    };
    QCOMPARE(dragged(t.at({1, 1})), rowIds({{1, 1}}));
    QVERIFY(t.drop(dragged(t.at({1, 1})), 0, t.at({1})));
    QVERIFY(t.drop(dragged(t.at({1})), 0, {}));
    NzbFile *next = nullptr;
    int number = 0;
    QString messageId;
    QVERIFY(t.engine->nextArticle(next, number, messageId));
    QCOMPARE(messageId, u"2"_s);
}

void TestNzbModel::dropsFiles()
{
    Shown t;
    t.add(u"A"_s);
    QMimeData data;
    QVERIFY(!t.model.dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
    data.setData(u"application/nzbmodel.rowids"_s, rowIds({{-1, 0}}));
    data.setUrls({t.write(u"C.NZB"_s), t.write(u"note.txt"_s), QUrl(u"http://127.0.0.1/x.nzb"_s),
                  t.write(u"B.nzb"_s)});
    const QSignalSpy inserted(&t.model, &NzbModel::rowsInserted);
    QVERIFY(t.model.dropMimeData(&data, Qt::IgnoreAction, 0, 0, {}));
    QCOMPARE(t.order(), u"A"_s);
    QVERIFY(t.model.dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
    QCOMPARE(t.order(), u"A C B"_s);
    QCOMPARE(inserted.size(), 2);

    t.tester.reset(); // it objects to an insertion that ends without a row
    data.setUrls({t.write(u"bad.nzb"_s, "hello"), t.write(u"D.nzb"_s)});
    QVERIFY(t.model.dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
    QCOMPARE(t.order(), u"A C B D"_s);
}

void TestNzbModel::updatesNameNoItem()
{
    Shown t;
    t.tester.reset(); // it objects to such corners
    Nzb *nzb = t.add(u"A"_s, file("0") + file("1"));
    QStringList corners;
    connect(&t.model, &NzbModel::dataChanged, this, [&](const QModelIndex &i, const QModelIndex &) {
        corners << QString::number(i.row()) + (NzbModel::itemAt(i) == nzb ? " job"_L1 : " none"_L1);
    });
    emit t.engine->downloadProgresses(nzb->fileAt(1));
    emit t.engine->nzbComplete(nzb);
    QCOMPARE(corners, (QStringList{u"1 job"_s, u"0 none"_s}));

    NzbFile *removed = nullptr; // stays allocated, as its article is under way
    int number = 0;
    QString messageId;
    QVERIFY(t.engine->nextArticle(removed, number, messageId));
    t.engine->deleteItem(removed);
    emit t.engine->downloadProgresses(removed);
    t.engine->deleteItem(nzb);
    emit t.engine->nzbComplete(nzb);
    QCOMPARE(corners.size(), 2);
}

QTEST_MAIN(TestNzbModel)
#include "test_nzbmodel.moc"
