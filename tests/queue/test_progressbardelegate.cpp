// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QProxyStyle>
#include <QStandardItemModel>
#include <QStyleOptionProgressBar>
#include <QTest>

#include <optional>

#include "queue/progressbardelegate.h"
#include "support/rows.h"

using namespace Qt::StringLiterals;

namespace {

/// Keeps the last progress bar that it was asked for.
class RecordingStyle final : public QProxyStyle {
public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        if (element == CE_ProgressBar) {
            bar = *qstyleoption_cast<const QStyleOptionProgressBar *>(option);
            onWidget = widget;
        }
        QProxyStyle::drawControl(element, option, painter, widget);
    }
    mutable std::optional<QStyleOptionProgressBar> bar;
    mutable bool onWidget = false;
};

} // namespace

class TestProgressbarDelegate final : public QObject {
    Q_OBJECT

private slots:
    void drawsPercentagesAsBars_data();
    void drawsPercentagesAsBars();
};

void TestProgressbarDelegate::drawsPercentagesAsBars_data()
{
    // progress: -1: plain text
    const auto row = rows<QString, int>();
    row("percentage", {u"45 %"_s, 45});
    row("above 100", {u"250 %"_s, 250});
    row("no number", {u" %"_s, 0});
    row("number among words", {u"done 12 %"_s, 0});
    row("no blank", {u"45%"_s, -1});
    row("more behind it", {u"45 % "_s, -1});
    row("word", {u"Finished"_s, -1});
    row("nothing", {QString(), -1});
}

void TestProgressbarDelegate::drawsPercentagesAsBars()
{
    const auto [text, progress] = thisRow<QString, int>();
    auto *style = new RecordingStyle; // the application owns it
    QApplication::setStyle(style);
    QStandardItemModel model;
    model.appendRow(new QStandardItem(text));
    QStyleOptionViewItem cell;
    cell.rect = QRect(10, 20, 80, 18);
    cell.state = QStyle::State_Enabled | QStyle::State_Selected;
    QImage image(100, 40, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    ProgressbarDelegate(nullptr).paint(&painter, cell, model.index(0, 0));

    QVERIFY(image.pixelColor(12, 29).alpha() > 0); // bar or selection
    QCOMPARE(style->bar.has_value(), progress >= 0);
    if (!style->bar)
        return;
    QCOMPARE(style->bar->text, text);
    QCOMPARE(style->bar->progress, progress);
    QCOMPARE(std::pair(style->bar->minimum, style->bar->maximum), std::pair(0, 100));
    QCOMPARE(style->bar->rect, cell.rect);
    QCOMPARE(style->bar->state, QStyle::State_Horizontal);
    QVERIFY(style->bar->textVisible && !style->onWidget);
}

QTEST_MAIN(TestProgressbarDelegate)
#include "test_progressbardelegate.moc"
