// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QtWidgets>

#include <atomic>
#include <thread>

#include "support/case.h"
#include "support/files.h"
#include "ui/debugdialog.h"

using namespace Qt::StringLiterals;

namespace {

/// The window, shown, and what has come since then.
struct World {
    World()
    {
        qSetMessagePattern(QString());
        window->setVisible(true);
        begin = edit->toPlainText().size() + 1; // a platform may have to say a word about a window
    }
    ~World() { delete window; }
    Q_DISABLE_COPY_MOVE(World)

    [[nodiscard]] QString log() const { return edit->toPlainText().mid(begin); }
    void click(QDialogButtonBox::StandardButton button) const
    {
        QTest::mouseClick(window->findChild<QDialogButtonBox *>()->button(button), Qt::LeftButton);
    }

    QPointer<DebugDialog> window = DebugDialog::instance(nullptr);
    QPlainTextEdit *edit = window->findChild<QPlainTextEdit *>();
    qsizetype begin = 0;
};

const Case life("shows what is logged while it exists, closed or not", [] {
    const QtMessageHandler before = qInstallMessageHandler(nullptr);
    qDebug("too early");
    {
        const World t;
        QCOMPARE(DebugDialog::instance(nullptr), t.window);
        QVERIFY(!t.edit->toPlainText().contains("early"_L1));
        qDebug("open");
        t.click(QDialogButtonBox::Close);
        QVERIFY(!t.window->isVisible());
        qDebug("closed");
        QCOMPARE(t.log(), u"open\nclosed"_s);
    }
    QVERIFY(qInstallMessageHandler(before) != before); // the window's has gone with it
});

const Case lines("lines of each kind", [] {
    const World t;
    const QString longest(10'000, u'x');
    t.window->appendMessage(QtDebugMsg, u"größe \u65e5"_s);
    t.window->appendMessage(QtInfoMsg, u"<b>a</b>"_s);
    t.window->appendMessage(QtWarningMsg, u"b"_s);
    t.window->appendMessage(QtCriticalMsg, u"c"_s);
    t.window->appendMessage(QtFatalMsg, u"d"_s);
    t.window->appendMessage(QtDebugMsg, longest.repeated(100)); // in full for half a minute
    QCOMPARE(t.log(), u"größe \u65e5\n<b>a</b>\nWARNING: b\nCRITICAL: c\nFATAL: d\n"_s
                          + QStringList(100, longest).join(u'\n'));
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
    QObject::connect(t.edit, &QPlainTextEdit::textChanged, t.window,
                     [&t] { t.window->appendMessage(QtWarningMsg, u"within"_s); });
    t.window->appendMessage(QtDebugMsg, u"last"_s);
    QVERIFY(t.log().endsWith("\nlast"_L1));
});

const Case save("saves the log", [] {
    const World t;
    const QTemporaryDir dir;
    qDebug().noquote() << u"größe \u65e5"_s;
    for (const QString &path : {dir.filePath(u"log.txt"_s), QString(), u"/proc/log.txt"_s}) {
        QTimer::singleShot(0, t.window, [path] {
            QTRY_VERIFY(QApplication::activeModalWidget());
            QWidget *dialog = QApplication::activeModalWidget();
            dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
            QTest::keyClick(dialog, path.isEmpty() ? Qt::Key_Escape : Qt::Key_Return);
        });
        t.click(QDialogButtonBox::Save);
        QVERIFY(t.window->isVisible() && t.log().startsWith(u"größe \u65e5"_s));
    }
    QVERIFY(contentsOf(dir.filePath(u"log.txt"_s)).contains("\ngr\xf6\xdf\x65 ?"));
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
