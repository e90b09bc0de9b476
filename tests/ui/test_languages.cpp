// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// Each window in each language: what it says, what room it has for that, what a screen reader gets.
#include <QTranslator>
#include <QtWidgets>

#include "engine/marlowick.h"
#include "support/case.h"
#include "support/files.h"
#include "ui/debugdialog.h"
#include "ui/deletedialog.h"
#include "ui/mainwindow.h"
#include "ui/settingswindow.h"
#include "ui/translations.h"

using namespace Qt::StringLiterals;

namespace {

struct Language {
    const char *name;
    const char *same; ///< words that are the same in English
    int zeroLike; ///< the number whose form zero takes
    double letters = 1;
};
const Language languages[] = {{"de", "Downloads|Hostname:|Pause|Server|Status", 2},
                              {"en", ".*", 2},
                              {"es", "No", 2},
                              {"fr", "Pause", 1},
                              {"nl", "Downloads|Parameters:|Server|Status", 2}};

void speak(const char *language)
{
    qDeleteAll(QCoreApplication::instance()->findChildren<QTranslator *>());
    installTranslations(QLocale(QString::fromLatin1(language)));
}

/// What the code relies on in a text: places for values, markup, file patterns, blanks at its ends.
QStringList fixedParts(const QString &text)
{
    static const QRegularExpression pattern(u"%[0-9n]|<[^>]*>|\\(\\*[^)]*\\)|^ +| +$|\n"_s);
    QStringList parts;
    for (const QRegularExpressionMatch &match : pattern.globalMatch(text))
        parts << match.captured();
    parts.sort();
    return parts;
}

/// The program says each text as it stands in the file, with a number in the form for that.
const Case texts("texts", languages, [](const Language &language) {
    speak(language.name);
    QFile file(QStringLiteral(MARLOWICK_TRANSLATIONS "/marlowick_%1.ts")
                   .arg(QLatin1StringView(language.name)));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QMap<QString, QByteArray> of;
    qsizetype form = 0;
    for (QXmlStreamReader xml(&file); !xml.atEnd();) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QString element = xml.name().toString();
        if (element == "message"_L1) {
            of.remove(u"comment"_s);
            form = xml.attributes().hasAttribute("numerus"_L1) ? 1 : 0;
        } else if (element == "name"_L1 || element == "source"_L1 || element == "comment"_L1) {
            of[element] = xml.readElementText().toUtf8();
        } else if (element == "numerusform"_L1 || (element == "translation"_L1 && form == 0)) {
            const QString text = xml.readElementText();
            QCOMPARE(fixedParts(text), fixedParts(QString::fromUtf8(of[u"source"_s])));
            QVERIFY(!text.endsWith(" %"_L1)); // the mark of a progress bar
            QList<int> numbers = QList<QList<int>>{{-1}, {1}, {2, 5}}.value(form);
            if (form == language.zeroLike)
                numbers << 0;
            for (const int number : numbers)
                QCOMPARE(QCoreApplication::translate(of[u"name"_s].constData(),
                                                     of[u"source"_s].constData(),
                                                     of[u"comment"_s].constData(), number),
                         text);
            ++form;
        }
    }
});

/// Each window as a user sees it, the settings with each of their tabs on top.
void visitWindows(const std::function<void(QWidget *)> &visit)
{
    const QTemporaryDir dir;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
    QVERIFY(QDir(dir.path()).mkdir(u"Marlowick"_s));
    writeFile(dir.filePath(u"Marlowick/Marlowick.ini"_s),
              "hostname=host\nthreads=0\nnetworkTimeout=20\nnetworkRetry=1\ndownloadFolder=/tmp\n");
    MainWindow window;
    window.show();
    QCoreApplication::processEvents();
    visit(&window);
    SettingsWindow settings(window.findChild<Marlowick *>(), nullptr);
    settings.show();
    auto *tabs = settings.findChild<QTabWidget *>();
    for (int tab = 0; tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        QCoreApplication::processEvents();
        visit(&settings);
    }
    QTimer::singleShot(0, &window, [&] {
        visit(QApplication::activeModalWidget());
        QApplication::activeModalWidget()->close();
    });
    QCOMPARE(DeleteDialog::ask(), int(QMessageBox::Cancel));
    const std::unique_ptr<DebugDialog> log(DebugDialog::instance(nullptr));
    log->show();
    QCoreApplication::processEvents();
    visit(log.get());
}

/// All that @p part and what is in it tells a screen reader. What takes the focus needs a name and
/// a role, a button the focus, an answer its question, and a number behind a colon its unit.
QStringList heard(QAccessibleInterface *part)
{
    const QString name = part->text(QAccessible::Name);
    const QString description = part->text(QAccessible::Description);
    const QAccessible::Role role = part->role();
    const bool isButton = role == QAccessible::PushButton || role == QAccessible::RadioButton;
    const bool needsMore =
        role == QAccessible::RadioButton || (role == QAccessible::SpinBox && name.endsWith(u':'));
    const bool isBad = part->state().focusable
                           ? name.trimmed().isEmpty() || role == QAccessible::Client
                           : isButton;
    if (!part->state().invisible && !part->state().disabled
        && (isBad || (needsMore && description.isEmpty())))
        QTest::qFail(qPrintable(u"a screen reader lacks something: "_s
                                + part->object()->objectName() + name),
                     __FILE__, __LINE__);
    QStringList all{name, description};
    for (int child = 0; child < part->childCount(); ++child)
        all += heard(part->child(child));
    return all;
}

const Case speech("nothing on screen stays English", languages, [](const Language &language) {
    QStringList english, translated;
    speak("C");
    visitWindows(
        [&](QWidget *window) { english += heard(QAccessible::queryAccessibleInterface(window)); });
    speak(language.name);
    visitWindows([&](QWidget *window) {
        translated += heard(QAccessible::queryAccessibleInterface(window));
    });
    QCOMPARE(translated.size(), english.size());
    const QRegularExpression same(QRegularExpression::anchoredPattern(
        u"OK|Marlowick|[^a-z]*| *0.0 Mbit/s *|"_s + QLatin1StringView(language.same)));
    for (qsizetype i = 0; i < english.size(); ++i)
        QVERIFY2(translated[i] != english[i] || same.match(english[i]).hasMatch(),
                 qPrintable(english[i]));
});

/// Texts that have less room than they want, and keys that two of them claim.
QStringList faultsOf(const QWidget *window)
{
    QStringList faults, keys;
    const QList<QWidget *> widgets = window->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const QString text = widget->property("text").toString();
        const QRect seen = widget->visibleRegion().boundingRect();
        const QSize wanted = widget->sizeHint();
        const bool isBox = qobject_cast<const QGroupBox *>(widget);
        const bool speaks = isBox || qobject_cast<const QLabel *>(widget)
                            || qobject_cast<const QAbstractButton *>(widget)
                            || qobject_cast<const QTabBar *>(widget);
        if (!widget->isVisible())
            continue;
        if (widget->objectName() == "qt_toolbar_ext_button"_L1
            || (speaks
                && (wanted.width() > seen.width() || (wanted.height() > seen.height() && !isBox))))
            faults << u"cut: "_s + widget->objectName() + u' ' + text;
        if (const auto *header = qobject_cast<const QHeaderView *>(widget)) {
            for (int i = 0; i < header->count(); ++i)
                faults += QStringList(u"cut column"_s)
                              .mid(header->sectionSizeHint(i) > header->sectionSize(i) ? 0 : 1);
        }
        const QString key = QKeySequence::mnemonic(text).toString();
        if (!key.isEmpty() && keys.contains(key))
            faults << u"claimed twice: "_s + key;
        keys << key;
    }
    return faults;
}

const Language sizes[] = {{"de", "", 2}, {"es", "", 2},      {"fr", "", 2},
                          {"nl", "", 2}, {"en", "", 2, 1.3}, {"en, huge", "", 2, 2.5}};
const Case room("room", sizes, [](const Language &language) {
    const QFont usual = QApplication::font();
    QFont font = usual;
    font.setPointSizeF(usual.pointSizeF() * language.letters);
    speak(language.name);
    QApplication::setFont(font);
    visitWindows([&](QWidget *window) {
        heard(QAccessible::queryAccessibleInterface(window)); // other buttons may have come
        QCOMPARE(window->size().boundedTo(window->screen()->availableSize()), window->size());
        QCOMPARE(language.letters > 2 ? QStringList() : faultsOf(window), QStringList());
    });
    QApplication::setFont(usual);
});

const struct {
    const char *name;
    const char *file, *cancel;
} locales[] = {
    {"de_AT", "Datei", "Abbrechen"}, {"it_IT", "File", "Cancel"}, {"C", "File", "Cancel"}};
const Case others("a locale without a file of its own", locales, [](const auto &locale) {
    speak(locale.name);
    QCOMPARE(QCoreApplication::translate("NzbModel", "File"), QLatin1StringView(locale.file));
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"),
             QLatin1StringView(locale.cancel));
});

} // namespace
