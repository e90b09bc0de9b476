// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

#include "engine/marlowick.h"
#include "ui/settingswindow.h"

/// The settings dialog with an engine and folders of its own, and a user who reads each message box
/// and answers it by the return key.
class SettingsFixture final {
public:
    SettingsFixture()
    {
        qputenv("HOME", QFile::encodeName(dir.path()));
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.path());
        if (!QDir(dir.path()).mkdir(QStringLiteral("films")))
            qFatal("The test's folder cannot be made");
        engine = std::make_unique<Marlowick>(nullptr);
        QObject::connect(&user, &QTimer::timeout, [this] { answerModal(); });
        user.start(5);
    }

    /// All settings, as an earlier run of the dialog leaves them, and none of them a default.
    [[nodiscard]] QVariantMap values() const
    {
        return {{QStringLiteral("hostname"), QStringLiteral("127.0.0.1")},
                {QStringLiteral("username"), QStringLiteral("joe")},
                {QStringLiteral("password"), QByteArray("s\xe9r3t").toBase64()},
                {QStringLiteral("mediaPlayer"), QStringLiteral("%APPDIR/../%APPDIR")},
                {QStringLiteral("mediaPlayerArgs"), QStringLiteral("--quiet  -x")},
                {QStringLiteral("downloadFolder"), dir.filePath(QStringLiteral("films"))},
                {QStringLiteral("threads"), 7},
                {QStringLiteral("networkTimeout"), 20},
                {QStringLiteral("networkRetry"), 50},
                {QStringLiteral("port"), 119},
                {QStringLiteral("ssl"), false},
                {QStringLiteral("rarHandling"), QStringLiteral("after")},
                {QStringLiteral("autoPAR2"), false},
                {QStringLiteral("pausePAR2"), false},
                {QStringLiteral("clearOnCompletion"), true}};
    }
    void store(const QVariantMap &settings)
    {
        for (auto value = settings.cbegin(); value != settings.cend(); ++value)
            engine->settings()->setValue(value.key(), *value);
        engine->settings()->sync();
    }
    [[nodiscard]] QVariant stored(const QString &key) const
    {
        return engine->settings()->value(key);
    }

    void open()
    {
        dialog = std::make_unique<SettingsWindow>(engine.get(), nullptr);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    }
    template <class T = QWidget> [[nodiscard]] T *find(const QString &name) const
    {
        return dialog->findChild<T *>(name);
    }
    void write(const QString &field, const QString &text)
    {
        auto *widget = find(field);
        QMetaObject::invokeMethod(widget, "selectAll");
        QTest::keyClick(widget, Qt::Key_Delete);
        QTest::keyClicks(widget, text);
    }
    void click(const QString &name)
    {
        auto *button = find<QAbstractButton>(name);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    void clickOk()
    {
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    }
    [[nodiscard]] bool isAccepted() const
    {
        return !dialog->isVisible() && dialog->result() == QDialog::Accepted;
    }
    [[nodiscard]] bool isTesting() const
    {
        return dialog->isVisible() && !dialog->isEnabled() && progress()->isVisible()
               && progress()->isEnabled();
    }
    [[nodiscard]] QProgressDialog *progress() const
    {
        return dialog->findChild<QProgressDialog *>();
    }

    QTemporaryDir dir;
    std::unique_ptr<Marlowick> engine;
    std::unique_ptr<SettingsWindow> dialog;
    std::function<void(QWidget *)> answerNext; ///< for a modal dialog that is no message box
    QStringList told; ///< title and text of each box
    int tabUnderBox = -1;

private:
    void answerModal()
    {
        QWidget *modal = QApplication::activeModalWidget();
        if (auto *box = qobject_cast<QMessageBox *>(modal)) {
            told << QString(box->windowTitle() + QStringLiteral(": ") + box->text());
            if (dialog)
                tabUnderBox = dialog->findChild<QTabWidget *>()->currentIndex();
            QTest::keyClick(box, Qt::Key_Return);
        } else if (modal && answerNext) {
            std::exchange(answerNext, nullptr)(modal);
        }
    }

    QTimer user;
};
