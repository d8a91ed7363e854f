// localcloud/SeedPicture.h
//
// Small pictures of the seeded models, drawn in software.

#pragma once

#include <QByteArray>
#include <QImage>

#include <localcloud/SeedMesh.h>

namespace localcloud {

/// A PNG of \p size x \p size pixels that shows \p mesh from the front right and above, on a light background.
/// \p surface is wrapped around it as its uvs say; a single pixel colours the whole.
QByteArray pictureBytes(const SeedMesh &mesh, const QImage &surface, int size);

} // namespace localcloud
