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
            QVERIFY2(QFileInfo::exists(folder.filePath(picture)), qPrintable(picture));
            steps[portal] << name;
        }
        for (const QString &picture : QDir(folder.path()).entryList({"*.png"}))
            checkPicture(folder.filePath(picture));
        QCOMPARE(steps.value("zephal").join(' '),
                 QString("sign-in list open-folder download import export upload replace"));
        QCOMPARE(steps.value("plyx").join(' '), QString("sign-in list open-folder search page download import"));
        QCOMPARE(steps.value("dropbox").join(' '), QString("sign-in list open-folder download import export upload"));
        QCOMPARE(steps.size(), 3);
        QVERIFY(json["ok"].toBool());
        QCOMPARE(tour.exitCode(), 0);
    }

private:
    static void checkPicture(const QString &file)
    {
        const QImage picture(file);
        QVERIFY2(!picture.isNull(), qPrintable(file));
        QImage plain(picture.size(), picture.format());
        plain.fill(picture.pixelColor(0, 0));
        QVERIFY2(picture != plain, qPrintable(file));
    }
};

QTEST_GUILESS_MAIN(TestTour)
#include "tst_tour.moc"
