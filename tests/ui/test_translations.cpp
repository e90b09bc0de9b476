// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include <QDir>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>
#include <QScrollBar>
#include <QTabBar>
#include <QToolBar>
#include <QTranslator>
#include <QTreeView>
#include <QXmlStreamReader>

#include <optional>

#include "queue/nzb.h"
#include "queue/nzbfile.h"
#include "settingsfixture.h"
#include "ui/debugdialog.h"
#include "ui/deletedialog.h"
#include "ui/mainwindow.h"
#include "ui/translations.h"

using namespace Qt::StringLiterals;

namespace {

struct Message {
    QString source;
    QStringList forms; ///< one unless the text has a number
    bool hasNumber = false;
    bool isFinished = true;
};

QList<Message> readCatalogue(const QString &language)
{
    QFile file(QStringLiteral(MARLOWICK_TRANSLATIONS "/marlowick_%1.ts").arg(language));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&file);
    QList<Message> messages;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == "message"_L1)
            messages.append({{}, {}, xml.attributes().hasAttribute("numerus"_L1)});
        else if (xml.name() == "source"_L1)
            messages.last().source = xml.readElementText();
        else if (xml.name() == "translation"_L1 && xml.attributes().hasAttribute("type"_L1))
            messages.last().isFinished = false;
        if (xml.name() == "numerusform"_L1
            || (xml.name() == "translation"_L1 && !messages.last().hasNumber))
            messages.last().forms << xml.readElementText();
    }
    return messages;
}

/// What the code relies on in a text: places for values, markup, file patterns, blanks at its ends.
QStringList fixedParts(const QString &text)
{
    static const QRegularExpression pattern(u"%[0-9n]|<[^>]*>|\\(\\*[^)]*\\)|^ +| +$|\n"_s);
    QStringList parts;
    for (auto match = pattern.globalMatch(text); match.hasNext();)
        parts << match.next().captured();
    parts.sort();
    return parts;
}

/// All that a window and what is in it says, seen or heard.
QStringList textsOf(const QWidget *window)
{
    constexpr const char *properties[] = {"text",     "title",          "windowTitle",
                                          "toolTip",  "accessibleName", "accessibleDescription",
                                          "plainText"};
    QStringList texts;
    QObjectList objects = window->findChildren<QObject *>();
    objects.prepend(const_cast<QWidget *>(window));
    for (const QObject *object : std::as_const(objects)) {
        if (qobject_cast<const QLineEdit *>(object) || object->inherits("QSpinBox"))
            continue;
        for (const char *property : properties)
            texts << object->property(property).toString();
        if (const auto *tabs = qobject_cast<const QTabBar *>(object)) {
            for (int i = 0; i < tabs->count(); ++i)
                texts << tabs->tabText(i);
        }
        if (const auto *view = qobject_cast<const QTreeView *>(object)) {
            for (int i = 0; i < view->model()->columnCount(); ++i)
                texts << view->model()->headerData(i, Qt::Horizontal).toString();
        }
    }
    return texts;
}

/// Texts of @p window that have less room than they want.
QStringList cutTexts(const QWidget *window)
{
    QStringList cut;
    const QList<QWidget *> widgets = window->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const bool speaks =
            qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget)
            || qobject_cast<const QTabBar *>(widget) || qobject_cast<const QGroupBox *>(widget);
        const QSize wanted = widget->sizeHint();
        const QRect seen = widget->visibleRegion().boundingRect();
        if (widget->isVisible() && widget->objectName() == "qt_toolbar_ext_button"_L1)
            cut << u"buttons of the tool bar"_s;
        if (widget->isVisible() && speaks
            && (wanted.width() > seen.width()
                || (wanted.height() > seen.height() && !qobject_cast<const QGroupBox *>(widget))))
            cut << widget->objectName() + u' ' + widget->property("text").toString();
        if (const auto *header = qobject_cast<const QHeaderView *>(widget)) {
            for (int i = 0; header->isVisible() && i < header->count(); ++i) {
                if (header->sectionSizeHint(i) > header->sectionSize(i))
                    cut << header->model()->headerData(i, Qt::Horizontal).toString();
            }
        }
    }
    return cut;
}

/// Keys that more than one visible widget of @p window claims.
QStringList sharedMnemonics(const QWidget *window)
{
    QStringList keys;
    QStringList shared;
    const QList<QWidget *> widgets = window->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const QString key = QKeySequence::mnemonic(widget->property("text").toString()).toString();
        if (key.isEmpty() || !widget->isVisible())
            continue;
        if (keys.contains(key))
            shared << key;
        keys << key;
    }
    return shared;
}

} // namespace

/// The windows in each language, and the catalogues.
class TestTranslations final : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void catalogue_data() { addLanguages({u"de"_s, u"es"_s, u"fr"_s, u"nl"_s, u"en"_s}); }
    void catalogue();
    void speaks_data();
    void speaks();
    void fits_data() { addLanguages({u"en"_s, u"de"_s, u"es"_s, u"fr"_s, u"nl"_s}); }
    void fits();
    void growsWithLetters();
    void numbers_data();
    void numbers();
    void findsLanguage_data();
    void findsLanguage();

private:
    using Visit = std::function<void(QWidget *)>;
    static void addLanguages(const QStringList &languages);
    void visitWindows(const Visit &visit);

    std::optional<SettingsFixture> settings;
};

void TestTranslations::init()
{
    settings.emplace();
    settings->store(settings->values());
    settings->store({{u"threads"_s, 0}});
}

void TestTranslations::cleanup()
{
    settings.reset();
    qDeleteAll(QCoreApplication::instance()->findChildren<QTranslator *>());
}

void TestTranslations::addLanguages(const QStringList &languages)
{
    QTest::addColumn<QString>("language");
    for (const QString &language : languages)
        QTest::newRow(qPrintable(language)) << language;
}

/// Each window as a user sees it, the settings with each of their tabs on top.
void TestTranslations::visitWindows(const Visit &visit)
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    visit(&window);

    settings->open();
    auto *tabs = settings->find<QTabWidget>(u"tabWidget"_s);
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        QCoreApplication::processEvents();
        visit(settings->dialog.get());
    }
    settings->dialog.reset();

    settings->answerNext = [&visit](QWidget *dialog) {
        visit(dialog);
        QTest::keyClick(dialog, Qt::Key_Escape);
    };
    QCOMPARE(DeleteDialog::ask(), int(QMessageBox::Cancel));
    QVERIFY(!settings->answerNext);

    const std::unique_ptr<DebugDialog> log(DebugDialog::instance(nullptr));
    log->show();
    QVERIFY(QTest::qWaitForWindowExposed(log.get()));
    visit(log.get());
}

void TestTranslations::catalogue()
{
    QFETCH(const QString, language);
    const QList<Message> messages = readCatalogue(language);
    QVERIFY(!messages.isEmpty());
    QStringList wrong;
    for (const Message &message : messages) {
        bool good = message.isFinished && message.forms.size() == (message.hasNumber ? 2 : 1);
        for (const QString &form : message.forms) {
            good = good && !form.isEmpty() && fixedParts(form) == fixedParts(message.source);
            good = good && !form.endsWith(" %"_L1); // the mark of a progress bar
        }
        if (!good)
            wrong << message.source;
    }
    QCOMPARE(wrong.join(u'\n'), QString());
}

void TestTranslations::speaks_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QStringList>("same");
    const auto row = [](const char *language, const QStringList &same) {
        QTest::newRow(language) << QString::fromLatin1(language) << same;
    };
    row("de", {u"Downloads"_s, u"Hostname:"_s, u"Pause"_s, u"Server"_s, u"Status"_s});
    row("es", {u"No"_s});
    row("fr", {u"Pause"_s});
    row("nl", {u"Downloads"_s, u"Parameters:"_s, u"Server"_s, u"Status"_s});
}

/// Nothing on screen stays as it is in English but the words that are the same.
void TestTranslations::speaks()
{
    QFETCH(const QString, language);
    QFETCH(QStringList, same);
    same << u"OK"_s << u".."_s << u"Marlowick"_s << u"  0.0 Mbit/s  "_s;
    QStringList english;
    visitWindows([&english](QWidget *window) { english << textsOf(window); });
    installTranslations(QLocale(language));
    QStringList translated;
    visitWindows([&translated](QWidget *window) { translated << textsOf(window); });
    QCOMPARE(translated.size(), english.size());
    QStringList left;
    for (qsizetype i = 0; i < english.size(); ++i) {
        if (translated.at(i) == english.at(i) && !english.at(i).isEmpty()
            && !same.contains(english.at(i)))
            left << english.at(i);
    }
    QCOMPARE(left.join(u'\n'), QString());
}

void TestTranslations::fits()
{
    QFETCH(const QString, language);
    installTranslations(QLocale(language));
    visitWindows([](QWidget *window) {
        QCOMPARE(cutTexts(window).join(u'\n'), QString());
        QCOMPARE(sharedMnemonics(window).join(u'\n'), QString());
    });
    // What most rows say in the end, in a column of fixed width; English itself exceeds it once.
    const QFontMetrics metrics(QApplication::font());
    for (const auto &[english, text] :
         {std::pair(u"Finished incomplete"_s,
                    QString(Nzb::tr("Finished") + Nzb::tr(" incomplete"))),
          std::pair(u"Paused"_s, Nzb::tr("Paused")), std::pair(u"Queued"_s, NzbFile::tr("Queued")),
          std::pair(u"-empty file-"_s, NzbFile::tr("-empty file-")),
          std::pair(u"Repairing"_s, Marlowick::tr("Repairing")),
          std::pair(u"Damaged beyond repair"_s, Marlowick::tr("Damaged beyond repair"))}) {
        const int room = qMax(145, metrics.horizontalAdvance(english));
        QVERIFY2(metrics.horizontalAdvance(text) <= room, qPrintable(text));
    }
}

void TestTranslations::growsWithLetters()
{
    const QFont usual = QApplication::font();
    const auto restore = qScopeGuard([&usual] { QApplication::setFont(usual); });
    QFont larger = usual;
    larger.setPointSizeF(usual.pointSizeF() * 1.3);
    QApplication::setFont(larger);
    visitWindows([](QWidget *window) { QCOMPARE(cutTexts(window).join(u'\n'), QString()); });
    larger.setPointSizeF(usual.pointSizeF() * 2.5);
    QApplication::setFont(larger);
    visitWindows([](QWidget *window) {
        const QSize room = window->screen()->availableSize();
        QCOMPARE(window->size().boundedTo(room), window->size());
    });
}

void TestTranslations::numbers_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("word");
    const struct {
        const char *language;
        QString one;
        QString many;
        bool zeroIsOne;
    } languages[] = {{"en", u"seconds"_s, u"seconds"_s, false},
                     {"de", u"Sekunde"_s, u"Sekunden"_s, false},
                     {"es", u"segundo"_s, u"segundos"_s, false},
                     {"fr", u"seconde"_s, u"secondes"_s, true},
                     {"nl", u"seconde"_s, u"seconden"_s, false}};
    for (const auto &[language, one, many, zeroIsOne] : languages) {
        for (const int number : {0, 1, 2, 5})
            QTest::addRow("%s, %d", language, number)
                << QString::fromLatin1(language) << number
                << (number == 1 || (number == 0 && zeroIsOne) ? one : many);
    }
}

void TestTranslations::numbers()
{
    QFETCH(const QString, language);
    QFETCH(const int, number);
    QFETCH(const QString, word);
    installTranslations(QLocale(language));
    QCOMPARE(Marlowick::tr(" seconds", nullptr, number), u' ' + word);
    settings->open();
    auto *retry = settings->find<QSpinBox>(u"networkRetry"_s);
    retry->setMinimum(0);
    retry->setValue(number);
    QCOMPARE(settings->find<QLabel>(u"label_13"_s)->text(), word);
}

void TestTranslations::findsLanguage_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("cancel");
    QTest::newRow("of another country") << u"de_AT"_s << u"Datei"_s << u"Abbrechen"_s;
    QTest::newRow("unknown, so that Qt stays silent too") << u"it_IT"_s << u"File"_s << u"Cancel"_s;
    QTest::newRow("none") << u"C"_s << u"File"_s << u"Cancel"_s;
}

void TestTranslations::findsLanguage()
{
    QFETCH(const QString, locale);
    installTranslations(QLocale(locale));
    QTEST(QCoreApplication::translate("NzbModel", "File"), "file");
    QTEST(QCoreApplication::translate("QPlatformTheme", "Cancel"), "cancel");
}

QTEST_MAIN(TestTranslations)
#include "test_translations.moc"
