// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// The windows in each language: what it says, what room it has for that, what a screen reader gets.
#include <QTranslator>
#include <QtWidgets>

#include "engine/enginefixture.h"
#include "support/case.h"
#include "ui/debugdialog.h"
#include "ui/mainwindow.h"
#include "ui/settingswindow.h"
#include "ui/translations.h"

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
        QVERIFY2(!isBad && !isCut && widget->objectName() != "qt_toolbar_ext_button",
                 qPrintable(name));
    }
    for (int child = 0; child < part->childCount(); ++child)
        inspect(part->child(child), said);
}

/// What a user hears who opens the windows, the settings with each of their tabs on top.
QStringList visitWindows()
{
    QStringList said;
    const auto visit = [&](QWidget *window) {
        window->show();
        QCoreApplication::processEvents();
        inspect(QAccessible::queryAccessibleInterface(window), said);
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
    visit(std::unique_ptr<DebugDialog>(DebugDialog::instance(nullptr)).get());
    return said;
}

const struct Language {
    const char *name, *same; ///< words that are the same in English
} languages[] = {{"de", "Downloads|Hostname:|Pause|Server|Status"},
                 {"en_GB", ".*"},
                 {"es", "No"},
                 {"fr_BE", "Pause"},
                 {"it", ".*"}, // which Qt knows alone
                 {"nl", "Downloads|Parameters:|Server|Status"}};
const Case windows("a window speaks, has room and can be heard", languages, [](auto &language) {
    const QStringList english = visitWindows();
    installTranslations(QLocale(language.name));
    const QStringList said = visitWindows();
    qDeleteAll(qApp->findChildren<QTranslator *>());
    const QString same = "OK|Marlowick|[^a-z]*| *0.0 Mbit/s *|" + QString(language.same);
    const QRegularExpression pattern(QRegularExpression::anchoredPattern(same));
    QCOMPARE(said.size(), english.size());
    QCOMPARE(said == english, same.endsWith("*"));
    for (qsizetype i = 0; i < said.size(); ++i)
        QVERIFY2(said[i] != english[i] || pattern.match(said[i]).hasMatch(), qPrintable(said[i]));
});
