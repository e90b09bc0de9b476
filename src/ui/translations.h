// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

class QLocale;

/// Makes the application object speak the first language of @p locale that there is a translation
/// for, Qt's own buttons and messages included as far as Qt's translations are installed.
///
/// The program's texts come from the resources below ":/i18n", which the executable has to bring.
/// To be called before the first window is made; without a translation all stays English.
void installTranslations(const QLocale &locale);
