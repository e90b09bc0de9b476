// SPDX-FileCopyrightText: The Marlowick authors
// SPDX-License-Identifier: MIT

// A user for the real program, which loads it as a generic plugin by QT_QPA_GENERIC_PLUGINS=
// simulateduser:<file of certificates to trust>. The driver speaks to it on standard input, a line
// a command; it answers every dialog, does what it is told when none is left, and tells what it
// does on standard output.
#include <QApplication>
#include <QGenericPlugin>
#include <QPixmapCache>
#include <QQueue>
#include <QSettings>
#include <QSocketNotifier>
#include <QSslConfiguration>
#include <QTimer>

#include <malloc.h>
#include <unistd.h>

#include <optional>

#include "user/useractions.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int tickMsec = 10;
constexpr int hastyTickMsec = 3;
constexpr int ticksPerAction = 12; // on average

QMainWindow *mainWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (auto *main = qobject_cast<QMainWindow *>(window); main && main->isVisible())
            return main;
    }
    return nullptr;
}

/// Tells the bytes allocated and the number of objects, both of the dialogs and of the engine.
void tellHeap()
{
    QPixmapCache::clear();
    malloc_trim(0);
    const struct mallinfo2 heap = mallinfo2();
    const QWidgetList windows = QApplication::topLevelWidgets();
    qsizetype objects = windows.size();
    for (const QWidget *window : windows)
        objects += window->findChildren<QObject *>().size();
    tell({u"heap"_s, u"%1 %2"_s.arg(heap.uordblks + heap.hblkhd).arg(objects)});
}

} // namespace

class SimulatedUser final : public QObject {
    Q_OBJECT

public:
    SimulatedUser()
    {
        connect(&input, &QSocketNotifier::activated, this, &SimulatedUser::hear);
        connect(&timer, &QTimer::timeout, this, &SimulatedUser::tick);
        timer.start(tickMsec);
    }

private:
    void hear();
    void tick();
    void obey(const QStringList &command);
    void setUp(const QStringList &keysAndValues);

    QRandomGenerator random{1};
    UserDialogs dialogs{random};
    std::optional<UserActions> actions; ///< once there is a window
    QSocketNotifier input{STDIN_FILENO, QSocketNotifier::Read};
    QTimer timer;
    QByteArray heard;
    QQueue<QStringList> commands;
    bool working = false;
    bool hasty = false; ///< saves and deletes, again and again
    bool busy = false; ///< a dialog may stand in the middle of an action
};

void SimulatedUser::hear()
{
    QByteArray bytes(65'536, '\0');
    bytes.resize(std::max<ssize_t>(read(STDIN_FILENO, bytes.data(), bytes.size()), 0));
    if (bytes.isEmpty())
        _exit(1); // the driver is gone
    heard += bytes;
    for (qsizetype end = heard.indexOf('\n'); end >= 0; end = heard.indexOf('\n')) {
        commands.enqueue(QString::fromUtf8(heard.first(end)).split(u'\t'));
        heard.remove(0, end + 1);
    }
}

void SimulatedUser::tick()
{
    if (QWidget *dialog = QApplication::activeModalWidget())
        return dialogs.answer(dialog);
    if (!actions && mainWindow()) {
        actions.emplace(mainWindow(), dialogs, random);
        tell({u"ready"_s});
    }
    if (busy || !actions)
        return;
    const bool acts = hasty || (working && random.bounded(ticksPerAction) == 0);
    if (commands.isEmpty() && !acts)
        return;
    busy = true;
    // Not from the timer's own slot, which would not run again before the end of a dialog.
    QTimer::singleShot(0, this, [this] {
        if (!commands.isEmpty())
            obey(commands.dequeue());
        else if (hasty)
            actions->saveOrDelete();
        else
            actions->act();
        busy = false;
    });
}

void SimulatedUser::obey(const QStringList &command)
{
    const QString verb = command.first();
    if (verb == "work"_L1) {
        random.seed(command.at(1).toUInt());
        working = true;
    } else if (verb == "hurry"_L1) {
        random.seed(command.at(1).toUInt());
        hasty = true;
        timer.start(hastyTickMsec);
    } else if (verb == "rest"_L1) {
        working = false;
        tell({u"resting"_s});
    } else if (verb == "add"_L1) {
        actions->addByDialog(command.at(1));
    } else if (verb == "drop"_L1) {
        actions->addByDrop(command.at(1));
    } else if (verb == "resume"_L1) {
        actions->resumeAll();
    } else if (verb == "clear"_L1) {
        actions->deleteAll();
        tell({u"cleared"_s});
    } else if (verb == "state"_L1) {
        actions->tellState();
    } else if (verb == "heap"_L1) {
        tellHeap();
    } else if (verb == "set"_L1) {
        setUp(command.sliced(1));
        tell({u"set"_s});
    } else if (verb == "close"_L1) {
        QMetaObject::invokeMethod(mainWindow(), "close", Qt::QueuedConnection);
    }
}

/// Behind the back of the settings dialog, which knows the well-known ports only.
void SimulatedUser::setUp(const QStringList &keysAndValues)
{
    auto *settings = mainWindow()->findChild<QSettings *>();
    for (qsizetype i = 0; i + 1 < keysAndValues.size(); i += 2)
        settings->setValue(keysAndValues.at(i), keysAndValues.at(i + 1));
    settings->sync();
}

class SimulatedUserPlugin final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "simulateduser.json")

public:
    QObject *create(const QString & /*key*/, const QString &authorities) override
    {
        QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
        trusting.setCaCertificates(QSslCertificate::fromPath(authorities));
        QSslConfiguration::setDefaultConfiguration(trusting);
        return new SimulatedUser;
    }
};

#include "simulateduser.moc"
