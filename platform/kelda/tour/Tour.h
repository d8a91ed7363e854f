// tour/Tour.h
//
// The tour that `demo --tour` takes: every portal, step by step, through the real widgets, with a line, a picture and a
// measured proof for each step.

#pragma once

#include "tour/PortalGuide.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QTemporaryDir>

class Tour
{
public:
    /// Pictures and tour.json go to \p folder, which is made when missing.
    explicit Tour(const QString &folder);

    /// Takes every step, later ones also after a failure. True when every step held and everything could be written.
    bool run();

private:
    /// Empty error: the step held, and detail says what was measured.
    struct Outcome
    {
        QString error;
        QString detail;
    };
    using Step = Outcome (Tour::*)();

    static Step stepNamed(const QString &name);

    // The steps, in TourSteps.cpp. Each starts where the one before it ended.
    Outcome signIn();
    Outcome list();
    Outcome openFolder();
    Outcome search();
    Outcome turnPage();
    Outcome download();
    Outcome import();
    Outcome exportScene();
    Outcome upload();
    Outcome replace();

    bool begin();
    void take(const QString &name);
    bool savePicture(const QString &name, const QImage &picture) const;
    bool report();

    Outcome failed() const;
    bool openFolders(const QStringList &folder);
    bool goToRoot();
    /// Compares the shown list with the cloud's disk, and the cloud's log with what must have been asked.
    Outcome compareWithCloud(const PortalGuide::View &view);
    /// Imports \p name, which is in the shown list of \p folder, and proves that the cloud's bytes arrived.
    Outcome fetch(const QStringList &folder, const QString &name);
    /// The local file of that name below the folder for transfers; empty without one.
    QString localFile(const QString &name) const;
    bool setExportScale();
    /// Exports under a name that is taken, and says yes to the question.
    bool exportOver();
    QString userDir() const { return m_scratch.filePath(QStringLiteral("kelda")); }
    qint64 sceneInfo(const QString &what) const;
    QList<double> sceneSize() const;

    QString m_folder;
    QTemporaryDir m_scratch;
    CloudProcess m_cloud;
    Driver m_driver;
    std::unique_ptr<PortalGuide> m_guide;
    std::unique_ptr<CloudPage> m_page;
    QString m_pictureName; ///< of the running step, without its ending
    QImage m_picture;      ///< taken by the step itself, when its end would show less
    QStringList m_place;   ///< the folder that is shown
    QJsonArray m_steps;
    bool m_ok = true;
};
