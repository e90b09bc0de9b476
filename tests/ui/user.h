// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QtWidgets>

#include "engine/enginefixture.h"
#include "support/case.h"

/// A user of windows, who also answers the boxes, dialogs and menus that come up.
struct User : EngineFixture {
    User()
    {
        QObject::connect(&eyes, &QTimer::timeout, &eyes, [this] {
            QWidget *popup = QApplication::activePopupWidget();
            QWidget *asking = popup ? popup : QApplication::activeModalWidget();
            if (!asking || answers.isEmpty())
                return;
            told << asking->windowTitle() + ": " + asking->property("text").toString();
            for (const QAction *action : popup ? popup->actions() : QList<QAction *>())
                told.last() += action->isEnabled() ? QString(action->text() + '|') : "";
            const QString answer = answers.takeFirst();
            meanwhile(asking);
            use(asking, answer);
        });
        eyes.start(1);
    }
    /// Does what @p words say, which are parted by semicolons: "field=text" fills a field, the name
    /// of a button or an action clicks it, as the text of one does in a menu, and everything else
    /// is a key.
    static void use(QWidget *window, const QString &words)
    {
        for (const QString &word : words.split(';', Qt::SkipEmptyParts)) {
            auto *used = window->findChild<QObject *>(word.section('=', 0, 0));
            for (QAction *action : window->actions())
                used = action->text() == word ? action : used;
            if (!used)
                QTest::keySequence(window->focusWidget() ? window->focusWidget() : window, word);
            else if (word.contains('='))
                used->setProperty(used->inherits("QSpinBox") ? "value" : "text",
                                  word.section('=', 1));
            else
                QMetaObject::invokeMethod(used, used->inherits("QAction") ? "trigger" : "click");
        }
    }

    QTimer eyes;
    QStringList answers; ///< what is done with each, as use() takes it
    std::function<void(QWidget *)> meanwhile = [](QWidget *) {}; ///< comes before each answer
    QStringList told; ///< the title of each, and the text of a box or what a menu offers
};
