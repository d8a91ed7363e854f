// The program that `demo --tour` runs, with the same arguments.

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

class TestTour : public QObject
{
    Q_OBJECT
private slots:
    void allStepsSucceedAndHaveAPicture()
    {
        const QTemporaryDir folder;
        QProcess tour;
        tour.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        tour.start(TOUR_PROGRAM, {folder.path()});
        QVERIFY2(tour.waitForFinished(280'000), qPrintable(tour.errorString()));
        const QByteArray output = tour.readAllStandardOutput();
        QVERIFY2(tour.exitStatus() == QProcess::NormalExit, output.constData());

        QFile report(folder.filePath("tour.json"));
        QVERIFY2(report.open(QIODevice::ReadOnly), output.constData());
        const QJsonObject json = QJsonDocument::fromJson(report.readAll()).object();
        QMap<QString, QStringList> steps;
        int number = 0;
        for (const QJsonValue &step : json["steps"].toArray()) {
            const QString portal = step["portal"].toString();
            const QString name = step["step"].toString();
            QVERIFY2(step["ok"].toBool(), qPrintable(portal + ' ' + name + ": " + step["detail"].toString()));
            const QString picture = QString("%1-%2-%3.png").arg(++number, 2, 10, QChar('0')).arg(portal, name);
            QVERIFY2(!QImage(folder.filePath(picture)).isNull(), qPrintable(picture));
            steps[portal] << name;
        }
        QCOMPARE(steps.value("zephal").join(' '),
                 QString("sign-in list open-folder download import export upload replace"));
        QCOMPARE(steps.value("plyx").join(' '), QString("sign-in list open-folder search page download import"));
        QCOMPARE(steps.value("dropbox").join(' '), QString("sign-in list open-folder download import export upload"));
        QCOMPARE(steps.size(), 3);
        QVERIFY(json["ok"].toBool());
        QCOMPARE(tour.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestTour)
#include "tst_tour.moc"
