// http/tst_thumbnails.cpp
//
// The cancellation and the cache of thumbnail requests.

#include "ThumbnailTest.h"

class TestThumbnails : public ThumbnailTest
{
    Q_OBJECT

private slots:
    void requestsEndAfterTheirTimeout()
    {
        useLoader(400);
        m_answers->insert("/a0", redirect("/a1"));
        for (const char *path : {"/a1", "/a2", "/a3"})
            m_answers->insert(path, hanging());
        m_loader->load(sources("/a", 64)); // on a busy machine some of the others time out as well
        QVERIFY(waitForLoaded(1));
    }

    void loadKeepsRunningRequests()
    {
        for (const char *path : {"/a0", "/a1", "/a2", "/a3"})
            m_answers->insert(path, hanging());
        m_loader->load(sources("/a", 4));
        QVERIFY(waitForRequests(4));
        m_loader->load({source("/a3"), source("/b")});
        QVERIFY(waitForLoaded(1));
        QCOMPARE(requests().size(), 5);
    }

    void failuresAreRepeatedAfterAReset()
    {
        m_answers->insert("/a", reply(""));
        m_loader->load({source("/a"), source("/b")});
        QVERIFY(waitForLoaded(1));
        m_loader->load({source("/a"), source("/c")});
        QVERIFY(waitForLoaded(2));
        QCOMPARE(requests().count("/a"), 1);
        m_loader->reset();
        m_loader->load({source("/a")});
        QVERIFY(QTest::qWaitFor([&] { return requests().count("/a") == 2; }));
    }

    void cachedPicturesAreNotRequestedAgain()
    {
        m_loader->load({source("/a"), source("https://gallery.example/a")});
        QVERIFY(waitForLoaded(1));
        m_loader->reset();
        m_loader->load({source("/a"), source("/b")});
        QVERIFY(waitForLoaded(2));
        QCOMPARE(requests(), QStringList({"/a", "/b"}));
    }

    void theCacheDropsWhatWasNotUsedForLongest()
    {
        m_loader->setSide(1024); // 4 MiB, a quarter of the cache
        for (int at = 0; at < 4; ++at) {
            m_loader->load({source("/a" + QString::number(at))});
            QVERIFY(waitForLoaded(at + 1));
        }
        QVERIFY(!m_loader->find(source("/a0")).isNull());
        m_loader->load({source("/b")});
        QVERIFY(waitForLoaded(5));
        QVERIFY(!m_loader->find(source("/a0")).isNull());
        QVERIFY(m_loader->find(source("/a1")).isNull());
    }

    void anotherSideEmptiesTheCache()
    {
        m_loader->load({source("/a")});
        QVERIFY(waitForLoaded(1));
        m_loader->setSide(96);
        QVERIFY(m_loader->find(source("/a")).isNull());
        m_loader->load({source("/a")});
        QVERIFY(waitForLoaded(2));
        QCOMPARE(m_loader->find(source("/a")).size(), QSize(96, 96));
    }

    void destructionAbortsTheFourRunningRequests()
    {
        m_answers->insert("*", hanging());
        m_loader->load(sources("/a", 64));
        QVERIFY(waitForRequests(4));
        m_loader.reset();
        QVERIFY(QTest::qWaitFor([&] { return openConnections() == 0; }));
        QStringList sent = requests();
        sent.sort(); // four connections may overtake each other
        QCOMPARE(sent, QStringList({"/a0", "/a1", "/a2", "/a3"}));
        QCOMPARE(m_loaded, QStringList());
    }

    void destructionDuringDecodingEmitsNothing()
    {
        m_answers->insert("*", reply(picture(4096, 4096)));
        m_loader->load(sources("/a", 4));
        QVERIFY(waitForLoaded(1));
        m_loader.reset();
        QTest::qWait(100);
        QCOMPARE(m_loaded.size(), 1);
    }
};

QTEST_MAIN(TestThumbnails)
#include "tst_thumbnails.moc"
