// tour/Tour.h
//
// The tour that `demo --tour` takes: every portal, step by step, through the real widgets, with a line, a picture and a
// measured proof for each step.

#pragma once

#include "tour/CloudPage.h"
#include "tour/CloudProcess.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QTemporaryDir>

#include <vector>

class Tour
{
public:
    /// Pictures and tour.json go to \p folder, which is made when missing.
    explicit Tour(const QString &folder);

    /// Takes every step, later ones also after a failure. True when every step held and everything could be written.
    bool run();

private:
    /// What is visited on one portal.
    struct Plan
    {
        QString id;         ///< in file names and in tour.json
        QString tab;        ///< the portal's display name
        QStringList folder; ///< opened by `open-folder`, from the root on
        QString large;      ///< a file in the root, for `download`
        QString model;      ///< a file in that folder, for `import`
        QStringList steps;
    };
    /// Empty error: the step held, and detail says what was measured.
    struct Outcome
    {
        QString error;
        QString detail;
    };
    using Step = Outcome (Tour::*)(const Plan &);

    static const std::vector<Plan> &plans();
    static Step stepNamed(const QString &name);

    Outcome signIn(const Plan &plan);
    Outcome list(const Plan &plan);
    Outcome openFolder(const Plan &plan);
    Outcome download(const Plan &plan);
    Outcome import(const Plan &plan);

    bool begin();
    void take(const Plan &plan, const QString &name);
    bool report();
    Outcome failed() const;
    Outcome compareWithDisk(const QString &path, const QString &target);
    /// Imports \p name from the shown list and proves that the bytes of \p path arrived.
    Outcome fetch(const QString &name, const QString &path);
    int answeredWith200(const QString &targetStart, const QString &method) const;
    qint64 sceneInfo(const QString &what) const;

    QString m_folder;
    QTemporaryDir m_scratch;
    CloudProcess m_cloud;
    Driver m_driver;
    std::unique_ptr<CloudPage> m_page;
    QImage m_picture; ///< taken by the step itself, when its end would show less
    QJsonArray m_steps;
    bool m_ok = true;
};
