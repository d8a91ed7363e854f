#include "localcloud/Services.h"

#include "localcloud/dropbox/DropboxService.h"
#include "localcloud/plyx/PlyxService.h"
#include "localcloud/zephal/ZephalService.h"

namespace localcloud {

namespace {

template <class Service>
std::unique_ptr<CloudService> make(const ServiceStorage &storage)
{
    return std::make_unique<Service>(storage);
}

} // namespace

const QVector<ServiceEntry> &serviceRegistry()
{
    static const QVector<ServiceEntry> entries{
        {"dropbox", make<DropboxService>},
        {"plyx", make<PlyxService>},
        {"zephal", make<ZephalService>},
    };
    return entries;
}

} // namespace localcloud
