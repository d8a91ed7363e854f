#include "host/KeldaHost.h"

#include "host/CoreCommands.h"
#include "host/MenuModel.h"
#include "host/PluginManager.h"

#include <QGuiApplication>
#include <QLocale>

#include <algorithm>
#include <clocale>
#include <limits>
#include <utility>

namespace {

QString stringName(const KStringResourceId &id)
{
    return KQtUtil::toQString(id.plugin()) + QChar(0x1F) + KQtUtil::toQString(id.key());
}

KCommandResult commandResult(const Value &value)
{
    switch (value.kind()) {
    case Value::Kind::None:
        break;
    case Value::Kind::Int: {
        const qint64 integer = value.toInt();
        const bool fits = integer >= std::numeric_limits<int>::min() && integer <= std::numeric_limits<int>::max();
        return fits ? KCommandResult(static_cast<int>(integer)) : KCommandResult(static_cast<double>(integer));
    }
    case Value::Kind::String:
        return KCommandResult(KQtUtil::toKString(value.toString()));
    case Value::Kind::StringArray: {
        KStringArray array;
        for (const QString &text : value.toStringList())
            array.append(KQtUtil::toKString(text));
        return KCommandResult(array);
    }
    }
    return KCommandResult();
}

} // namespace

KeldaHost::KeldaHost(const Setup &setup)
    : m_setup(setup), m_menus(std::make_unique<MenuModel>()), m_plugins(std::make_unique<PluginManager>(*this))
{
    // The export library prints numbers with the C library. A decimal comma would make model files unreadable.
    std::setlocale(LC_NUMERIC, "C");
    qRegisterMetaType<KHost::MessageKind>();
    addCoreCommands(*this);
    m_interpreter.setCaughtHandler([this](const QString &failure) {
        if (!isPosted(failure))
            message(MessageKind::kError, KQtUtil::toKString(failure));
    });
    KHost::install(this);
}

KeldaHost::~KeldaHost()
{
    m_plugins->unloadAll();
    while (isWaiting())
        setWaiting(false);
}

KStatus KeldaHost::execute(const KString &command, KCommandResult &result, bool display, bool undo)
{
    Q_UNUSED(undo)
    Value value;
    const KStatus status = run(KQtUtil::toQString(command), value, display);
    result = commandResult(value);
    return status;
}

KStatus KeldaHost::run(const QString &command, Value &result, bool display)
{
    const bool echo = display || m_commandEcho;
    const QStringList reportedBefore = std::exchange(m_reported, QStringList());
    const bool isOutermost = m_executing++ == 0;
    result = Value();
    QString failure;
    bool failed = true;
    try {
        result = m_interpreter.evaluate(command);
        failed = false;
    } catch (const std::exception &error) {
        failure = QString::fromUtf8(error.what());
    }
    m_plugins->runDefinedStringProcedures();
    if (echo)
        emit commandEchoed(command, result.toString());

    if (failed && !isPosted(failure))
        reportFailure(failure);
    --m_executing;
    m_reported = isOutermost ? QStringList() : reportedBefore + m_reported;
    return failed ? KStatus::failure(KQtUtil::toKString(failure)) : KStatus();
}

bool KeldaHost::isPosted(const QString &failure) const
{
    // The message of a failed command contains the messages of the commands that it ran.
    return std::any_of(m_reported.cbegin(), m_reported.cend(),
                       [&failure](const QString &posted) { return failure.contains(posted); });
}

void KeldaHost::reportFailure(const QString &reason)
{
    if (m_executing > 0)
        m_reported.append(reason);
    message(MessageKind::kError, KQtUtil::toKString(reason));
}

void KeldaHost::message(MessageKind kind, const KString &text)
{
    emit messagePosted(kind, KQtUtil::toQString(text));
}

void KeldaHost::executeCallbacks(const QString &hook)
{
    const std::vector<Callback> callbacks = m_callbacks;
    for (const Callback &callback : callbacks) {
        try {
            if (callback.hook == hook)
                m_interpreter.call(callback.procedure, {});
        } catch (const ScriptError &error) {
            reportFailure(error.message());
        }
    }
}

QString KeldaHost::uiLanguage() const
{
    if (!m_setup.uiLanguage.isEmpty())
        return m_setup.uiLanguage;
    const QString chosen = qEnvironmentVariable("KELDA_UI_LANGUAGE");
    return chosen.isEmpty() ? QLocale::system().name() : chosen;
}

QStringList KeldaHost::scriptFolders() const
{
    QStringList folders;
    if (!m_plugins->loadingFolder().isEmpty())
        folders.append(m_plugins->loadingFolder());
    folders += qEnvironmentVariable("KELDA_SCRIPT_PATH").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (!m_setup.location.isEmpty())
        folders.append(m_setup.location + QStringLiteral("/scripts"));
    folders.append(QStringLiteral("."));
    return folders;
}

void KeldaHost::setWaiting(bool on)
{
    if (!on && !isWaiting())
        return;
    m_waits += on ? 1 : -1;
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return;
    if (on && m_waits == 1)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    else if (m_waits == 0)
        QGuiApplication::restoreOverrideCursor();
}

KStatus KeldaHost::registerString(const KStringResourceId &id)
{
    const QString name = stringName(id);
    if (!m_strings.contains(name))
        m_strings.insert(name, id.defaultText());
    return KStatus();
}

bool KeldaHost::findString(const KStringResourceId &id, KString &text)
{
    const auto found = m_strings.constFind(stringName(id));
    if (found == m_strings.constEnd())
        return false;
    text = *found;
    return true;
}

bool KeldaHost::replaceString(const KStringResourceId &id, const KString &text)
{
    const auto found = m_strings.find(stringName(id));
    if (found == m_strings.end())
        return false;
    *found = text;
    return true;
}

KStatus KeldaHost::describePlugin(KObject plugin, const KString &vendor, const KString &version,
                                  const KString &requiredApi)
{
    Q_UNUSED(vendor)
    return m_plugins->describe(plugin, version, requiredApi);
}

KStatus KeldaHost::registerUIStrings(KObject plugin, KStatus (*registration)(), const KString &procedure)
{
    return m_plugins->registerUIStrings(plugin, registration, procedure);
}

KStatus KeldaHost::registerCommand(KObject plugin, const KString &name, void *(*creator)(), KSyntax (*syntax)())
{
    return m_plugins->registerCommand(plugin, name, creator, syntax);
}

KStatus KeldaHost::deregisterCommand(KObject plugin, const KString &name)
{
    return m_plugins->deregisterCommand(plugin, name);
}

#include "moc_KeldaHost.cpp"
