// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/queueview.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QHelpEvent>
#include <QIcon>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QShortcut>
#include <QStyledItemDelegate>
#include <QToolTip>

#include <algorithm>

#include "ui/queueheader.h"
#include "ui/statusdelegate.h"

using namespace Qt::StringLiterals;

namespace {

/// The content of a row according to the model.
QVariantList contentsOf(const QModelIndex &index)
{
    QVariantList contents{index.data(Qt::DecorationRole).value<QIcon>().cacheKey(),
                          index.data(Qt::ForegroundRole)};
    for (int column = 0; column < index.model()->columnCount(); ++column)
        contents << index.siblingAtColumn(column).data();
    return contents;
}

/// Makes rows higher than their texts, and aligns sizes to the right.
class RowDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override
    {
        const QSize hint = QStyledItemDelegate::sizeHint(option, index);
        return hint.expandedTo({0, option.fontMetrics.height() * 7 / 4});
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        brightenOnDark(option);
        if (index.column() != QueueHeader::sizeColumn)
            return;
        option->displayAlignment = Qt::AlignRight | Qt::AlignVCenter;
        option->text += QueueHeader::gap;
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
        option->font.setFeature("tnum", 1); // older versions take the digits that the font prefers
#endif
    }
};

/// Other programs may propose a move, and would delete their file after it. The view refuses moves
/// from outside, since its model does not offer them, and accepts other drops as they are proposed.
void proposeCopy(QDropEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->setDropAction(Qt::CopyAction);
}

} // namespace

QueueView::QueueView(QWidget *parent)
    : QTreeView(parent)
{
    setHeader(new QueueHeader(this));
    setItemDelegate(new RowDelegate(this));
    setSelectionMode(ExtendedSelection);
    new QShortcut(Qt::SHIFT | Qt::Key_F10, this, this, &QueueView::showMenu, Qt::WidgetShortcut);
    repaintTimer.setSingleShot(true);
    repaintTimer.setInterval(100);
    connect(&repaintTimer, &QTimer::timeout, this, &QueueView::repaintChanged);
    connect(this, &QueueView::collapsed, this, &QueueView::deselectFilesOf);
}

void QueueView::setModel(QAbstractItemModel *model)
{
    QTreeView::setModel(model);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &QueueView::selectSuccessor);
}

void QueueView::setHint(const QString &text)
{
    hint = text;
    setAccessibleDescription(text);
    viewport()->update();
}

void QueueView::keyboardSearch(const QString &search)
{
    const QList<QAction *> all = actions();
    const bool taken = std::any_of(all.cbegin(), all.cend(), [&search](const QAction *action) {
        return !action->isEnabled()
               && action->shortcut().toString().compare(search, Qt::CaseInsensitive) == 0;
    });
    if (!taken)
        QTreeView::keyboardSearch(search);
}

void QueueView::rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end)
{
    hadSelection = selectionModel()->hasSelection();
    QTreeView::rowsAboutToBeRemoved(parent, start, end);
}

/// When the last selected row has been removed, the row that is current now is selected.
void QueueView::selectSuccessor()
{
    if (hadSelection && !selectionModel()->hasSelection() && currentIndex().isValid())
        setCurrentIndex(currentIndex());
}

/// No command may reach rows that are folded away. The current one gives way to its job.
void QueueView::deselectFilesOf(const QModelIndex &job)
{
    QItemSelectionModel *chosen = selectionModel();
    const QModelIndex last = model()->index(model()->rowCount(job) - 1, 0, job);
    const bool wasCurrent = currentIndex().isValid() && currentIndex().parent() == job;
    if (last.isValid())
        chosen->select(QItemSelection(last.siblingAtRow(0), last),
                       QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
    if (wasCurrent && chosen->hasSelection())
        chosen->setCurrentIndex(job, QItemSelectionModel::NoUpdate);
    else if (wasCurrent)
        setCurrentIndex(job);
}

void QueueView::dragEnterEvent(QDragEnterEvent *event)
{
    proposeCopy(event);
    QTreeView::dragEnterEvent(event);
    proposeCopy(event);
}

void QueueView::dragMoveEvent(QDragMoveEvent *event)
{
    proposeCopy(event);
    QTreeView::dragMoveEvent(event);
    proposeCopy(event);
}

void QueueView::dropEvent(QDropEvent *event)
{
    proposeCopy(event);
    QTreeView::dropEvent(event);
    proposeCopy(event);
}

void QueueView::paintEvent(QPaintEvent *event)
{
    QTreeView::paintEvent(event);
    if (!model() || model()->rowCount() != 0)
        return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    const int margin = fontMetrics().height();
    painter.drawText(viewport()->rect().adjusted(margin, margin, -margin, -margin),
                     Qt::AlignCenter | Qt::TextWordWrap, hint);
}

void QueueView::dataChanged(const QModelIndex & /*topLeft*/, const QModelIndex & /*bottomRight*/,
                            const QList<int> & /*roles*/)
{
    if (!repaintTimer.isActive())
        repaintTimer.start();
}

void QueueView::repaintChanged()
{
    const int bottom = viewport()->height();
    for (QModelIndex row = indexAt(QPoint(0, 0)); row.isValid(); row = indexBelow(row)) {
        row = row.siblingAtColumn(0);
        const QRect place = visualRect(row);
        if (place.top() >= bottom)
            return;
        QVariantList &known = shown[place.top()];
        const QVariantList contents = contentsOf(row);
        if (known == contents)
            continue;
        known = contents;
        // A style may draw a progress bar one line beyond its cell.
        viewport()->update(0, place.top() - 1, viewport()->width(), place.height() + 2);
    }
}

bool QueueView::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QTreeView::viewportEvent(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    const QModelIndex index = indexAt(help->pos());
    const QRect cell = visualRect(index);
    const bool fits = sizeHintForIndex(index).width() <= cell.width();
    // A paragraph is broken into lines, and escaping keeps a name from being read as HTML.
    const QString text = u"<p>"_s + index.data().toString().toHtmlEscaped() + u"</p>"_s;
    QToolTip::showText(help->globalPos(), fits ? QString() : text, viewport(), cell);
    return true;
}

void QueueView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        showMenu();
    else
        showMenuAt(event->globalPos());
}

/// Below the current row.
void QueueView::showMenu()
{
    const QRect seen = visualRect(currentIndex()) & viewport()->rect();
    showMenuAt(viewport()->mapToGlobal(seen.isEmpty() ? QPoint() : seen.bottomLeft()));
}

void QueueView::showMenuAt(const QPoint &place)
{
    emit aboutToShowMenu();
    QMenu::exec(actions(), place, nullptr, this);
    emit menuClosed();
}

void QueueView::drawRow(QPainter *painter, const QStyleOptionViewItem &option,
                        const QModelIndex &index) const
{
    QTreeView::drawRow(painter, option, index);
    // The row may have changed since repaintChanged() looked, and only a part may be painted.
    const auto known = shown.constFind(option.rect.top());
    if (known != shown.cend() && *known != contentsOf(index))
        shown.erase(known);
}

void QueueView::scrollContentsBy(int dx, int dy)
{
    shown.clear();
    QTreeView::scrollContentsBy(dx, dy);
}
