// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#include "ui/translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

/// The language that was found; empty without one.
QString install(const QLocale &locale, const QString &name, const QString &folder)
{
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (!translator->load(locale, name, u"_"_s, folder))
        return {};
    QCoreApplication::installTranslator(translator);
    return translator->language();
}

} // namespace

void installTranslations(const QLocale &locale)
{
    const QString language = install(locale, u"marlowick"_s, u":/i18n"_s);
    // Qt gets the same language, although it knows more: no box shall mix two languages.
    if (!language.isEmpty())
        install(QLocale(language), u"qtbase"_s, QLibraryInfo::path(QLibraryInfo::TranslationsPath));
}
