// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QProxyStyle>
#include <QScreen>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTest>

#include "queue/progressbardelegate.h"
#include "ui/queueview.h"

using namespace Qt::StringLiterals;

namespace {

class CountingStyle final : public QProxyStyle {
public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        bars += element == CE_ProgressBar;
        QProxyStyle::drawControl(element, option, painter, widget);
    }

    mutable int bars = 0;
};

} // namespace

/// The view repaints what has changed, no more, and nothing on the screen stays out of date.
class TestQueueView final : public QObject {
    Q_OBJECT

private slots:
    void init();

    void repaintsChangedRow_data();
    void repaintsChangedRow();
    void changesBetweenRepaints_data();
    void changesBetweenRepaints();

private:
    void setStatus(int row, const QString &status);
    [[nodiscard]] QImage onScreen();

    QStandardItemModel model;
    std::unique_ptr<QueueView> view;
    CountingStyle *style = nullptr;
};

void TestQueueView::init()
{
    style = new CountingStyle; // the application owns it
    QApplication::setStyle(style);
    model.clear();
    for (int job = 0; job < 50; ++job)
        model.appendRow({new QStandardItem(u"job"_s), new QStandardItem(u"1.00 KB"_s),
                         new QStandardItem(u"10 %"_s)});
    view = std::make_unique<QueueView>(nullptr);
    view->setModel(&model);
    view->setItemDelegateForColumn(2, new ProgressbarDelegate(view.get()));
    view->resize(500, 200);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
    view->repaintChanged();
    QCoreApplication::processEvents();
    style->bars = 0;
}

void TestQueueView::setStatus(int row, const QString &status)
{
    const QSignalBlocker silent(&model); // the view learns of it by another row's signal
    model.item(row, 2)->setText(status);
}

QImage TestQueueView::onScreen()
{
    const QPoint corner = view->viewport()->mapTo(view.get(), QPoint(0, 0));
    return view->screen()
        ->grabWindow(view->winId(), corner.x(), corner.y(), view->viewport()->width(),
                     view->viewport()->height())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

void TestQueueView::repaintsChangedRow_data()
{
    QTest::addColumn<int>("row"); // negative: the last on the screen, cut by its edge
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("role");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("first row") << 0 << 2 << int(Qt::DisplayRole) << QVariant(u"90 %"_s);
    QTest::newRow("last row") << -1 << 2 << int(Qt::DisplayRole) << QVariant(u"90 %"_s);
    QTest::newRow("name") << 3 << 0 << int(Qt::DisplayRole) << QVariant(u"x"_s);
    QTest::newRow("size") << 3 << 1 << int(Qt::DisplayRole) << QVariant(u"2.00 KB"_s);
    QTest::newRow("status") << 3 << 2 << int(Qt::DisplayRole) << QVariant(u"90 %"_s);
    QTest::newRow("colour") << 3 << 0 << int(Qt::ForegroundRole) << QVariant(QBrush(Qt::red));
    QPixmap square(16, 16);
    square.fill(Qt::blue);
    QTest::newRow("icon") << 3 << 0 << int(Qt::DecorationRole) << QVariant(QIcon(square));
}

void TestQueueView::repaintsChangedRow()
{
    QFETCH(int, row);
    QFETCH(const int, column);
    QFETCH(const int, role);
    QFETCH(const QVariant, value);
    if (row < 0) {
        const int height = view->visualRect(model.index(0, 0)).height();
        view->resize(view->width(),
                     view->height() + height / 2 - view->viewport()->height() % height);
        QCoreApplication::processEvents();
        style->bars = 0;
        row = view->indexAt({1, view->viewport()->height() - 1}).row();
    }
    const QImage before = onScreen();
    model.setData(model.index(row, column), value, role);
    QTRY_VERIFY(style->bars > 0);
    QVERIFY(style->bars <= 3); // its neighbours, too
    QVERIFY(onScreen() != before);
    QCOMPARE(onScreen(), view->viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32));
}

void TestQueueView::changesBetweenRepaints_data()
{
    QTest::addColumn<QString>("second");
    QTest::addColumn<int>("painted"); // share of the row in percent
    QTest::addColumn<int>("scrolled"); // rows
    QTest::newRow("half painted for another reason") << u"90 %"_s << 50 << 0;
    QTest::newRow("painted for another reason, changed back") << u"10 %"_s << 100 << 0;
    QTest::newRow("scrolled to where the like was") << u"10 %"_s << 0 << 1;
}

void TestQueueView::changesBetweenRepaints()
{
    QFETCH(const QString, second);
    QFETCH(const int, painted);
    QFETCH(const int, scrolled);
    setStatus(3, u"90 %"_s);
    const QRect row = view->visualRect(model.index(3, 0));
    if (scrolled)
        view->repaintChanged();
    else
        view->viewport()->repaint(0, row.top(), view->viewport()->width(),
                                  row.height() * painted / 100);
    QCoreApplication::processEvents();
    view->verticalScrollBar()->setValue(scrolled);
    QCoreApplication::processEvents();
    setStatus(3, second);
    view->repaintChanged();
    QCoreApplication::processEvents();
    QCOMPARE(onScreen(), view->viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32));
}

QTEST_MAIN(TestQueueView)
#include "test_queueview.moc"
