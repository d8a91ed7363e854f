// localcloud/http/Rules.h
//
// Rules that change the responses to matching requests, for tests of failures.

#pragma once

#include "localcloud/http/HttpTypes.h"

#include <QRegularExpression>
#include <QString>
#include <QVector>

#include <functional>

namespace localcloud {

/// What a rule does with a matching request.
struct RuleAction
{
    std::function<void(HttpRequest &, HttpResponse &)> run; ///< null for an unknown action
    bool replacesResponse = false;                          ///< the service does not serve the request
};

class Rules
{
public:
    /// Adds a rule. \p host and \p pathGlob are globs ("*" also matches "/"). The path is compared without its query,
    /// both as received and decoded. \p action is `status=N` (200 to 599), `delay=MS`, `hang`, `cut=BYTES`,
    /// `redirect=URL`, `body=FILE`, `garbage`, `signed-redirect` or `no-length`. The rule ends after \p times requests,
    /// 0 means never. Returns false for another action.
    bool add(const QString &host, const QString &pathGlob, const QString &action, int times = 0);

    /// Adds the rule "HOST PATH-GLOB ACTION". Returns false if a word is missing or the action is unknown.
    bool add(const QString &line);
    void clear() { m_rules.clear(); }

    /// Returns true if a rule matches \p host.
    bool matchesHost(const QString &host) const;

    /// Runs every matching action, but only the first one that replaces the response. Returns true if \p response is
    /// complete, so that the service must not serve the request.
    bool apply(HttpRequest &request, HttpResponse &response);

private:
    struct Rule
    {
        QRegularExpression host;
        QRegularExpression path;
        RuleAction action;
        int left = 0; ///< requests that remain; 0 is unlimited, -1 used up
    };

    QVector<Rule> m_rules;
};

} // namespace localcloud
