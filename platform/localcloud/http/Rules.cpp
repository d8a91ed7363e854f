#include "localcloud/http/Rules.h"

#include <QHash>

#include <limits>
#include <optional>

namespace localcloud {

namespace {

using Kind = RuleAction::Kind;

QRegularExpression globExpression(const QString &glob, QRegularExpression::PatternOption option)
{
    QString pattern = QRegularExpression::escape(glob);
    pattern.replace(QLatin1String("\\*"), QLatin1String(".*")).replace(QLatin1String("\\?"), QLatin1String("."));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              option | QRegularExpression::DotMatchesEverythingOption);
}

bool matchesPath(const QRegularExpression &expression, const QByteArray &path)
{
    return expression.match(QString::fromLatin1(path)).hasMatch() ||
           expression.match(QString::fromUtf8(QByteArray::fromPercentEncoding(path))).hasMatch();
}

/// Fills the response of an action that replaces the response of the service.
void fill(const RuleAction &action, HttpResponse &response)
{
    switch (action.kind) {
    case Kind::Status:
        response.setJsonError(static_cast<int>(action.number), "Refused by a rule.");
        break;
    case Kind::Hang:
        response.hang = true;
        response.status = 0;
        break;
    case Kind::Garbage:
        response.garbage = true;
        response.status = 0;
        break;
    case Kind::Redirect:
        response.setRedirect(action.text.toUtf8());
        break;
    case Kind::Body:
        response.setFile(action.text); // status 500 if the file cannot be opened
        break;
    case Kind::Delay:
    case Kind::Cut:
    case Kind::SignedRedirect:
    case Kind::NoLength:
        break;
    }
}

/// Returns an empty optional for an unknown action.
std::optional<RuleAction> parseAction(const QString &text)
{
    static const QHash<QString, Kind> words{{"hang", Kind::Hang},
                                            {"garbage", Kind::Garbage},
                                            {"signed-redirect", Kind::SignedRedirect},
                                            {"no-length", Kind::NoLength}};
    static const QHash<QString, Kind> numbers{{"status", Kind::Status}, {"delay", Kind::Delay}, {"cut", Kind::Cut}};
    static const QHash<QString, Kind> texts{{"redirect", Kind::Redirect}, {"body", Kind::Body}};

    RuleAction action;
    const int equals = text.indexOf('=');
    const QString name = text.left(equals);
    if (equals < 0) {
        action.kind = words.value(name);
        return words.contains(name) ? std::optional(action) : std::nullopt;
    }
    action.text = text.mid(equals + 1);
    if (texts.contains(name) && !action.text.isEmpty()) {
        action.kind = texts.value(name);
        return action;
    }
    bool ok = false;
    action.number = action.text.toLongLong(&ok);
    action.kind = numbers.value(name);
    if (!ok || !numbers.contains(name) || action.number < 0)
        return {};
    if (action.kind == Kind::Status && (action.number < 200 || action.number > 599))
        return {};
    if (action.kind == Kind::Delay && action.number > std::numeric_limits<int>::max())
        return {};
    return action;
}

} // namespace

bool Rules::add(const QString &host, const QString &pathGlob, const QString &action, int times)
{
    const auto parsed = parseAction(action);
    if (!parsed || host.isEmpty() || pathGlob.isEmpty())
        return false;
    m_rules.append({globExpression(host, QRegularExpression::CaseInsensitiveOption),
                    globExpression(pathGlob, QRegularExpression::NoPatternOption), *parsed, times});
    return true;
}

bool Rules::add(const QString &line)
{
    static const QRegularExpression words(QStringLiteral("^\\s*(\\S+)\\s+(\\S+)\\s+(\\S.*?)\\s*$"));
    const auto match = words.match(line);
    return match.hasMatch() && add(match.captured(1), match.captured(2), match.captured(3));
}

bool Rules::matchesHost(const QString &host) const
{
    for (const Rule &rule : m_rules) {
        if (rule.host.match(host).hasMatch())
            return true;
    }
    return false;
}

bool Rules::apply(HttpRequest &request, HttpResponse &response)
{
    bool isComplete = false;
    for (Rule &rule : m_rules) {
        if (rule.left < 0 || !rule.host.match(request.host).hasMatch() || !matchesPath(rule.path, request.path))
            continue;
        if (rule.action.kind == Kind::Delay) {
            response.delayMs = static_cast<int>(rule.action.number);
        } else if (rule.action.kind == Kind::Cut) {
            response.cutAfter = rule.action.number;
        } else if (rule.action.kind == Kind::SignedRedirect) {
            request.signedRedirect = true;
        } else if (rule.action.kind == Kind::NoLength) {
            response.noLength = true;
        } else if (!isComplete) {
            fill(rule.action, response);
            isComplete = true;
        } else {
            continue;
        }
        if (rule.left > 0 && --rule.left == 0)
            rule.left = -1;
    }
    return isComplete;
}

} // namespace localcloud
