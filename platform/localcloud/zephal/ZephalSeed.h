// localcloud/zephal/ZephalSeed.h
//
// The documents that the Zephal service starts with.

#pragma once

#include <localcloud/Seeder.h>

namespace localcloud {

/// Fills \p folder (created) once, as seedOnce() does. Everything adds "Projects/Landscape/Hills.obj" of
/// 200,000 triangles; \p largeModel, a file with the same model, spares its making when it is there.
bool seedZephal(const QString &folder, const QString &marker, SeedAmount amount, const QString &largeModel,
                QString *error);

} // namespace localcloud
