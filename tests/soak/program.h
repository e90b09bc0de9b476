// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QProcess>

#include <functional>

/// The real program in a process of its own, with the simulated user in it.
class Program final {
public:
    /// @param folder  holds its copy, its settings and its downloads
    explicit Program(const QString &folder);
    ~Program();
    Q_DISABLE_COPY_MOVE(Program)

    /// False if it does not get ready.
    [[nodiscard]] bool start();
    [[nodiscard]] bool isRunning() const { return process.state() != QProcess::NotRunning; }
    void kill();
    /// Has the user close the window; false unless the program ends well, without a leak.
    [[nodiscard]] bool close();
    /// A second start, which hands its arguments on; false unless it ends well.
    [[nodiscard]] bool startAgain(const QString &argument) const;

    void say(const QStringList &words);
    /// Waits for the user's answer that starts with @p verb; a null text if there is none.
    [[nodiscard]] QString ask(const QStringList &words, const QString &verb);
    [[nodiscard]] QJsonObject state();

    [[nodiscard]] qint64 residentBytes() const;
    [[nodiscard]] int descriptors() const;
    /// The processes that it has started.
    [[nodiscard]] QList<pid_t> children() const;

    /// Hears each line of the user that answers nothing.
    std::function<void(const QStringList &)> listener;

private:
    void hear();
    [[nodiscard]] QString procPath(const QString &name) const;

    QString folder;
    QProcess process;
    QMap<QString, QString> answers;
};
