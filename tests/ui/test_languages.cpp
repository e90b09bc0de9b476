// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Each window in each language: what it says, what room it has for that, what a screen reader gets.
#include <QTranslator>
#include <QtWidgets>

#include "engine/enginefixture.h"
#include "support/case.h"
#include "ui/debugdialog.h"
#include "ui/deletedialog.h"
#include "ui/mainwindow.h"
#include "ui/settingswindow.h"
#include "ui/translations.h"

bool areLettersHuge() { return QApplication::font().pointSize() > 20; }

/// Adds what @p part and all in it tells a screen reader. What takes the focus needs a name and a
/// role, a button the focus, and a name on screen the room for it.
void inspect(QAccessibleInterface *part, QStringList &said)
{
    const QString name = part->text(QAccessible::Name);
    said << name << part->text(QAccessible::Description);
    const auto state = part->state();
    const auto *widget = qobject_cast<const QWidget *>(part->object());
    if (widget && !state.invisible && !state.disabled) {
        const bool isBad = state.focusable
                               ? name.trimmed().isEmpty() || part->role() == QAccessible::Client
                               : part->role() == QAccessible::PushButton;
        const QSize seen = widget->visibleRegion().boundingRect().size();
        const bool isCut = seen.expandedTo(widget->minimumSizeHint()) != seen && !name.isEmpty();
        QVERIFY2(!isBad && (!isCut || areLettersHuge()), qPrintable(widget->objectName() + name));
        QVERIFY(widget->objectName() != "qt_toolbar_ext_button" || areLettersHuge());
    }
    for (int child = 0; child < part->childCount(); ++child)
        inspect(part->child(child), said);
}

/// What a user hears who opens each window, the settings with each of their tabs on top.
QStringList visitWindows()
{
    QStringList said;
    const auto visit = [&](QWidget *window) {
        window->show();
        QCoreApplication::processEvents();
        inspect(QAccessible::queryAccessibleInterface(window), said);
        QCOMPARE(window->size().boundedTo(window->screen()->availableSize()), window->size());
    };
    EngineFixture t;
    QDir().mkpath(t.downloads());
    t.engine->settings()->sync();
    MainWindow window;
    visit(&window);
    SettingsWindow settings(t.engine.get(), nullptr);
    auto *tabs = settings.findChild<QTabWidget *>();
    for (int tab = 0; tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        visit(&settings);
    }
    QTimer::singleShot(0, &window, [&] {
        visit(QApplication::activeModalWidget());
        QApplication::activeModalWidget()->close();
    });
    static_cast<void>(DeleteDialog::ask());
    visit(std::unique_ptr<DebugDialog>(DebugDialog::instance(nullptr)).get());
    return said;
}

const struct Language {
    const char *name, *same; ///< words that are the same in English
    double letters = 1;
} languages[] = {{"de", "Downloads|Hostname:|Pause|Server|Status"},
                 {"en_GB", ".*"},
                 {"es", "No"},
                 {"fr_BE", "Pause"},
                 {"it, which Qt knows alone", ".*", 1.3},
                 {"nl", "Downloads|Parameters:|Server|Status"},
                 {"huge", ".*", 2.5}};
const Case windows("a window speaks, has room and can be heard", languages, [](auto &language) {
    const QStringList english = visitWindows();
    const QFont usual = QApplication::font();
    QFont font = usual;
    font.setPointSizeF(usual.pointSizeF() * language.letters);
    QApplication::setFont(font);
    installTranslations(QLocale(QString(language.name).section(',', 0, 0)));
    const QStringList said = visitWindows();
    qDeleteAll(qApp->findChildren<QTranslator *>());
    const bool hasAll = !areLettersHuge(); // other buttons come otherwise
    QApplication::setFont(usual);
    const QString same = "OK|Marlowick|[^a-z]*| *0.0 Mbit/s *|" + QString(language.same);
    const QRegularExpression pattern(QRegularExpression::anchoredPattern(same));
    QCOMPARE(said.size() == english.size(), hasAll);
    QCOMPARE(said == english, same.endsWith("*") && hasAll);
    for (qsizetype i = 0; hasAll && i < said.size(); ++i)
        QVERIFY2(said[i] != english[i] || pattern.match(said[i]).hasMatch(), qPrintable(said[i]));
});

/// Places for values, markup, file patterns, blanks at the ends.
const Case texts("a translation keeps what the code relies on", [] {
    static const QRegularExpression text("<(source|translation|numerusform).*?>([^<\n][^<]*)<");
    static const QRegularExpression fixed("%[0-9n]|&lt;.*?&gt;|\\(\\*.*?\\)|^ +| +$");
    const QDir folder(MARLOWICK_TRANSLATIONS);
    for (const QString &file : folder.entryList({"*.ts"})) {
        QStringList source;
        for (const auto &match : text.globalMatch(contentsOf(folder.filePath(file)))) {
            QStringList parts;
            for (const auto &part : fixed.globalMatch(match.captured(2)))
                parts << part.captured();
            parts.sort();
            if (match.captured(1) == "source")
                source = parts;
            QCOMPARE(parts, source);
        }
    }
});
