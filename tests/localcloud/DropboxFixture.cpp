#include "DropboxFixture.h"
#include <QTest>

void DropboxFixture::start()
{
    LocalCloudOptions options;
    options.dataDir = m_data->path();
    m_cloud = std::make_unique<LocalCloud>(options);
    QString error;
    QVERIFY2(m_cloud->start(&error), qPrintable(error));
    m_client = std::make_unique<CloudClient>(*m_cloud);
}

void DropboxFixture::setUp()
{
    m_data = std::make_unique<QTemporaryDir>();
    start();
    m_client->setHeader("Authorization", "Bearer " + m_cloud->issueDropboxToken().toLatin1());
}

void DropboxFixture::tearDown()
{
    m_client.reset();
    m_cloud.reset();
    m_data.reset();
}
