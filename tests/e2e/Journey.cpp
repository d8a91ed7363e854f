#include "Journey.h"

#include "tour/Evidence.h"

bool Journey::startHost()
{
    stopHost();
    m_driver = std::make_unique<Driver>();
    m_page = std::make_unique<CloudPage>(*m_driver, m_portal);
    return m_driver->start({m_userDir->path(), m_cloud.caFile()});
}

bool Journey::startAfresh()
{
    m_cloud.use();
    removeSettings();
    m_userDir = std::make_unique<QTemporaryDir>();
    return startHost();
}

void Journey::stopHost()
{
    m_page.reset();
    m_driver.reset();
}

qint64 Journey::sceneInfo(const QString &what) const
{
    return m_driver->ask(QStringLiteral("sceneInfo -q -") + what).toLongLong();
}

QStringList Journey::transferred() const
{
    return filesBelow(m_userDir->filePath(QStringLiteral("temp_cloud")));
}
