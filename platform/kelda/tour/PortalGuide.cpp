#include "tour/PortalGuide.h"

#include "tour/DropboxGuide.h"
#include "tour/PlyxGuide.h"

int PortalGuide::answers(const Trace &trace) const
{
    int count = 0;
    for (const CloudProcess::Request &request : m_cloud.requests(trace.target))
        count += request.status == trace.status && request.method == trace.method ? 1 : 0;
    return count;
}

int PortalGuide::filesOf(const QStringList &, const QString &) const
{
    return 1;
}

QString PortalGuide::localName(const QStringList &, const QString &name) const
{
    return name;
}

PortalGuide::Trace PortalGuide::upload() const
{
    return {};
}

std::vector<std::unique_ptr<PortalGuide>> portalGuides(Driver &driver, const CloudProcess &cloud)
{
    std::vector<std::unique_ptr<PortalGuide>> guides;
    guides.push_back(std::make_unique<PlyxGuide>(driver, cloud));
    guides.push_back(std::make_unique<DropboxGuide>(driver, cloud));
    return guides;
}
