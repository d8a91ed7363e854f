// portals/tst_gallery.cpp
//
// The pictures of a Plyx gallery on its page: what is requested when, and what the list shows.

#include "cloud/page/Portal_CloudBrowserWindows.h"
#include "portals/Portal_Plyx.h"
#include "PortalTest.h"

namespace {

constexpr int kModels = 150;
constexpr int kPerPage = 64;

QString pictureName(int model)
{
    return QStringLiteral("p%1.png").arg(model, 3, 10, QLatin1Char('0'));
}

} // namespace

class TestGallery : public PortalTest
{
    Q_OBJECT

private slots:
    void init()
    {
        writeCatalogue();
        start();
        makePortal<Portal_Plyx, Portal_Plyx_Login, Portal_Plyx_IPortalBrowser>();
        store(m_fixture->cloud.issuePlyxSession());
        showPage();
        page()->window()->resize(500, 700);
        QTRY_COMPARE(list()->count(), 5);
    }

    void cleanup()
    {
        closePage();
        finish();
    }

    void picturesReplaceTheIconsUnlessTheyFail()
    {
        m_fixture->cloud.addRule("*", "*/p001.png", "status=404");
        openGallery();
        QVERIFY(waitFor([&] { return colourOf(0) == QColor(Qt::red); }));
        QVERIFY(waitFor([&] { return colourOf(2) == QColor(Qt::red); }));
        QVERIFY(colourOf(1) != QColor(Qt::red));
        QCOMPARE(m_fixture->everythingShown(), QString());

        QCOMPARE(list()->item(0)->text(), QString("Model 0"));
        QVERIFY(list()->item(0)->toolTip().startsWith("ArtistName: Ann\n"));
    }

    void rowsThatCanBeSeenAreRequestedInOrder()
    {
        openGallery();
        const int lastVisible = list()->indexAt(list()->viewport()->rect().bottomLeft()).row();
        QVERIFY(waitFor([&] { return pictures().size() > lastVisible; }));
        QTest::qWait(200);
        const QStringList requested = pictures();
        QVERIFY2(requested.size() <= 2 * (lastVisible + 2), qPrintable(requested.join(' ')));
        for (int at = 0; at < requested.size(); ++at) {
            const int place = requested.indexOf(pictureName(at)); // four connections may overtake each other
            QVERIFY2(qAbs(place - at) <= 3, qPrintable(requested.join(' ')));
        }
        list()->scrollToBottom();
        QVERIFY(waitFor([&] { return pictures().contains(pictureName(kPerPage - 1)); }));
        QVERIFY(!pictures().contains(pictureName(kPerPage / 2)));
    }

    void nextPageCancelsTheRequestsOfTheList()
    {
        openGalleryWithSlowPictures();
        page()->NextPageClick();
        QVERIFY(waitFor([&] { return pictures().size() == 8; })); // at most four run
        QVERIFY(pictures().contains(pictureName(kPerPage)));
    }

    void slowPicturesDoNotRefuseUnloading()
    {
        openGalleryWithSlowPictures();
        QVERIFY(!Portal_CloudBrowser::IsBusy());
        QVERIFY(page()->findChild<QProgressBar *>()->isHidden());
        closePage();
        QTRY_COMPARE(connections(), 0);
        QCOMPARE(pictures().size(), 4);
    }

private:
    void writeCatalogue()
    {
        QImage red(128, 128, QImage::Format_RGB32);
        red.fill(Qt::red);
        QJsonArray assets;
        for (int model = 0; model < kModels; ++model) {
            const QString picture = pictureName(model);
            const QString path = m_folder.filePath("cloud/plyx/thumbnails/" + picture);
            QDir().mkpath(QFileInfo(path).path());
            QVERIFY(red.save(path));
            assets.append(QJsonObject{{"id", model + 1},
                                      {"name", "Model " + QString::number(model)},
                                      {"artist", "Ann"},
                                      {"published", QString::number(9999 - model)},
                                      {"gallery", 27},
                                      {"fileTypes", QJsonArray{119}},
                                      {"thumbnail", picture}});
        }
        writeFile(m_folder.filePath("cloud/plyx/catalogue.json"),
                  QJsonDocument(QJsonObject{{"assets", assets}}).toJson());
    }

    void openGallery()
    {
        page()->ListViewItemDoubleClick(list()->findItems("Lumo", Qt::MatchExactly).first());
        QTRY_COMPARE(list()->count(), kPerPage);
    }

    /// Opens the gallery and waits for the first requests for pictures, which are never answered.
    void openGalleryWithSlowPictures()
    {
        m_fixture->cloud.addRule("*", "*.png", "hang");
        openGallery();
        QVERIFY(waitFor([&] { return pictures().size() == 4; }));
    }

    static bool waitFor(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 30000); }

    Portal_CloudBrowserWindows *page() const
    {
        return static_cast<Portal_CloudBrowserWindows *>(m_controller->GetParentLoginWidget());
    }
    QListWidget *list() const { return page()->findChild<QListWidget *>(); }
    /// The colour in the middle of the place of the picture of \p row.
    QColor colourOf(int row) const
    {
        const QRect place = list()->visualItemRect(list()->item(row));
        return list()->viewport()->grab().toImage().pixelColor(place.left() + 26, place.center().y());
    }

    /// The names of the pictures that were requested, in order.
    QStringList pictures() const
    {
        QStringList names;
        for (const RequestRecord &record : m_fixture->cloud.requests()) {
            if (record.target.startsWith("/thumbnails/"))
                names << QUrl(record.target).fileName();
        }
        return names;
    }
    /// The open connections: each request that is held keeps one.
    int connections() const { return m_fixture->cloud.findChildren<localcloud::HttpConnection *>().size(); }
};

QTEST_MAIN(TestGallery)
#include "tst_gallery.moc"
