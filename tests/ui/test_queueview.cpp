// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QHelpEvent>
#include <QProxyStyle>
#include <QScreen>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>

#include <algorithm>
#include <cmath>

#include "ui/queueview.h"
#include "ui/statusdelegate.h"

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

/// Relative luminance as of WCAG 2.1, which wants a contrast of 4.5 between a text and its ground.
double luminance(QRgb color)
{
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    const QColor parts(color);
    return 0.2126 * linear(parts.redF()) + 0.7152 * linear(parts.greenF())
           + 0.0722 * linear(parts.blueF());
}

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
    void readableOnDark_data();
    void readableOnDark();
    void toolTipHoldsWhatIsCut();

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
    view->setItemDelegateForColumn(2, new StatusDelegate(view.get()));
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

void TestQueueView::readableOnDark_data()
{
    QTest::addColumn<QColor>("ground");
    for (const char *ground : {"#000000", "#1b1e20", "#2d2d2d", "#3d3d3d"})
        QTest::newRow(ground) << QColor(QLatin1StringView(ground));
}

void TestQueueView::readableOnDark()
{
    QFETCH(const QColor, ground);
    QPalette dark = view->palette();
    dark.setColor(QPalette::Base, ground);
    view->setPalette(dark);
    for (const int column : {0, 2}) {
        const QModelIndex index = model.index(0, column);
        model.setData(index, QBrush(Qt::red), Qt::ForegroundRole);
        model.setData(index, u"\u2588\u2588\u2588\u2588"_s);
        const QImage picture = view->viewport()->grab(view->visualRect(index)).toImage();
        double highest = 0;
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, picture.height() / 2);
            if (qRed(pixel) > qBlue(pixel))
                highest = std::max(highest, luminance(pixel));
        }
        QCOMPARE_GE((highest + 0.05) / (luminance(ground.rgb()) + 0.05), 4.5);
    }
}

void TestQueueView::toolTipHoldsWhatIsCut()
{
    const auto hoverOver = [this](const QModelIndex &index) {
        const QPoint place = view->visualRect(index).center();
        QHelpEvent event(QEvent::ToolTip, place, view->viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(view->viewport(), &event);
    };
    for (const int column : {0, 2}) {
        const QString text = u"<i>Damaged</i> & beyond repair "_s.repeated(20).trimmed();
        const QModelIndex index = model.index(0, column);
        model.setData(index, text);
        hoverOver(index);
        QCOMPARE(QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText(), text);
        hoverOver(index.siblingAtColumn(1));
        QTRY_VERIFY(!QToolTip::isVisible());
    }
}

QTEST_MAIN(TestQueueView)
#include "test_queueview.moc"
