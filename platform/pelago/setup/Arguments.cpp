#include "Arguments.h"

#include <QTextStream>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace {

const QStringList sections = {QStringLiteral("production"), QStringLiteral("staging"), QStringLiteral("development")};

const char usage[] =
    "Usage: pelago-setup ADDRESS [--section production|staging|development] [--ca-file PEM] [--allow-plain-http]\n"
    "Tries the WebDAV server at ADDRESS and writes it into pelago.ini. Asks for the user name and the password, or "
    "takes\n"
    "them from the environment: PELAGO_USER, PELAGO_PASSWORD. The password is not stored.\n";

/// One line of the standard input, which a terminal does not show if \p isSecret.
QString ask(const char *question, bool isSecret)
{
    std::fprintf(stderr, "%s", question);
    termios before{};
    const bool hides = isSecret && tcgetattr(STDIN_FILENO, &before) == 0;
    if (hides) {
        termios hidden = before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    static QTextStream input(stdin);
    const QString line = input.readLine();
    if (hides) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
        std::fprintf(stderr, "\n");
    }
    return line;
}

} // namespace

bool Arguments::parse(const QStringList &commandLine)
{
    for (int at = 1; at < commandLine.size(); ++at) {
        const QString &word = commandLine[at];
        if (word == QLatin1String("--allow-plain-http"))
            m_allowsPlainHttp = true;
        else if (word == QLatin1String("--section") && at + 1 < commandLine.size())
            section = commandLine[++at];
        else if (word == QLatin1String("--ca-file") && at + 1 < commandLine.size())
            caFile = commandLine[++at];
        else if (!word.startsWith(QLatin1Char('-')) && address.isEmpty())
            address = word;
        else
            return false;
    }
    return !address.isEmpty() && sections.contains(section);
}

bool Arguments::read(const QStringList &commandLine)
{
    if (commandLine.contains(QStringLiteral("--help")) || commandLine.contains(QStringLiteral("-h"))) {
        std::printf("%s", usage);
        m_exitStatus = 0;
        return false;
    }
    if (!parse(commandLine)) {
        std::fprintf(stderr, "%s", usage);
        return false;
    }
    if (!address.contains(QLatin1String("://")))
        address.prepend(QStringLiteral("https://"));
    const bool isGiven = qEnvironmentVariableIsSet("PELAGO_USER") && qEnvironmentVariableIsSet("PELAGO_PASSWORD");
    user = isGiven ? qEnvironmentVariable("PELAGO_USER") : ask("User name: ", false);
    password = isGiven ? qEnvironmentVariable("PELAGO_PASSWORD") : ask("Password: ", true);
    return true;
}

int Arguments::number() const
{
    return sections.indexOf(section);
}

QVector<QPair<QString, QString>> Arguments::values() const
{
    QVector<QPair<QString, QString>> lines = {{QStringLiteral("kind"), QStringLiteral("password")},
                                              {QStringLiteral("storage"), address}};
    if (m_allowsPlainHttp)
        lines.append({QStringLiteral("allowPlainHttp"), QStringLiteral("true")});
    return lines;
}
