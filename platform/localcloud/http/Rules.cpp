#include "localcloud/http/Rules.h"

#include <algorithm>
#include <limits>

namespace localcloud {

namespace {

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

RuleAction parseAction(const QString &text)
{
    const QString name = text.section('=', 0, 0);
    const QString value = text.section('=', 1);
    bool isNumber = false;
    const qint64 number = value.toLongLong(&isNumber);
    const bool isCount = isNumber && number >= 0;
    if (text == "hang" || text == "garbage") {
        return {[hangs = text == "hang"](auto &, auto &response) {
                    response.hang = hangs;
                    response.garbage = !hangs;
                    response.status = 0;
                },
                true};
    }
    if (text == "signed-redirect")
        return {[](auto &request, auto &) { request.signedRedirect = true; }};
    if (text == "no-length")
        return {[](auto &, auto &response) { response.noLength = true; }};
    if (name == "redirect" && !value.isEmpty())
        return {[value](auto &, auto &response) { response.setRedirect(value.toUtf8()); }, true};
    if (name == "body" && !value.isEmpty()) // status 500 if the file cannot be opened
        return {[value](auto &, auto &response) { response.setFile(value); }, true};
    if (name == "status" && number >= 200 && number <= 599)
        return {[number](auto &, auto &response) { response.setJsonError(int(number), "Refused by a rule."); }, true};
    if (name == "delay" && isCount && number <= std::numeric_limits<int>::max())
        return {[number](auto &, auto &response) { response.delayMs = int(number); }};
    if (name == "cut" && isCount)
        return {[number](auto &, auto &response) { response.cutAfter = number; }};
    return {};
}

} // namespace

bool Rules::add(const QString &host, const QString &pathGlob, const QString &action, int times)
{
    const RuleAction parsed = parseAction(action);
    if (!parsed.run || host.isEmpty() || pathGlob.isEmpty())
        return false;
    m_rules.append({globExpression(host, QRegularExpression::CaseInsensitiveOption),
                    globExpression(pathGlob, QRegularExpression::NoPatternOption), parsed, times});
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
    return std::any_of(m_rules.begin(), m_rules.end(),
                       [&](const Rule &rule) { return rule.host.match(host).hasMatch(); });
}

bool Rules::apply(HttpRequest &request, HttpResponse &response)
{
    bool isComplete = false;
    for (Rule &rule : m_rules) {
        if (rule.left < 0 || !rule.host.match(request.host).hasMatch() || !matchesPath(rule.path, request.path) ||
            (isComplete && rule.action.replacesResponse))
            continue;
        rule.action.run(request, response);
        isComplete = isComplete || rule.action.replacesResponse;
        if (rule.left > 0 && --rule.left == 0)
            rule.left = -1;
    }
    return isComplete;
}

} // namespace localcloud
