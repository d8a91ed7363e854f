#include "Arguments.h"

#include <QTextStream>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace {

const QStringList kSections = {QStringLiteral("production"), QStringLiteral("staging"), QStringLiteral("development")};

const char kUsage[] =
    R"(Usage: pelago-setup ADDRESS [OPTION]...
Tests the WebDAV server at ADDRESS with a small file and writes the address to
~/.config/pelago.ini, or to the file that PELAGO_CONFIG names. Reads the user
name and the password from PELAGO_USER and PELAGO_PASSWORD, or asks for them.
The password is not stored.

  --section NAME      production (default), staging or development
  --ca-file PEM       trusts these certificates too
  --allow-plain-http  allows sending the password without TLS
  --help              prints this text

The exit status is 0 if the file was written, 1 if the test or the writing
failed, and 2 if the command line is wrong.
)";

/// Reads one line of the standard input, without echo if \p isSecret.
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
            allowsPlainHttp = true;
        else if (word == QLatin1String("--section") && at + 1 < commandLine.size())
            section = kSections.indexOf(commandLine[++at]);
        else if (word == QLatin1String("--ca-file") && at + 1 < commandLine.size())
            caFile = commandLine[++at];
        else if (!word.startsWith(QLatin1Char('-')) && address.isEmpty())
            address = word;
        else
            return false;
    }
    return !address.isEmpty() && section >= 0;
}

bool Arguments::read(const QStringList &commandLine)
{
    if (commandLine.contains(QStringLiteral("--help")) || commandLine.contains(QStringLiteral("-h"))) {
        std::printf("%s", kUsage);
        exitStatus = 0;
        return false;
    }
    if (!parse(commandLine)) {
        std::fprintf(stderr, "%s", kUsage);
        return false;
    }
    if (!address.contains(QLatin1String("://")))
        address.prepend(QStringLiteral("https://"));
    const bool isGiven = qEnvironmentVariableIsSet("PELAGO_USER") && qEnvironmentVariableIsSet("PELAGO_PASSWORD");
    user = isGiven ? qEnvironmentVariable("PELAGO_USER") : ask("User name: ", false);
    password = isGiven ? qEnvironmentVariable("PELAGO_PASSWORD") : ask("Password: ", true);
    return true;
}

QString Arguments::sectionName() const
{
    return kSections[section];
}
