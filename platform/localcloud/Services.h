// localcloud/Services.h
//
// The registry of services. A new service is a folder beside this file, its sources in CMakeLists.txt, and one line in
// Services.cpp.

#pragma once

#include "localcloud/CloudService.h"

#include <memory>

namespace localcloud {

struct ServiceEntry
{
    QString name; ///< also of its folder in the data folder and of its demo data
    std::unique_ptr<CloudService> (*make)(const ServiceStorage &);
};

const QVector<ServiceEntry> &serviceRegistry();

} // namespace localcloud
