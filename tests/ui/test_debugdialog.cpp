// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <thread>
#include <vector>

#include "support/case.h"
#include "support/files.h"
#include "ui/debugdialog.h"

using namespace Qt::StringLiterals;

namespace {

const QString greeting =
    u"Use the program like you normally do. Debug messages will appear here:\n\n"_s;

/// The window, shown, and what has come since then.
struct World {
    World()
    {
        qSetMessagePattern(QString());
        window->setVisible(true);
        begin = whole().size() + 1; // a platform may have to say a word about a window
    }
    ~World() { delete window; }
    Q_DISABLE_COPY_MOVE(World)

    [[nodiscard]] QString whole() const { return edit()->toPlainText(); }
    [[nodiscard]] QPlainTextEdit *edit() const { return window->findChild<QPlainTextEdit *>(); }
    [[nodiscard]] QString log() const { return whole().mid(begin); }
    void click(QDialogButtonBox::StandardButton button) const
    {
        QTest::mouseClick(window->findChild<QDialogButtonBox *>()->button(button), Qt::LeftButton);
    }

    QPointer<DebugDialog> window = DebugDialog::instance(nullptr);
    qsizetype begin = 0;
};

const Case life("shows what is logged while it exists, closed or not", [] {
    const QtMessageHandler before = qInstallMessageHandler(nullptr);
    qDebug("too early");
    {
        const World t;
        QCOMPARE(DebugDialog::instance(nullptr), t.window);
        QVERIFY(t.whole().startsWith(greeting) && !t.whole().contains("early"_L1));
        qDebug("open");
        t.click(QDialogButtonBox::Close);
        QVERIFY(!t.window->isVisible());
        qDebug("closed");
        QCOMPARE(t.log(), u"open\nclosed"_s);
    }
    QVERIFY(qInstallMessageHandler(before) != before); // the window's has gone with it
});

struct Line {
    const char *name;
    QtMsgType type = QtDebugMsg;
    QString message = u"a"_s;
    QString shown = {};
};
const QString longest(10'000, u'x');
const Line lines[] = {
    {"not Latin", QtDebugMsg, u"größe \u65e5"_s, u"größe \u65e5"_s},
    {"information", QtInfoMsg, u"a"_s, u"a"_s},
    {"warning", QtWarningMsg, u"a"_s, u"WARNING: a"_s},
    {"critical", QtCriticalMsg, u"a"_s, u"CRITICAL: a"_s},
    {"fatal", QtFatalMsg, u"a"_s, u"FATAL: a"_s},
    {"no markup", QtDebugMsg, u"<b>a</b>\nb"_s, u"<b>a</b>\nb"_s},
    // In full it would take more than half a minute.
    {"endless", QtDebugMsg, longest.repeated(100), QStringList(100, longest).join(u'\n')},
};
const Case line("a line", lines, [](const Line &row) {
    const World t;
    t.window->appendMessage(row.type, row.message);
    QCOMPARE(t.log(), row.shown);
});

// Joined without the event loop, as by the destructor of what they belong to: none may wait for it.
const Case workers("workers log in order, and none waits for the window", [] {
    constexpr int count = 500;
    const World t;
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number) {
        threads.emplace_back([number] {
            for (int i = 0; i < count; ++i)
                qWarning("worker %d tells %d", number, i);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QTRY_COMPARE(t.log().count(u'\n') + 1, 3 * count);
    for (int number = 0; number < 3; ++number) {
        QStringList expected;
        for (int i = 0; i < count; ++i)
            expected << u"WARNING: worker %1 tells %2"_s.arg(number).arg(i);
        QCOMPARE(t.log().split(u'\n').filter(u"worker %1"_s.arg(number)), expected);
    }
    // Not by qDebug() here, which would keep the second one from the window by itself.
    QObject::connect(t.edit(), &QPlainTextEdit::textChanged, t.window,
                     [&t] { t.window->appendMessage(QtWarningMsg, u"within"_s); });
    t.window->appendMessage(QtDebugMsg, u"last"_s);
    QVERIFY(t.log().endsWith("\nlast"_L1));
});

struct Save {
    const char *name;
    QString path;
};
const QTemporaryDir dir;
const Save saves[] = {{"into a file", dir.filePath(u"log.txt"_s)},
                      {"nowhere", {}},
                      {"where nobody can write", u"/proc/log.txt"_s}};
const Case save("saves the log", saves, [](const Save &row) {
    const World t;
    qDebug().noquote() << u"größe \u65e5"_s;
    QTimer::singleShot(0, t.window, [&row] {
        QWidget *dialog = nullptr;
        QTRY_VERIFY((dialog = QApplication::activeModalWidget()));
        QCOMPARE(dialog->windowTitle(), u"Save log file"_s);
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(row.path);
        const auto role = row.path.isEmpty() ? QDialogButtonBox::Cancel : QDialogButtonBox::Save;
        dialog->findChild<QDialogButtonBox *>()->button(role)->click();
    });
    t.click(QDialogButtonBox::Save);
    QVERIFY(t.window->isVisible() && t.log().startsWith(u"größe \u65e5"_s));
    if (row.path.startsWith(dir.path()))
        QVERIFY(contentsOf(row.path).contains("\ngr\xf6\xdf"
                                              "e ?"));
});

const Case deleted("goes while workers log", [] {
    qSetMessagePattern(QString()); // for what then goes to stderr
    for (int round = 0; round < 10; ++round) {
        std::atomic<bool> stop = false;
        std::thread worker([&] {
            for (; !stop; QThread::usleep(1))
                qDebug("still here");
        });
        const auto end = qScopeGuard([&] { stop = true, worker.join(); });
        QPointer<DebugDialog> window = DebugDialog::instance(nullptr);
        QTRY_VERIFY(window->findChild<QPlainTextEdit *>()->toPlainText().contains("here"_L1));
        delete window;
    }
});

} // namespace
